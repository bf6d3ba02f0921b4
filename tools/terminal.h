// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_TERMINAL_H_
#define ZAV_TOOLS_TERMINAL_H_

#include <fmt/color.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>

namespace zav::tool {

/// The style if `stream` is a terminal with color and the environment variable NO_COLOR is not set,
/// otherwise none.
fmt::text_style StyleOn(std::FILE* stream, fmt::text_style style);

/// Untrusted text for a terminal: control characters and bytes that are not UTF-8 become \xNN.
std::string Printable(std::string_view text);

/// "1 tile", "2 tiles".
std::string Counted(size_t count, std::string_view noun);

/// A progress bar on stderr, shown only on a terminal and only for long work.
class Progress {
 public:
  /// `total` and the units of Advance are in any unit.
  Progress(std::string what, int64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { Hide(); }

  void Advance(int64_t units = 1);
  /// Clears the line for other output.
  void Hide();

 private:
  using Clock = std::chrono::steady_clock;

  std::string what_;
  int64_t total_;
  int64_t done_ = 0;
  bool welcome_;
  bool shown_ = false;
  Clock::time_point next_;  // when it may be drawn next
};

}  // namespace zav::tool

#endif  // ZAV_TOOLS_TERMINAL_H_
