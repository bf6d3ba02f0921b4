// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>

#include "container/stream.h"
#include "zav.h"

namespace zav {

/// Every record starts with its kind and its size; the rest of the header depends on the kind.
inline constexpr int32_t kSizeOffset = 1;
inline constexpr int32_t kRecordStart = 5;

/// Fields of record headers after the size. docs/container-format.md describes them under the same
/// names, and a test compares the two.
enum class Field : uint8_t {
  kName,
  kWidth,
  kHeight,
  kPitch,
  kTileLog,
  kTiles,
  kBlockSize,
  kLevels,
  kEntries,
  kVariant,
  kFlags,
  kQuality,
  kCut,
  kBits,
};
inline constexpr size_t kFieldCount = static_cast<size_t>(Field::kBits) + 1;

/// A field in the headers of one or several consecutive kinds.
struct FieldRow {
  uint8_t first_kind;
  uint8_t last_kind;
  Field field;
  uint8_t offset;
  uint8_t bytes;
};

/// The only place that knows offsets in headers. Fields of 1, 2 and 4 bytes are little-endian
/// integers, but for `cut` and `bits`: they are four bytes, one for each channel.
inline constexpr FieldRow kFieldRows[] = {
    {ZAV_REC_TILED, ZAV_REC_TILED, Field::kName, 5, 32},
    {ZAV_REC_TILED, ZAV_REC_TILED, Field::kWidth, 37, 4},
    {ZAV_REC_TILED, ZAV_REC_TILED, Field::kHeight, 41, 4},
    {ZAV_REC_TILED, ZAV_REC_TILED, Field::kTileLog, 45, 2},
    {ZAV_REC_TILED, ZAV_REC_TILED, Field::kTiles, 47, 2},

    {ZAV_REC_IMAGE, ZAV_REC_IMAGE, Field::kName, 5, 32},

    {ZAV_REC_SQUIZ, ZAV_REC_SQUIZ, Field::kName, 5, 32},
    {ZAV_REC_SQUIZ, ZAV_REC_SQUIZ, Field::kWidth, 37, 4},
    {ZAV_REC_SQUIZ, ZAV_REC_SQUIZ, Field::kHeight, 41, 4},
    {ZAV_REC_SQUIZ, ZAV_REC_SQUIZ, Field::kBlockSize, 45, 1},

    {ZAV_REC_MIPMAP, ZAV_REC_MIPMAP, Field::kName, 5, 32},
    {ZAV_REC_MIPMAP, ZAV_REC_MIPMAP, Field::kLevels, 37, 1},

    {ZAV_LAYER_PAL8, ZAV_LAYER_PAL8, Field::kEntries, 5, 1},
    {ZAV_LAYER_HICOLOR, ZAV_LAYER_TRUE32, Field::kVariant, 5, 1},
    {ZAV_LAYER_PAL8, ZAV_LAYER_TRUE32, Field::kWidth, 6, 4},
    {ZAV_LAYER_PAL8, ZAV_LAYER_TRUE32, Field::kHeight, 10, 4},
    {ZAV_LAYER_PAL8, ZAV_LAYER_TRUE32, Field::kPitch, 14, 4},

    {ZAV_LAYER_DXT1, ZAV_LAYER_DXT5, Field::kFlags, 5, 1},
    {ZAV_LAYER_DXT1, ZAV_LAYER_DXT5, Field::kWidth, 6, 4},
    {ZAV_LAYER_DXT1, ZAV_LAYER_DXT5, Field::kHeight, 10, 4},

    {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEGMASK, Field::kFlags, 5, 1},
    {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEGMASK, Field::kQuality, 6, 1},
    {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEGMASK, Field::kCut, 7, 4},
    {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEGMASK, Field::kWidth, 11, 4},
    {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEGMASK, Field::kHeight, 15, 4},

    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, Field::kFlags, 5, 1},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, Field::kBits, 6, 4},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, Field::kWidth, 10, 4},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, Field::kHeight, 14, 4},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, Field::kPitch, 18, 4},

    {ZAV_LAYER_PACKEDPAL8, ZAV_LAYER_PACKEDPAL8, Field::kBits, 5, 4},
    {ZAV_LAYER_PACKEDPAL8, ZAV_LAYER_PACKEDPAL8, Field::kWidth, 9, 4},
    {ZAV_LAYER_PACKEDPAL8, ZAV_LAYER_PACKEDPAL8, Field::kHeight, 13, 4},
    {ZAV_LAYER_PACKEDPAL8, ZAV_LAYER_PACKEDPAL8, Field::kPitch, 17, 4},
};

/// The header of one kind.
struct HeaderLayout {
  struct Place {
    uint8_t offset;  ///< 0: the kind has no such field
    uint8_t bytes;
  };
  std::array<Place, kFieldCount> fields;
  uint8_t length;  ///< 0: there is no such kind
};

