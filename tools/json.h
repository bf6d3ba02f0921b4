// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_JSON_H_
#define ZAV_TOOLS_JSON_H_

#include <fmt/core.h>

#include <nlohmann/json.hpp>

namespace zav::tool {

using Json = nlohmann::ordered_json;

/// Prints the value on stdout. File and image names need not be UTF-8, but JSON must be.
inline void PrintJson(const Json& value) {
  fmt::print("{}\n", value.dump(2, ' ', false, Json::error_handler_t::replace));
}

}  // namespace zav::tool

#endif  // ZAV_TOOLS_JSON_H_
