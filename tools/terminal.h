// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_TERMINAL_H_
#define ZAV_TOOLS_TERMINAL_H_

#include <fmt/color.h>

#include <cstdio>

namespace zav::tool {

/// The style where colour is welcome on `stream`: on a terminal that has it, and never when the
/// environment variable NO_COLOR is set. Elsewhere no style.
fmt::text_style StyleOn(std::FILE* stream, fmt::text_style style);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_TERMINAL_H_
