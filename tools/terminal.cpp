// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "terminal.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <utility>

namespace zav::tool {
namespace {

std::string_view Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

bool IsTerminal(std::FILE* stream) {
  return ::isatty(::fileno(stream)) == 1 && Environment("TERM") != "dumb";
}

/// Bytes of the UTF-8 character at the start of `text`; 0 for control characters and invalid bytes.
size_t CharacterBytes(std::string_view text) {
  const auto byte = [&](size_t at) { return static_cast<unsigned char>(text[at]); };
  const unsigned first = byte(0);
  if (first < 0x80) return first >= 0x20 && first != 0x7F ? 1 : 0;
  const size_t length = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : 2;
  if (first < 0xC2 || first > 0xF4 || text.size() < length) return 0;
  unsigned code = first & (0xFFU >> (length + 1));
  for (size_t at = 1; at < length; ++at) {
    if ((byte(at) & 0xC0) != 0x80) return 0;
    code = code << 6 | (byte(at) & 0x3F);
  }
  // Excludes C1 control characters, overlong forms and surrogates.
  const bool needed = length == 2 ? code >= 0xA0 : length == 3 ? code >= 0x800 : code >= 0x10000;
  return needed && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF) ? length : 0;
}

}  // namespace

fmt::text_style StyleOn(std::FILE* stream, fmt::text_style style) {
  return IsTerminal(stream) && Environment("NO_COLOR").empty() ? style : fmt::text_style();
}

std::string Printable(std::string_view text) {
  std::string printable;
  while (!text.empty()) {
    const size_t length = CharacterBytes(text);
    if (length != 0) {
      printable += text.substr(0, length);
    } else {
      printable += fmt::format("\\x{:02x}", static_cast<unsigned char>(text[0]));
    }
    text.remove_prefix(std::max<size_t>(length, 1));
  }
  return printable;
}

std::string Counted(size_t count, std::string_view noun) {
  return fmt::format("{} {}{}", count, noun, count == 1 ? "" : "s");
}

Progress::Progress(std::string what, int64_t total)
    : what_(std::move(what)),
      total_(std::max<int64_t>(total, 1)),
      welcome_(IsTerminal(stderr)),
      next_(Clock::now() + std::chrono::milliseconds(300)) {}

void Progress::Advance(int64_t units) {
  done_ = std::min(done_ + units, total_);
  const Clock::time_point now = Clock::now();
  if (!welcome_ || now < next_) return;
  next_ = now + std::chrono::milliseconds(50);
  constexpr int64_t kCells = 40;
  const auto full = static_cast<size_t>(done_ * kCells / total_);
  fmt::print(stderr, "\r\x1b[K{} [{:<{}}] {:>3}%", what_, std::string(full, '#'), kCells,
             done_ * 100 / total_);
  std::fflush(stderr);
  shown_ = true;
}

void Progress::Hide() {
  if (std::exchange(shown_, false)) fmt::print(stderr, "\r\x1b[K");
}

}  // namespace zav::tool
