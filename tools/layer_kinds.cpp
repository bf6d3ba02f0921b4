// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "layer_kinds.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstdio>

#include "error.h"
#include "formats.h"

namespace zav::tool {
namespace {

constexpr RecordKind kRecordKinds[] = {
    {ZAV_REC_TILED, "tiled", 49, 37, false},
    {ZAV_REC_IMAGE, "image", 37, 0, false},
    {ZAV_REC_SQUIZ, "squiz", 46, 37, false},
    {ZAV_REC_MIPMAP, "mipmap", 38, 0, false},
    {ZAV_LAYER_PAL8, "pal8", 18, 6, true},
    {ZAV_LAYER_HICOLOR, "hicolor", 18, 6, true},
    {ZAV_LAYER_TRUE24, "true24", 18, 6, true},
    {ZAV_LAYER_TRUE32, "true32", 18, 6, true},
    {ZAV_LAYER_DXT1, "dxt1", 14, 6, false},
    {ZAV_LAYER_DXT2, "dxt2", 14, 6, false},
    {ZAV_LAYER_DXT3, "dxt3", 14, 6, false},
    {ZAV_LAYER_DXT4, "dxt4", 14, 6, false},
    {ZAV_LAYER_DXT5, "dxt5", 14, 6, false},
    {ZAV_LAYER_JPEG32, "jpeg32", 19, 11, false},
    {ZAV_LAYER_JPEG24, "jpeg24", 19, 11, false},
    {ZAV_LAYER_JPEGMASK, "jpegmask", 19, 11, false},
    {ZAV_LAYER_PACKED32, "packed32", 22, 10, true},
    {ZAV_LAYER_PACKEDPAL8, "packedpal8", 21, 9, true},
};

/// A word behind the kind's name sets bits of the byte at offset 5. The first of those that share a
/// mask is the default.
struct Variant {
  int first_kind;
  int last_kind;
  std::string_view word;
  uint8_t mask;
  uint8_t bits;
};

constexpr Variant kVariants[] = {
    {ZAV_LAYER_HICOLOR, ZAV_LAYER_HICOLOR, "565", 0xFF, 1},
    {ZAV_LAYER_HICOLOR, ZAV_LAYER_HICOLOR, "555", 0xFF, 2},
    {ZAV_LAYER_HICOLOR, ZAV_LAYER_HICOLOR, "4444", 0xFF, 3},
    {ZAV_LAYER_HICOLOR, ZAV_LAYER_HICOLOR, "1555", 0xFF, 4},
    {ZAV_LAYER_TRUE24, ZAV_LAYER_TRUE24, "bgr", 0xFF, 2},
    {ZAV_LAYER_TRUE24, ZAV_LAYER_TRUE24, "rgb", 0xFF, 1},
    {ZAV_LAYER_TRUE32, ZAV_LAYER_TRUE32, "bgra", 0xFF, 2},
    {ZAV_LAYER_TRUE32, ZAV_LAYER_TRUE32, "rgba", 0xFF, 1},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, "planar", 4, 0},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, "interleaved", 4, 4},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, "bgra", 3, 2},
    {ZAV_LAYER_PACKED32, ZAV_LAYER_PACKED32, "rgba", 3, 1},
    {ZAV_LAYER_DXT1, ZAV_LAYER_DXT5, "packed", 1, 1},
    {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEG32, "bgra", 1, 0},
    {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEG32, "rgba", 1, 1},
    {ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK, "bgr", 1, 0},
    {ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK, "rgb", 1, 1},
    {ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK, "420", 2, 0},
    {ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK, "422", 2, 2},
};

constexpr bool Has(const Variant& variant, int kind) {
  return kind >= variant.first_kind && kind <= variant.last_kind;
}

/// Where the header keeps the bit counts of red, green, blue and alpha, as indices of `fields`; all
/// 0 for layers that keep none. A packed 32-bit layer names bytes of the pixel, not channels.
std::array<int, 4> BitFields(const ZAV_LAYER& layer) {
  if (layer.kind == ZAV_LAYER_PACKEDPAL8) return {0, 1, 2, 3};
  if (layer.kind != ZAV_LAYER_PACKED32) return {};
  if (StoredFormat(layer) == ZAV_FMT_RGBA32) return {3, 2, 1, 4};
  return {1, 2, 3, 4};
}

bool KeepsBits(int kind) { return kind == ZAV_LAYER_PACKED32 || kind == ZAV_LAYER_PACKEDPAL8; }

bool IsBits(const std::string& word) {
  return word.size() == 4 && word.find_first_not_of("012345678") == word.npos;
}

// Of JPEG layers, as indices of `fields`: the quality, and the values below which pixel bytes 0 to
// 3 of what was decoded become 0.
constexpr size_t kQualityAt = 1;
constexpr size_t kCutAt = 2;

