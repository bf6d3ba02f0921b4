// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <string>
#include <vector>

namespace zav::test {

/// The texts that this thread passed to the trace hook since the last call.
std::vector<std::string> TakeTraces();

}  // namespace zav::test
