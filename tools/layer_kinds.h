// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_LAYER_KINDS_H_
#define ZAV_TOOLS_LAYER_KINDS_H_

#include <zav.h>

#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace zav::tool {

/// The fields of record headers.
enum class Field : uint8_t {
  kSize,  // of the record; every kind has it
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
  kCut,   // levels of pixel bytes 0 to 3, below which they become 0
  kBits,  // kept: of pixel bytes 2, 1, 0, 3, or of red, green, blue, alpha
};

struct FieldPlace {
  Field field;
  uint8_t offset;  // from the start of the record
  uint8_t size;
};

/// A kind of container record.
struct RecordKind {
  int kind;                            // ZAV_REC_*, ZAV_LAYER_*
  std::string_view name;               // of layers: as --layer takes it
  std::span<const FieldPlace> fields;  // after the size, without gaps

  constexpr int header() const { return fields.back().offset + fields.back().size; }
};

/// Kind and size, with which every header starts.
constexpr int kFrameBytes = 5;
constexpr size_t kNameBytes = 32;

/// Null for a kind that does not exist.
const RecordKind* FindRecordKind(int kind);

/// The bytes of a header's field; none for a field that the kind does not have.
std::span<unsigned char> FieldBytes(ZAV_LAYER& header, Field field);
std::span<const unsigned char> FieldBytes(const ZAV_LAYER& header, Field field);

/// A field of at most 4 bytes as a number; 4 bytes are signed. 0 for a field that the kind does not
/// have.
int32_t FieldValue(const ZAV_LAYER& header, Field field);

constexpr bool IsImageRecord(int kind) { return kind < ZAV_LAYER_PAL8; }
constexpr bool IsDxtLayer(int kind) { return kind >= ZAV_LAYER_DXT1 && kind <= ZAV_LAYER_DXT5; }
constexpr bool IsJpegLayer(int kind) {
  return kind >= ZAV_LAYER_JPEG32 && kind <= ZAV_LAYER_JPEGMASK;
}
constexpr bool IsPal8Layer(int kind) {
  return kind == ZAV_LAYER_PAL8 || kind == ZAV_LAYER_PACKEDPAL8;
}

/// The layer for "KIND[:VARIANT]...", with all parameters that a writer takes from it. An unknown
/// kind or variant is a usage error that lists the known ones.
ZAV_LAYER ParseLayer(const std::string& text);

/// The reverse: the value of --layer that gives a layer like this.
std::string LayerText(const ZAV_LAYER& layer);

/// The pixel format in which the layer stores its picture, or to which it decodes.
int32_t StoredFormat(const ZAV_LAYER& layer);

/// Whether the layer stores fewer than 8 bits of a channel.
bool CutsBits(const ZAV_LAYER& layer);

/// The table of layers that --help shows.
std::string LayerHelp();

}  // namespace zav::tool

#endif  // ZAV_TOOLS_LAYER_KINDS_H_
