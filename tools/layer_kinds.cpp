// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layer_kinds.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "error.h"
#include "formats.h"
#include "little_endian.h"

namespace zav::tool {
namespace {

constexpr FieldPlace kFrame[] = {{Field::kSize, 1, 4}};
constexpr FieldPlace kTiled[] = {{Field::kName, 5, 32},
                                 {Field::kWidth, 37, 4},
                                 {Field::kHeight, 41, 4},
                                 {Field::kTileLog, 45, 2},
                                 {Field::kTiles, 47, 2}};
constexpr FieldPlace kImage[] = {{Field::kName, 5, 32}};
constexpr FieldPlace kSquiz[] = {{Field::kName, 5, 32},
                                 {Field::kWidth, 37, 4},
                                 {Field::kHeight, 41, 4},
                                 {Field::kBlockSize, 45, 1}};
constexpr FieldPlace kMipmap[] = {{Field::kName, 5, 32}, {Field::kLevels, 37, 1}};
constexpr FieldPlace kPal8[] = {{Field::kEntries, 5, 1},
                                {Field::kWidth, 6, 4},
                                {Field::kHeight, 10, 4},
                                {Field::kPitch, 14, 4}};
constexpr FieldPlace kColor[] = {{Field::kVariant, 5, 1},
                                 {Field::kWidth, 6, 4},
                                 {Field::kHeight, 10, 4},
                                 {Field::kPitch, 14, 4}};
constexpr FieldPlace kDxt[] = {
    {Field::kFlags, 5, 1}, {Field::kWidth, 6, 4}, {Field::kHeight, 10, 4}};
constexpr FieldPlace kJpeg[] = {{Field::kFlags, 5, 1},
                                {Field::kQuality, 6, 1},
                                {Field::kCut, 7, 4},
                                {Field::kWidth, 11, 4},
                                {Field::kHeight, 15, 4}};
constexpr FieldPlace kPacked32[] = {{Field::kFlags, 5, 1},
                                    {Field::kBits, 6, 4},
                                    {Field::kWidth, 10, 4},
                                    {Field::kHeight, 14, 4},
                                    {Field::kPitch, 18, 4}};
constexpr FieldPlace kPackedPal8[] = {
    {Field::kBits, 5, 4}, {Field::kWidth, 9, 4}, {Field::kHeight, 13, 4}, {Field::kPitch, 17, 4}};

constexpr RecordKind kRecordKinds[] = {
    {ZAV_REC_TILED, "tiled", kTiled},
    {ZAV_REC_IMAGE, "image", kImage},
    {ZAV_REC_SQUIZ, "squiz", kSquiz},
    {ZAV_REC_MIPMAP, "mipmap", kMipmap},
    {ZAV_LAYER_PAL8, "pal8", kPal8},
    {ZAV_LAYER_HICOLOR, "hicolor", kColor},
    {ZAV_LAYER_TRUE24, "true24", kColor},
    {ZAV_LAYER_TRUE32, "true32", kColor},
    {ZAV_LAYER_DXT1, "dxt1", kDxt},
    {ZAV_LAYER_DXT2, "dxt2", kDxt},
    {ZAV_LAYER_DXT3, "dxt3", kDxt},
    {ZAV_LAYER_DXT4, "dxt4", kDxt},
    {ZAV_LAYER_DXT5, "dxt5", kDxt},
    {ZAV_LAYER_JPEG32, "jpeg32", kJpeg},
    {ZAV_LAYER_JPEG24, "jpeg24", kJpeg},
    {ZAV_LAYER_JPEGMASK, "jpegmask", kJpeg},
    {ZAV_LAYER_PACKED32, "packed32", kPacked32},
    {ZAV_LAYER_PACKEDPAL8, "packedpal8", kPackedPal8},
};

/// A header ends with its last field, and is copied into a ZAV_LAYER: the fields of every kind must
/// follow each other without gaps, and fit.
constexpr bool FieldsAreDense(const RecordKind& record) {
  int next = kFrameBytes;
  for (const FieldPlace& place : record.fields) {
    if (place.offset != next) return false;
    next += place.size;
  }
  return next <= static_cast<int>(sizeof(ZAV_LAYER));
}
static_assert(std::ranges::all_of(kRecordKinds, FieldsAreDense));

/// A word after the kind's name sets bits of a one-byte field. The first of the variants that share
/// a mask is the default.
struct Variant {
  int first_kind;
  int last_kind;
  Field field;
  std::string_view word;
  uint8_t mask;
  uint8_t bits;
};

constexpr Variant kVariants[] = {
    {ZAV_LAYER_HICOLOR, ZAV_LAYER_HICOLOR, Field::kVariant, "565", 0xFF, 1},
    {ZAV_LAYER_HICOLOR, ZAV_LAYER_HICOLOR, Field::kVariant, "555", 0xFF, 2},
    {ZAV_LAYER_HICOLOR, ZAV_LAYER_HICOLOR, Field::kVariant, "4444", 0xFF, 3},
    {ZAV_LAYER_HICOLOR, ZAV_LAYER_HICOLOR, Field::kVariant, "1555", 0xFF, 4},
    {ZAV_LAYER_TRUE24, ZAV_LAYER_TRUE24, Field::kVariant, "bgr", 0xFF, 2},
    {ZAV_LAYER_TRUE24, ZAV_LAYER_TRUE24, Field::kVariant, "rgb", 0xFF, 1},
    {ZAV_LAYER_TRUE32, ZAV_LAYER_TRUE32, Field::kVariant, "bgra", 0xFF, 2},
    {ZAV_LAYER_TRUE32, ZAV_LAYER_TRUE32, Field::kVariant, "rgba", 0xFF, 1},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, Field::kFlags, "planar", 4, 0},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, Field::kFlags, "interleaved", 4, 4},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, Field::kFlags, "bgra", 3, 2},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, Field::kFlags, "rgba", 3, 1},
    {ZAV_LAYER_DXT1, ZAV_LAYER_DXT5, Field::kFlags, "packed", 1, 1},
    {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEG32, Field::kFlags, "bgra", 1, 0},
    {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEG32, Field::kFlags, "rgba", 1, 1},
    {ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK, Field::kFlags, "bgr", 1, 0},
    {ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK, Field::kFlags, "rgb", 1, 1},
    {ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK, Field::kFlags, "420", 2, 0},
    {ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK, Field::kFlags, "422", 2, 2},
};

