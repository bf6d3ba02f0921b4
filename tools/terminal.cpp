// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "terminal.h"

#include <unistd.h>

#include <cstdlib>
#include <string_view>

namespace zav::tool {
namespace {

std::string_view Environment(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

}  // namespace

fmt::text_style StyleOn(std::FILE* stream, fmt::text_style style) {
  const bool welcome = ::isatty(::fileno(stream)) == 1 && Environment("NO_COLOR").empty() &&
                       Environment("TERM") != "dumb";
  return welcome ? style : fmt::text_style();
}

}  // namespace zav::tool
