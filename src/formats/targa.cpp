// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/targa.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/byte_reader.h"
#include "base/byte_writer.h"
#include "base/endian.h"
#include "convert/pipeline.h"
#include "encodings/true_color.h"
#include "formats/file_picture.h"
#include "formats/targa_packets.h"
#include "surface/copy.h"
#include "surface/surface.h"

namespace zav {
namespace {

constexpr int64_t kHeaderBytes = 18;
constexpr int32_t kPaletteEntries = 256;
constexpr int32_t kLargestSide = 0xFFFF;
constexpr int64_t kLongestPacket = 128;

enum : uint32_t { kColorMapped = 1, kTrueColor = 2, kRunLength = 8 };  // image type
enum : uint32_t { kTopDown = 0x20 };                                   // image descriptor

struct TgaHeader {
  ZAV_SURFACE surface;  ///< the definition of the picture
  bool run_length;
  bool top_down;
  int32_t id_bytes;
  int32_t map_length;
  int32_t map_entry_bits;
};

int32_t FormatOfDepth(uint32_t depth) {
  switch (depth) {
    case 8:
      return ZAV_FMT_PAL8;
    case 16:
      return ZAV_FMT_RGB555;
    case 24:
      return ZAV_FMT_BGR24;
    case 32:
      return ZAV_FMT_BGRA32;
    default:
      return 0;
  }
}

bool ReadHeader(ByteReader& file, TgaHeader& header) {
  header.id_bytes = file.U8();
  file.Skip(1);
  const uint32_t type = file.U8();
  file.Skip(2);
  header.map_length = file.Le16();
  header.map_entry_bits = file.U8();
  file.Skip(4);
  const int32_t width = file.Le16();
  const int32_t height = file.Le16();
  // The depth alone decides, even against the image type.
  const int32_t format = FormatOfDepth(file.U8());
  const uint32_t descriptor = file.U8();
  const uint32_t raw_type = type & ~kRunLength;
  header.run_length = type != raw_type;
  // Color-mapped pictures are read as bottom-up, regardless of the descriptor.
  header.top_down = (descriptor & kTopDown) != 0 && format != ZAV_FMT_PAL8;
  return !file.failed() && (raw_type == kColorMapped || raw_type == kTrueColor) && format != 0 &&
         SetDefinition(header.surface, width, height, format);
}

/// Whether the data can have all pixels. If not, the header's size must not be trusted with
/// memory.
bool CanFill(const ZAV_SURFACE& surface, bool run_length, int64_t bytes) {
  const int64_t pixels = int64_t{surface.width} * surface.height;
  if (!run_length) return bytes / surface.bytes_per_pixel >= pixels;
  return bytes / (1 + surface.bytes_per_pixel) * kLongestPacket >= pixels;
}

/// Moves five bits to the top of a byte.
uint8_t WidenFive(uint32_t value) { return static_cast<uint8_t>((value & 0x1F) << 3); }

/// Reads the color map as an opaque palette. Entries that the file announces but lacks keep their
/// colors, and entries after the map are white. If map entries do not have 16 or 24 bits, the
/// pixels are expected where the map starts.
void ReadColorMap(ByteReader& file, const TgaHeader& header, uint8_t* palette) {
  const int32_t bits = header.map_entry_bits;
  const int64_t entry_bytes = bits == 24 ? 3 : bits == 16 ? 2 : 0;
  const int64_t map_bytes = std::min(entry_bytes * header.map_length, file.remaining());
  ByteReader map(file.Take(map_bytes), map_bytes);
  for (int32_t i = 0; i < kPaletteEntries; ++i, palette += 4) {
    const uint8_t* entry = entry_bytes != 0 ? map.Take(entry_bytes) : nullptr;
    if (i >= header.map_length) {
      std::memset(palette, 0xFF, 3);
    } else if (entry != nullptr && entry_bytes == 3) {
      std::memcpy(palette, entry, 3);
    } else if (entry != nullptr) {
      const uint32_t value = LoadLe16(entry);
      palette[0] = WidenFive(value);
      palette[1] = WidenFive(value >> 5);
      palette[2] = WidenFive(value >> 10);
    }
    palette[3] = 0xFF;
  }
}

/// How much the data filled, in the file's order: whole rows, then pixels of the next row.
struct Filled {
  int64_t rows;
  int64_t pixels;
};

/// Where the file's first row goes, and the step to the next.
struct RowOrder {
  RowOrder(const ZAV_SURFACE& surface, bool top_down)
      : first(surface.pixels + (top_down ? 0 : ImageBytes(surface) - surface.pitch)),
        step(top_down ? surface.pitch : -int64_t{surface.pitch}) {}
  uint8_t* first;
  int64_t step;
};

/// An incomplete row is dropped.
Filled ReadRawRows(const ZAV_SURFACE& surface, ByteReader& file, const RowOrder& order) {
  const int64_t row_bytes = surface.pitch;
  const int64_t rows = std::min<int64_t>(surface.height, file.remaining() / row_bytes);
  CopyRows(order.first, file.Take(rows * row_bytes), row_bytes, rows, order.step, row_bytes);
  return {rows, 0};
}

Filled ReadPacketRows(const ZAV_SURFACE& surface, TgaPacketReader stream, const RowOrder& order) {
  for (int64_t row = 0; row < surface.height; ++row) {
    const int64_t pixels = stream.Read(order.first + row * order.step, surface.width);
    if (pixels < surface.width) return {row, pixels};
  }
  return {surface.height, 0};
}

void ClearUnfilled(const ZAV_SURFACE& surface, const RowOrder& order, const Filled& filled) {
  int64_t keep = filled.pixels * surface.bytes_per_pixel;
  for (int64_t row = filled.rows; row < surface.height; ++row, keep = 0) {
    std::memset(order.first + row * order.step + keep, 0,
                static_cast<size_t>(surface.pitch - keep));
  }
}

/// Allocates the picture and fills it as far as the data goes. The rest is cleared, or kept if the
/// buffer is the caller's.
bool ReadPixels(ZAV_SURFACE& source, ByteReader& file, const TgaHeader& header) {
  const ZAV_SURFACE& wanted = header.surface;
  const bool callers_own = source.pixels != nullptr;
  const bool sparse = !CanFill(wanted, header.run_length, file.remaining());
  const auto allocate = sparse ? AllocClearedSurface : AllocSurface;
  if (!allocate(source, wanted.width, wanted.height, wanted.format)) return false;
  source.pitch = source.width * source.bytes_per_pixel;  // rows without padding
  if (source.format == ZAV_FMT_PAL8) ReadColorMap(file, header, source.palette);

  const RowOrder order(source, header.top_down);
  const bool clear = !callers_own && !sparse;
  const auto overrun =
      clear ? TgaPacketReader::Overrun::kAllowed : TgaPacketReader::Overrun::kForbidden;
  const Filled filled =
      header.run_length
          ? ReadPacketRows(source, TgaPacketReader(file, source.bytes_per_pixel, overrun), order)
          : ReadRawRows(source, file, order);
  if (clear) ClearUnfilled(source, order, filled);
  return true;
}

}  // namespace

bool TgaGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size) {
  ByteReader file(data, size);
  TgaHeader header{};
  if (!ReadHeader(file, header) || header.run_length) return false;
  const ZAV_SURFACE& surface = header.surface;
  ReportDefinition(out, surface);
  out.pitch = surface.bytes_per_pixel * surface.width;
  return true;
}

