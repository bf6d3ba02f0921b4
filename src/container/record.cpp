// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "container/record.h"

#include <cstring>

#include "base/checked.h"
#include "base/endian.h"

namespace zav {
namespace {

constexpr int32_t kSizeOffset = 1;

}  // namespace

bool WriteRecordHeader(ZAV_STREAM& stream, const ZAV_LAYER* header) {
  if (!stream.RequireWriting()) return false;
  const int32_t length = header != nullptr ? HeaderLength(header->kind) : 0;
  if (length == 0) {
    stream.Fail();
    return false;
  }
  stream.file().Write(HeaderBytes(*header), length);
  return true;
}

bool ReadRecordHeader(ZAV_STREAM& stream, ZAV_LAYER* header) {
  if (!stream.RequireReading()) return false;
  uint8_t start[kRecordStart];
  const int64_t there = stream.block().CopyUpTo(start, kRecordStart);
  if (there < 1 || header == nullptr || header->kind != start[0]) {
    stream.Fail();
    return false;
  }
  uint8_t* bytes = HeaderBytes(*header);
  std::memcpy(bytes, start, static_cast<size_t>(there));
  stream.block().CopyUpTo(bytes + kRecordStart, HeaderLength(start[0]) - kRecordStart);
  return true;
}

bool PeekKind(const ZAV_STREAM& stream, int32_t& kind) {
  if (!stream.IsReading()) return false;
  ByteReader ahead = stream.block();
  const uint8_t* first = ahead.Take(1);
  kind = first != nullptr ? *first : int32_t{ZAV_KIND_END};
  return true;
}

bool SkipRecord(ZAV_STREAM& stream) {
  if (!stream.IsReading()) return false;
  ByteReader& block = stream.block();
  uint8_t start[kRecordStart];
  if (block.CopyUpTo(start, kRecordStart) < kRecordStart) return false;
  const int64_t size = static_cast<int32_t>(LoadLe32(start + kSizeOffset));
  return size >= kRecordStart && block.Take(size - kRecordStart) != nullptr;
}

bool RecordFrame::Finish() {
  const int64_t size = stream_.file().Tell() - start_;
  if (size > kMaxBytes) return false;
  uint8_t bytes[4];
  StoreLe32(bytes, static_cast<uint32_t>(size));
  stream_.file().WriteAt(start_ + kSizeOffset, bytes, sizeof(bytes));
  finished_ = true;
  return true;
}

ZAV_LAYER MakeImageHeader(uint8_t kind, const char* name) {
  ZAV_LAYER header{};
  header.kind = kind;
  uint8_t* stored = HeaderBytes(header) + kNameOffset;
  for (int32_t i = 0; name != nullptr && i < kNameLength && name[i] != '\0'; ++i) {
    stored[i] = static_cast<uint8_t>(name[i]);
  }
  return header;
}

bool ReadImageHeader(ZAV_STREAM& stream, uint8_t kind, char* name, ZAV_LAYER& header) {
  if (name != nullptr) *name = '\0';
  header = ZAV_LAYER{};
  header.kind = kind;
  if (!ReadRecordHeader(stream, &header)) return false;
  if (name != nullptr) {
    std::memcpy(name, HeaderBytes(header) + kNameOffset, kNameLength);
    name[kNameLength] = '\0';
  }
  return true;
}

}  // namespace zav
