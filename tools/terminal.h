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

/// The style where color is welcome on `stream`: on a terminal that has it, and never when the
/// environment variable NO_COLOR is set. Elsewhere no style.
fmt::text_style StyleOn(std::FILE* stream, fmt::text_style style);

/// Foreign text for people: what could steer a terminal, and what is not UTF-8, stands as \xNN.
std::string Printable(std::string_view text);

/// A bar on stderr while work lasts: on a terminal only, and only when the work is long.
class Progress {
 public:
  /// `total` in any unit.
  Progress(std::string what, int64_t total);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { Hide(); }

  void Advance(int64_t units = 1);
  /// Clears the line, for something else that is to be said.
  void Hide();

 private:
  using Clock = std::chrono::steady_clock;

  std::string what_;
  int64_t total_;
  int64_t done_ = 0;
  bool welcome_;
  bool shown_ = false;
  Clock::time_point next_;  // not drawn before
};

}  // namespace zav::tool

#endif  // ZAV_TOOLS_TERMINAL_H_