constexpr std::array<HeaderLayout, 256> MakeHeaderLayouts() {
  std::array<HeaderLayout, 256> layouts{};
  for (const FieldRow& row : kFieldRows) {
    for (size_t kind = row.first_kind; kind <= row.last_kind; ++kind) {
      HeaderLayout& layout = layouts[kind];
      layout.fields[static_cast<size_t>(row.field)] = {row.offset, row.bytes};
      layout.length = std::max(layout.length, static_cast<uint8_t>(row.offset + row.bytes));
    }
  }
  return layouts;
}
inline constexpr std::array<HeaderLayout, 256> kHeaderLayouts = MakeHeaderLayouts();

constexpr bool HeaderLayoutsAreSound() {
  for (const HeaderLayout& layout : kHeaderLayouts) {
    if (layout.length > sizeof(ZAV_LAYER)) return false;
    int32_t covered = layout.length == 0 ? 0 : kRecordStart;
    for (const HeaderLayout::Place& place : layout.fields) covered += place.bytes;
    if (covered != layout.length) return false;
  }
  return kHeaderLayouts[ZAV_KIND_END].length == 0;
}
static_assert(HeaderLayoutsAreSound(), "fields leave no gap, and every header fits a layer record");

/// Bytes of a kind's header; 0 for an unknown kind.
constexpr int32_t HeaderLength(uint8_t kind) { return kHeaderLayouts[kind].length; }

/// A record's header as bytes. A caller's record need not be longer than its kind's header.
inline uint8_t* HeaderBytes(ZAV_LAYER& header) { return reinterpret_cast<uint8_t*>(&header); }
inline const uint8_t* HeaderBytes(const ZAV_LAYER& header) {
  return reinterpret_cast<const uint8_t*>(&header);
}

// Access to the fields of a header, which starts with its kind. The kind must have the field.

const uint8_t* FieldBytes(const uint8_t* header, Field field);
uint32_t LoadField(const uint8_t* header, Field field);
void StoreField(ZAV_LAYER& header, Field field, uint32_t value);

/// What the header gives as the record's size.
int64_t LoadRecordSize(const uint8_t* header);

/// Width and height. False unless both are in 1 to 2^31 - 1.
bool LoadSides(const uint8_t* header, int32_t& width, int32_t& height);
void StoreSides(ZAV_LAYER& header, const ZAV_GFXDEF& picture);

/// Writes the header unchanged. An unknown kind fails the stream.
bool WriteRecordHeader(ZAV_STREAM& stream, const ZAV_LAYER* header);

/// Reads the next record's header. `header->kind` must be set to its kind; another kind fails the
/// stream. If the data ends inside the header, the rest of `header` stays as it was.
bool ReadRecordHeader(ZAV_STREAM& stream, ZAV_LAYER* header);

/// The next record's kind, ZAV_KIND_END at the end of the data.
bool PeekKind(const ZAV_STREAM& stream, int32_t& kind);

/// Moves past the next record and everything in it. A failure moves past the bytes that were read,
/// so a caller that tries again reaches the end.
bool SkipRecord(ZAV_STREAM& stream);

/// A record being written, from its first byte to its patched size, including nested records.
/// Unless Finish is called, the destructor moves the file's offset back, and the next record
/// overwrites the abandoned one.
class RecordFrame {
 public:
  explicit RecordFrame(ZAV_STREAM& stream) : stream_(stream), start_(stream.file().Tell()) {}
  RecordFrame(const RecordFrame&) = delete;
  RecordFrame& operator=(const RecordFrame&) = delete;
  ~RecordFrame() {
    if (!finished_) stream_.file().Seek(start_);
  }

  /// Overwrites a field of the header, which has been written.
  void Patch(ZAV_LAYER& header, Field field, uint32_t value);

  /// Patches the size. False when the record is too large for a reader.
  bool Finish();

 private:
  ZAV_STREAM& stream_;
  const int64_t start_;
  bool finished_ = false;
};

/// The header of an image record: kind and name, everything else zero. `name` may be null.
ZAV_LAYER MakeImageHeader(uint8_t kind, const char* name);

/// Reads the header of an image record of the kind. Where the data ends inside it, the rest is
/// zero.
bool ReadImageHeader(ZAV_STREAM& stream, uint8_t kind, ZAV_LAYER& header);

/// Writes one image record with layers of the kind of `layer`. A failure, also a null layer, fails
/// the stream.
///
/// `prepare(ZAV_LAYER& header) -> bool` does everything that can fail before a byte is written, and
/// fills in the fields after the name.
/// `write_contents(RecordFrame& frame, ZAV_LAYER& header) -> bool` writes what follows the header.
template <typename Prepare, typename WriteContents>
bool WriteImageRecord(ZAV_STREAM& stream, uint8_t kind, const char* name, const ZAV_LAYER* layer,
                      Prepare&& prepare, WriteContents&& write_contents) {
  if (!stream.RequireWriting()) return false;
  RecordFrame frame(stream);
  ZAV_LAYER header = MakeImageHeader(kind, name);
  const bool written = layer != nullptr && HeaderLength(layer->kind) != 0 && prepare(header) &&
                       WriteRecordHeader(stream, &header) && write_contents(frame, header) &&
                       frame.Finish();
  if (!written) stream.Fail();
  return written;
}

}  // namespace zav
