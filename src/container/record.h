// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "container/stream.h"
#include "zav.h"

namespace zav {

/// Every record starts with its kind and its size; the rest of the header depends on the kind.
inline constexpr int32_t kRecordStart = 5;
/// Image records: where the name stands, and how long it may be without a terminator.
inline constexpr int32_t kNameOffset = kRecordStart;
inline constexpr int32_t kNameLength = 32;

struct RecordRow {
  uint8_t kind;
  uint8_t header_length;
};

inline constexpr RecordRow kRecordRows[] = {
    {ZAV_REC_TILED, 49},      {ZAV_REC_IMAGE, 37},      {ZAV_REC_SQUIZ, 46},
    {ZAV_REC_MIPMAP, 38},     {ZAV_LAYER_PAL8, 18},     {ZAV_LAYER_HICOLOR, 18},
    {ZAV_LAYER_TRUE24, 18},   {ZAV_LAYER_TRUE32, 18},   {ZAV_LAYER_DXT1, 14},
    {ZAV_LAYER_DXT2, 14},     {ZAV_LAYER_DXT3, 14},     {ZAV_LAYER_DXT4, 14},
    {ZAV_LAYER_DXT5, 14},     {ZAV_LAYER_JPEG32, 19},   {ZAV_LAYER_JPEG24, 19},
    {ZAV_LAYER_JPEGMASK, 19}, {ZAV_LAYER_PACKED32, 22}, {ZAV_LAYER_PACKEDPAL8, 21},
};

constexpr bool RecordRowsAreSound() {
  int32_t last = 0;
  for (const RecordRow& row : kRecordRows) {
    if (row.kind <= last || row.kind == ZAV_KIND_END) return false;
    if (row.header_length <= kRecordStart || row.header_length > sizeof(ZAV_LAYER)) return false;
    last = row.kind;
  }
  return true;
}
static_assert(RecordRowsAreSound(), "kinds ascend, and every header fits a layer record");

constexpr std::array<uint8_t, 256> MakeHeaderLengths() {
  std::array<uint8_t, 256> lengths{};
  for (const RecordRow& row : kRecordRows) lengths[row.kind] = row.header_length;
  return lengths;
}
inline constexpr std::array<uint8_t, 256> kHeaderLengths = MakeHeaderLengths();

/// Bytes of a kind's header; 0 where there is no such kind.
constexpr int32_t HeaderLength(uint8_t kind) { return kHeaderLengths[kind]; }

/// A record's header as bytes. A caller's record need not be longer than its kind's header.
inline uint8_t* HeaderBytes(ZAV_LAYER& header) { return reinterpret_cast<uint8_t*>(&header); }
inline const uint8_t* HeaderBytes(const ZAV_LAYER& header) {
  return reinterpret_cast<const uint8_t*>(&header);
}

/// Writes the header as it stands. A kind that does not exist fails the stream.
bool WriteRecordHeader(ZAV_STREAM& stream, const ZAV_LAYER* header);

/// Reads the next record's header, whose kind `header` must hold already; another kind fails the
/// stream. Where the data ends inside the header, the rest of `header` stays as it was.
bool ReadRecordHeader(ZAV_STREAM& stream, ZAV_LAYER* header);

/// The next record's kind, ZAV_KIND_END at the end of the data.
bool PeekKind(const ZAV_STREAM& stream, int32_t& kind);

/// Moves past the next record and all that it contains. After a failure the position is behind the
/// bytes that were looked at, so that a caller who goes on comes to the end.
bool SkipRecord(ZAV_STREAM& stream);

/// A record from its first byte to its patched size, whatever is nested in it. Unless Finish is
/// called, the destructor moves the file's offset back, for the next record to be written over the
/// abandoned one.
class RecordFrame {
 public:
  explicit RecordFrame(ZAV_STREAM& stream) : stream_(stream), start_(stream.file().Tell()) {}
  RecordFrame(const RecordFrame&) = delete;
  RecordFrame& operator=(const RecordFrame&) = delete;
  ~RecordFrame() {
    if (!finished_) stream_.file().Seek(start_);
  }

  /// Overwrites bytes of the record's header.
  void Patch(int64_t offset, const void* bytes, int64_t count) {
    stream_.file().WriteAt(start_ + offset, bytes, count);
  }

  /// Patches the size. False when the record is larger than a reader could take.
  bool Finish();

 private:
  ZAV_STREAM& stream_;
  const int64_t start_;
  bool finished_ = false;
};

/// The header of an image record: kind and name, everything else zero. `name` may be null.
ZAV_LAYER MakeImageHeader(uint8_t kind, const char* name);

/// Reads the header of an image record of the kind. `name`, unless null, takes the stored name and
/// a terminator, kNameLength + 1 characters at most; after a failure it is empty.
bool ReadImageHeader(ZAV_STREAM& stream, uint8_t kind, char* name, ZAV_LAYER& header);

/// Writes one image record whose layers are of the kind of `layer`, which may be null:
///
/// `prepare(ZAV_LAYER& header) -> bool` gets everything ready before a byte is written, and fills
/// in what the kind's header has behind the name;
/// `write_contents(RecordFrame& frame) -> bool` writes what follows the header.
///
/// A failure fails the stream.
template <typename Prepare, typename WriteContents>
bool WriteImageRecord(ZAV_STREAM& stream, uint8_t kind, const char* name, const ZAV_LAYER* layer,
                      Prepare&& prepare, WriteContents&& write_contents) {
  if (!stream.RequireWriting()) return false;
  RecordFrame frame(stream);
  ZAV_LAYER header = MakeImageHeader(kind, name);
  const bool written = layer != nullptr && HeaderLength(layer->kind) != 0 && prepare(header) &&
                       WriteRecordHeader(stream, &header) && write_contents(frame) &&
                       frame.Finish();
  if (!written) stream.Fail();
  return written;
}

}  // namespace zav