constexpr bool Has(const Variant& variant, int kind) {
  return kind >= variant.first_kind && kind <= variant.last_kind;
}

/// Which bytes of the field count the bits of red, green, blue and alpha. A packed 32-bit layer
/// counts those of pixel bytes, not of channels.
std::array<size_t, 4> BitOrder(const ZAV_LAYER& layer) {
  const bool red_first = layer.kind == ZAV_LAYER_PACKED32 && StoredFormat(layer) == ZAV_FMT_RGBA32;
  return red_first ? std::array<size_t, 4>{2, 1, 0, 3} : std::array<size_t, 4>{0, 1, 2, 3};
}

bool KeepsBits(int kind) { return kind == ZAV_LAYER_PACKED32 || kind == ZAV_LAYER_PACKEDPAL8; }

bool IsBits(const std::string& word) {
  return word.size() == 4 && word.find_first_not_of("012345678") == word.npos;
}

/// "85" or "cut16,16,16,0": levels of red, green, blue, alpha.
bool SetJpegWord(ZAV_LAYER& layer, const std::string& word) {
  int end = 0;
  const auto ends = [&] { return static_cast<size_t>(end) == word.size(); };
  unsigned quality = 0;
  if (std::sscanf(word.c_str(), "%3u%n", &quality, &end) == 1 && ends() && quality <= 100) {
    FieldBytes(layer, Field::kQuality)[0] = static_cast<unsigned char>(quality);
    return true;
  }
  std::array<unsigned, 4> cut = {};
  if (std::sscanf(word.c_str(), "cut%3u,%3u,%3u,%3u%n", &cut[2], &cut[1], &cut[0], &cut[3], &end) !=
          4 ||
      !ends() || std::ranges::any_of(cut, [](unsigned level) { return level > 0xFF; })) {
    return false;
  }
  std::ranges::transform(cut, FieldBytes(layer, Field::kCut).begin(),
                         [](unsigned level) { return static_cast<unsigned char>(level); });
  return true;
}

void SetVariant(ZAV_LAYER& layer, const Variant& variant) {
  unsigned char& byte = FieldBytes(layer, variant.field)[0];
  byte = static_cast<unsigned char>((byte & ~variant.mask) | variant.bits);
}

ZAV_LAYER DefaultLayer(int kind) {
  ZAV_LAYER layer = {};
  layer.kind = static_cast<unsigned char>(kind);
  int done = 0;
  for (const Variant& variant : kVariants) {
    if (!Has(variant, kind) || IsDxtLayer(kind) || (done & variant.mask) != 0) continue;
    SetVariant(layer, variant);
    done |= variant.mask;
  }
  if (IsJpegLayer(kind)) FieldBytes(layer, Field::kQuality)[0] = kDefaultQuality;
  return layer;
}

/// For messages; empty for kinds without variants.
std::string VariantsOf(int kind) {
  std::string known;
  for (const Variant& variant : kVariants) {
    if (Has(variant, kind)) AddName(known, variant.word);
  }
  if (KeepsBits(kind)) AddName(known, "bits kept of R G B A such as 5650");
  if (IsJpegLayer(kind)) AddName(known, "quality 0 to 100, cutR,G,B,A: lower values become 0");
  return known;
}

/// Kinds that --layer takes.
bool IsWritable(const RecordKind& record) { return !IsImageRecord(record.kind); }

const RecordKind& LayerNamed(const std::string& name) {
  std::string known;
  for (const RecordKind& record : kRecordKinds) {
    if (!IsWritable(record)) continue;
    if (record.name == name) return record;
    AddName(known, record.name, " ");
  }
  throw UsageError(fmt::format("there is no layer '{}'; the layers are {}", name, known));
}

}  // namespace

