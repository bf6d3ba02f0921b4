// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "container/record.h"

#include <cstring>

#include "base/checked.h"
#include "base/endian.h"

namespace zav {
namespace {

HeaderLayout::Place PlaceOf(uint8_t kind, Field field) {
  return kHeaderLayouts[kind].fields[static_cast<size_t>(field)];
}

}  // namespace

const uint8_t* FieldBytes(const uint8_t* header, Field field) {
  return header + PlaceOf(header[0], field).offset;
}

uint32_t LoadField(const uint8_t* header, Field field) {
  const uint8_t* bytes = FieldBytes(header, field);
  switch (PlaceOf(header[0], field).bytes) {
    case 1:
      return *bytes;
    case 2:
      return LoadLe16(bytes);
    default:
      return LoadLe32(bytes);
  }
}

void StoreField(ZAV_LAYER& header, Field field, uint32_t value) {
  const HeaderLayout::Place place = PlaceOf(header.kind, field);
  uint8_t* bytes = HeaderBytes(header) + place.offset;
  switch (place.bytes) {
    case 1:
      *bytes = static_cast<uint8_t>(value);
      break;
    case 2:
      StoreLe16(bytes, value);
      break;
    default:
      StoreLe32(bytes, value);
  }
}

int64_t LoadRecordSize(const uint8_t* header) { return LoadLe32(header + kSizeOffset); }

bool LoadSides(const uint8_t* header, int32_t& width, int32_t& height) {
  width = static_cast<int32_t>(LoadField(header, Field::kWidth));
  height = static_cast<int32_t>(LoadField(header, Field::kHeight));
  return width >= 1 && height >= 1;
}

void StoreSides(ZAV_LAYER& header, const ZAV_GFXDEF& picture) {
  StoreField(header, Field::kWidth, static_cast<uint32_t>(picture.width));
  StoreField(header, Field::kHeight, static_cast<uint32_t>(picture.height));
}

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

void RecordFrame::Patch(ZAV_LAYER& header, Field field, uint32_t value) {
  StoreField(header, field, value);
  const HeaderLayout::Place place = PlaceOf(header.kind, field);
  stream_.file().WriteAt(start_ + place.offset, HeaderBytes(header) + place.offset, place.bytes);
}

ZAV_LAYER MakeImageHeader(uint8_t kind, const char* name) {
  ZAV_LAYER header{};
  header.kind = kind;
  const HeaderLayout::Place place = PlaceOf(kind, Field::kName);
  uint8_t* stored = HeaderBytes(header) + place.offset;
  for (int32_t i = 0; name != nullptr && i < place.bytes && name[i] != '\0'; ++i) {
    stored[i] = static_cast<uint8_t>(name[i]);
  }
  return header;
}

bool ReadImageHeader(ZAV_STREAM& stream, uint8_t kind, ZAV_LAYER& header) {
  header = ZAV_LAYER{};
  header.kind = kind;
  return ReadRecordHeader(stream, &header);
}

}  // namespace zav