bool TgaRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size) {
  ByteReader file(data, size);
  TgaHeader header{};
  if (!ReadHeader(file, header)) return false;
  if (header.id_bytes > file.remaining()) {
    file.ToEnd();
  } else {
    file.Skip(header.id_bytes);
  }
  ZAV_SURFACE& source = converter.source;
  if (!ReadPixels(source, file, header)) return false;

  // In place: source and destination then have the same format.
  const int32_t wanted = converter.dest.format;
  if (source.format == ZAV_FMT_BGR24 && wanted == ZAV_FMT_RGB24) {
    SwapRedBlue24(source);
    source.format = wanted;
  } else if (source.format == ZAV_FMT_BGRA32 && wanted == ZAV_FMT_RGBA32) {
    SwapRedBlue32(source);
    source.format = wanted;
  }
  return wanted == 0 || ConvertSurface(converter);
}

namespace {

/// Header fields of a format.
struct TgaKind {
  int32_t format;
  uint32_t type;
  uint32_t depth;
  uint32_t descriptor;  ///< bits of alpha; rows run bottom-up
};

constexpr std::array<TgaKind, 4> kKinds = {{
    {ZAV_FMT_PAL8, kColorMapped, 8, 8},
    {ZAV_FMT_BGRA32, kTrueColor, 32, 8},
    {ZAV_FMT_BGR24, kTrueColor, 24, 0},
    {ZAV_FMT_RGB555, kTrueColor, 16, 1},
}};

void WriteHeader(OutputFile& file, const ZAV_SURFACE& source, const TgaKind& kind) {
  const bool mapped = kind.type == kColorMapped;
  ByteWriter<kHeaderBytes> header;
  header.U8(0);  // no image ID
  header.U8(mapped ? 1 : 0);
  header.U8(kind.type);
  header.Le16(0);  // first entry of the color map
  header.Le16(mapped ? kPaletteEntries : 0);
  header.U8(mapped ? 24 : 0);
  header.Le16(0);  // origin
  header.Le16(0);
  header.Le16(static_cast<uint32_t>(source.width));
  header.Le16(static_cast<uint32_t>(source.height));
  header.U8(kind.depth);
  header.U8(kind.descriptor);
  file.Write(header.data(), header.size());
}

void WriteColorMap(OutputFile& file, const uint8_t* palette) {
  uint8_t entries[kPaletteEntries * 3];
  for (size_t i = 0; i < kPaletteEntries; ++i) std::memcpy(entries + i * 3, palette + i * 4, 3);
  file.Write(entries, sizeof(entries));
}

}  // namespace

bool TgaWrite(ZAV_CONVERTER& converter, int32_t format, const char* path) {
  const auto* kind = std::find_if(kKinds.begin(), kKinds.end(),
                                  [=](const TgaKind& k) { return k.format == format; });
  const ZAV_SURFACE& source = converter.source;
  if (kind == kKinds.end() || source.width > kLargestSide || source.height > kLargestSide) {
    return false;
  }
  FilePicture picture;
  const int64_t row_bytes = int64_t{source.width} * BytesPerPixel(format);
  if (!picture.Convert(converter, format, row_bytes)) return false;
  OutputFile file(path);
  if (!file.is_open()) return false;
  WriteHeader(file, source, *kind);
  if (picture.palette() != nullptr) WriteColorMap(file, picture.palette());
  picture.WritePixels(file);
  return true;
}

}  // namespace zav
