// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/temporary_name.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace zav {

void MakeTempFileName(char* out) {
  const char* directory = std::getenv("TMPDIR");
  if (directory == nullptr || *directory == '\0') directory = "/tmp";
  const int length = std::snprintf(out, kTemporaryNameBytes, "%s/zavXXXXXX", directory);
  if (length > 0 && static_cast<size_t>(length) < kTemporaryNameBytes) {
    const int file = mkstemp(out);
    if (file >= 0) {
      close(file);
      return;
    }
  }
  std::strcpy(out, "temp");
}

}  // namespace zav
