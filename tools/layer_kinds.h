// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_LAYER_KINDS_H_
#define ZAV_TOOLS_LAYER_KINDS_H_

#include <zav.h>

#include <cstdint>
#include <string>
#include <string_view>

namespace zav::tool {

/// What the command knows about a kind of container record.
struct RecordKind {
  int kind;               // ZAV_REC_*, ZAV_LAYER_*
  std::string_view name;  // of layers: as --layer takes it
  int header;             // bytes
  int extent;             // offset of width and height; 0: the header has none
  bool has_pitch;         // which then stands behind them
};

/// Null for a kind that does not exist.
const RecordKind* FindRecordKind(int kind);

constexpr bool IsImageRecord(int kind) { return kind < ZAV_LAYER_PAL8; }
constexpr bool IsDxtLayer(int kind) { return kind >= ZAV_LAYER_DXT1 && kind <= ZAV_LAYER_DXT5; }
constexpr bool IsJpegLayer(int kind) {
  return kind >= ZAV_LAYER_JPEG32 && kind <= ZAV_LAYER_JPEGMASK;
}
constexpr bool IsPal8Layer(int kind) {
  return kind == ZAV_LAYER_PAL8 || kind == ZAV_LAYER_PACKEDPAL8;
}

/// The layer that "KIND[:VARIANT]..." names, with everything set that a writer takes from it. An
/// unknown kind or variant is a usage error that lists the known ones.
ZAV_LAYER ParseLayer(const std::string& text);

/// The same back: what --layer would have to say for a layer like this.
std::string LayerText(const ZAV_LAYER& layer);

/// The pixel format in which the layer keeps its picture, or of what it decodes to.
int32_t StoredFormat(const ZAV_LAYER& layer);

/// Whether the layer keeps fewer than 8 bits of a channel.
bool CutsBits(const ZAV_LAYER& layer);

/// The table of layers that --help shows.
std::string LayerHelp();

}  // namespace zav::tool

#endif  // ZAV_TOOLS_LAYER_KINDS_H_
