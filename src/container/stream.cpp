// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "container/stream.h"

#include <cstddef>
#include <cstring>

namespace {

constexpr uint8_t kMagic[4] = {'Z', 'A', 'V', 0};
constexpr size_t kMagicCompared = 3;  // the fourth byte is left to later versions

}  // namespace

bool ZAV_STREAM::OpenRead(const uint8_t* data, int64_t size) {
  failed_ = true;
  if (mode_ != Mode::kClosed) return false;
  block_ = zav::ByteReader(data, size);
  const uint8_t* magic = block_.Take(sizeof(kMagic));
  if (magic == nullptr || std::memcmp(magic, kMagic, kMagicCompared) != 0) return false;
  mode_ = Mode::kReading;
  failed_ = false;
  return true;
}

bool ZAV_STREAM::OpenWrite(const char* path) {
  failed_ = true;
  if (mode_ != Mode::kClosed || !file_.Open(path)) return false;
  file_.Write(kMagic, sizeof(kMagic));
  mode_ = Mode::kWriting;
  failed_ = false;
  return true;
}

bool ZAV_STREAM::Require(Mode mode) {
  if (mode_ != mode) failed_ = true;
  return !failed_;
}