const RecordKind* FindRecordKind(int kind) {
  const auto* found = std::ranges::find(kRecordKinds, kind, &RecordKind::kind);
  return found == std::end(kRecordKinds) ? nullptr : found;
}

std::span<unsigned char> FieldBytes(ZAV_LAYER& header, Field field) {
  const RecordKind* record = FindRecordKind(header.kind);
  const std::span<const FieldPlace> fields =
      field == Field::kSize || record == nullptr ? kFrame : record->fields;
  const auto place = std::ranges::find(fields, field, &FieldPlace::field);
  if (place == fields.end()) return {};
  return {reinterpret_cast<unsigned char*>(&header) + place->offset, place->size};
}

std::span<const unsigned char> FieldBytes(const ZAV_LAYER& header, Field field) {
  return FieldBytes(const_cast<ZAV_LAYER&>(header), field);
}

int32_t FieldValue(const ZAV_LAYER& header, Field field) {
  const std::span<const unsigned char> bytes = FieldBytes(header, field);
  return static_cast<int32_t>(LoadLittle(bytes.data(), bytes.size()));
}

ZAV_LAYER ParseLayer(const std::string& text) {
  size_t end = text.find(':');
  const RecordKind& record = LayerNamed(text.substr(0, end));
  ZAV_LAYER layer = DefaultLayer(record.kind);
  std::string bits = "8888";
  while (end != text.npos) {
    const size_t start = end + 1;
    end = text.find(':', start);
    const std::string word = text.substr(start, end == text.npos ? end : end - start);
    const auto* variant = std::ranges::find_if(kVariants, [&](const Variant& candidate) {
      return Has(candidate, record.kind) && candidate.word == word;
    });
    if (variant != std::end(kVariants)) {
      SetVariant(layer, *variant);
    } else if (KeepsBits(record.kind) && IsBits(word)) {
      bits = word;
    } else if (!IsJpegLayer(record.kind) || !SetJpegWord(layer, word)) {
      const std::string variants = VariantsOf(record.kind);
      throw UsageError(fmt::format("a {} layer has no variant '{}'; it has {}", record.name, word,
                                   variants.empty() ? "none" : variants));
    }
  }
  if (KeepsBits(record.kind)) {
    const std::array<size_t, 4> order = BitOrder(layer);
    for (size_t i = 0; i < 4; ++i) {
      FieldBytes(layer, Field::kBits)[order[i]] = static_cast<unsigned char>(bits[i] - '0');
    }
  }
  return layer;
}

std::string LayerText(const ZAV_LAYER& layer) {
  std::string text(FindRecordKind(layer.kind)->name);
  for (const Variant& variant : kVariants) {
    if (Has(variant, layer.kind) &&
        (FieldValue(layer, variant.field) & variant.mask) == variant.bits) {
      text += fmt::format(":{}", variant.word);
    }
  }
  if (IsJpegLayer(layer.kind)) {
    text += fmt::format(":{}", FieldValue(layer, Field::kQuality));
    if (FieldValue(layer, Field::kCut) != 0) {
      const std::span<const unsigned char> cut = FieldBytes(layer, Field::kCut);
      text += fmt::format(":cut{},{},{},{}", cut[2], cut[1], cut[0], cut[3]);
    }
  }
  if (CutsBits(layer)) {
    text += ':';
    for (const size_t at : BitOrder(layer)) {
      text += static_cast<char>('0' + std::min<int>(FieldBytes(layer, Field::kBits)[at], 8));
    }
  }
  return text;
}

int32_t StoredFormat(const ZAV_LAYER& layer) {
  const int variant = FieldValue(layer, Field::kVariant);
  switch (layer.kind) {
    case ZAV_LAYER_PAL8:
    case ZAV_LAYER_PACKEDPAL8:
      return ZAV_FMT_PAL8;
    case ZAV_LAYER_HICOLOR:  // an unknown variant reads as the last one
      return variant >= 1 && variant <= 3 ? ZAV_FMT_RGB565 + variant - 1 : ZAV_FMT_ARGB1555;
    case ZAV_LAYER_TRUE24:
      return variant == 1 ? ZAV_FMT_RGB24 : ZAV_FMT_BGR24;
    case ZAV_LAYER_TRUE32:
      return variant == 1 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32;
    case ZAV_LAYER_PACKED32:
      return (FieldValue(layer, Field::kFlags) & 1) != 0 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32;
    default:
      return IsDxtLayer(layer.kind) ? ZAV_FMT_DXT1 + layer.kind - ZAV_LAYER_DXT1 : ZAV_FMT_BGRA32;
  }
}

bool CutsBits(const ZAV_LAYER& layer) {
  return std::ranges::any_of(FieldBytes(layer, Field::kBits), [](int bits) { return bits < 8; });
}

std::string LayerHelp() {
  std::string text = "Layers and their variants\n";
  for (const RecordKind& record : kRecordKinds) {
    if (IsWritable(record)) {
      text += fmt::format("  {:<11} {}\n", record.name, VariantsOf(record.kind));
    }
  }
  return text;
}

}  // namespace zav::tool