/// "85" or "cut16,16,16,0": levels of red, green, blue, alpha.
bool SetJpegWord(ZAV_LAYER& layer, const std::string& word) {
  int end = 0;
  const auto ends = [&] { return static_cast<size_t>(end) == word.size(); };
  unsigned quality = 0;
  if (std::sscanf(word.c_str(), "%3u%n", &quality, &end) == 1 && ends() && quality <= 100) {
    layer.fields[kQualityAt] = static_cast<unsigned char>(quality);
    return true;
  }
  std::array<unsigned, 4> cut = {};
  if (std::sscanf(word.c_str(), "cut%3u,%3u,%3u,%3u%n", &cut[2], &cut[1], &cut[0], &cut[3], &end) !=
          4 ||
      !ends() || std::ranges::any_of(cut, [](unsigned level) { return level > 0xFF; })) {
    return false;
  }
  std::ranges::copy(cut, layer.fields + kCutAt);
  return true;
}

void SetVariant(ZAV_LAYER& layer, const Variant& variant) {
  layer.fields[0] = static_cast<unsigned char>((layer.fields[0] & ~variant.mask) | variant.bits);
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
  if (IsJpegLayer(kind)) layer.fields[kQualityAt] = kDefaultQuality;
  return layer;
}

/// In words; empty for kinds without variants.
std::string VariantsOf(int kind) {
  std::string known;
  const auto add = [&](std::string_view word) {
    known += fmt::format("{}{}", known.empty() ? "" : ", ", word);
  };
  for (const Variant& variant : kVariants) {
    if (Has(variant, kind)) add(variant.word);
  }
  if (KeepsBits(kind)) add("bits kept of R G B A such as 5650");
  if (IsJpegLayer(kind)) add("quality 0 to 100, cutR,G,B,A: lower values become 0");
  return known;
}

/// Kinds that --layer takes.
bool IsWritable(const RecordKind& record) { return !IsImageRecord(record.kind); }

const RecordKind& LayerNamed(const std::string& name) {
  std::string known;
  for (const RecordKind& record : kRecordKinds) {
    if (!IsWritable(record)) continue;
    if (record.name == name) return record;
    known += fmt::format(" {}", record.name);
  }
  throw Error(ErrorKind::kUsage, "",
              fmt::format("there is no layer '{}'; the names are{}", name, known));
}

}  // namespace

const RecordKind* FindRecordKind(int kind) {
  const auto* found = std::ranges::find(kRecordKinds, kind, &RecordKind::kind);
  return found == std::end(kRecordKinds) ? nullptr : found;
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
      throw Error(ErrorKind::kUsage, "",
                  fmt::format("a {} layer has no variant '{}'; it has {}", record.name, word,
                              variants.empty() ? "none" : variants));
    }
  }
  if (KeepsBits(record.kind)) {
    const std::array<int, 4> at = BitFields(layer);
    for (size_t i = 0; i < 4; ++i) {
      layer.fields[at[i]] = static_cast<unsigned char>(bits[i] - '0');
    }
  }
  return layer;
}

std::string LayerText(const ZAV_LAYER& layer) {
  std::string text(FindRecordKind(layer.kind)->name);
  for (const Variant& variant : kVariants) {
    if (Has(variant, layer.kind) && (layer.fields[0] & variant.mask) == variant.bits) {
      text += fmt::format(":{}", variant.word);
    }
  }
  if (IsJpegLayer(layer.kind)) {
    const unsigned char* cut = layer.fields + kCutAt;
    text += fmt::format(":{}", layer.fields[kQualityAt]);
    if ((cut[0] | cut[1] | cut[2] | cut[3]) != 0) {
      text += fmt::format(":cut{},{},{},{}", cut[2], cut[1], cut[0], cut[3]);
    }
  }
  if (CutsBits(layer)) {
    text += ':';
    for (const int at : BitFields(layer)) {
      text += static_cast<char>('0' + std::min<int>(layer.fields[at], 8));
    }
  }
  return text;
}

int32_t StoredFormat(const ZAV_LAYER& layer) {
  const int variant = layer.fields[0];
  switch (layer.kind) {
    case ZAV_LAYER_PAL8:
    case ZAV_LAYER_PACKEDPAL8:
      return ZAV_FMT_PAL8;
    case ZAV_LAYER_HICOLOR:  // readers take an unknown variant for the last one
      return variant >= 1 && variant <= 3 ? ZAV_FMT_RGB565 + variant - 1 : ZAV_FMT_ARGB1555;
    case ZAV_LAYER_TRUE24:
      return variant == 1 ? ZAV_FMT_RGB24 : ZAV_FMT_BGR24;
    case ZAV_LAYER_TRUE32:
      return variant == 1 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32;
    case ZAV_LAYER_PACKED32:
      return (variant & 1) != 0 ? ZAV_FMT_RGBA32 : ZAV_FMT_BGRA32;
    default:
      return IsDxtLayer(layer.kind) ? ZAV_FMT_DXT1 + layer.kind - ZAV_LAYER_DXT1 : ZAV_FMT_BGRA32;
  }
}

bool CutsBits(const ZAV_LAYER& layer) {
  return KeepsBits(layer.kind) &&
         std::ranges::any_of(BitFields(layer), [&](int at) { return layer.fields[at] < 8; });
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
