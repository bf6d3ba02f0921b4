// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/bmp.h"

#include <cstring>

#include "base/byte_reader.h"
#include "base/byte_writer.h"
#include "base/endian.h"
#include "convert/pipeline.h"
#include "encodings/true_color.h"
#include "formats/file_picture.h"
#include "surface/copy.h"
#include "surface/surface.h"

namespace zav {
namespace {

// A bitmap has a file header of 14 bytes, an info header of 40, a palette for up to 8 bits, and
// rows from the last to the first, each padded to 4 bytes. Everything is expected at these offsets:
// the signature, the offset of the pixels, the compression and the header size are not checked.
constexpr int64_t kHeaderBytes = 54;
constexpr int64_t kPaletteEntries = 256;
constexpr int64_t kEntryBytes = 4;
constexpr int64_t kMonochromePaletteBytes = 2 * kEntryBytes;
constexpr uint32_t kPixelsPerMeter = 2834;  // 72 to the inch

struct BmpHeader {
  ZAV_SURFACE surface;  ///< the definition of the picture
  uint32_t bits;
  int32_t colors_used;
};

int32_t FormatOfBits(uint32_t bits) {
  switch (bits) {
    case 1:
      return ZAV_FMT_BGRA32;
    case 8:
      return ZAV_FMT_PAL8;
    case 16:
      return ZAV_FMT_RGB565;
    case 24:
      return ZAV_FMT_BGR24;
    default:
      return 0;
  }
}

/// False also for sides that no surface can have, so products of them do not overflow later.
bool ReadHeader(ByteReader& file, BmpHeader& header) {
  file.Skip(18);
  const auto width = static_cast<int32_t>(file.Le32());
  const auto height = static_cast<int32_t>(file.Le32());
  file.Skip(2);
  header.bits = file.Le16();
  file.Skip(16);
  header.colors_used = static_cast<int32_t>(file.Le32());
  file.Skip(4);
  const int32_t format = FormatOfBits(header.bits);
  return !file.failed() && format != 0 && SetDefinition(header.surface, width, height, format);
}

/// Entries that the file lacks keep their values. The fourth byte of an entry is usually 0, which
/// means opaque.
void FillPalette(uint8_t* palette, const uint8_t* entries, int64_t bytes) {
  std::memcpy(palette, entries, static_cast<size_t>(bytes));
  for (int64_t i = 3; i < ZAV_PALETTE_BYTES; i += kEntryBytes) {
    palette[i] = static_cast<uint8_t>(255 - palette[i]);
  }
}

/// Most significant bit first. Clear is opaque white, set is transparent black.
void ExpandBits(uint8_t* dest, const uint8_t* bits, int32_t width) {
  for (int32_t x = 0; x < width; ++x) {
    const bool set = (bits[x / 8] >> (7 - x % 8) & 1) != 0;
    StoreLe32(dest + int64_t{x} * 4, set ? 0 : 0xFFFFFFFF);
  }
}

}  // namespace

bool BmpGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size) {
  ByteReader file(data, size);
  BmpHeader header{};
  if (!ReadHeader(file, header) || header.bits == 16) return false;
  ReportDefinition(out, header.surface);
  return true;
}

bool BmpRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size) {
  ByteReader file(data, size);
  BmpHeader header{};
  if (!ReadHeader(file, header)) return false;
  const int32_t width = header.surface.width;
  const int32_t height = header.surface.height;
  const int32_t format = header.surface.format;

  int64_t palette_bytes = 0;
  if (format == ZAV_FMT_PAL8) {
    const bool counted = header.colors_used >= 1 && header.colors_used <= kPaletteEntries;
    palette_bytes = (counted ? header.colors_used : kPaletteEntries) * kEntryBytes;
  }
  const uint8_t* entries = file.Take(palette_bytes);
  if (header.bits == 1) file.Skip(kMonochromePaletteBytes);
  const int64_t row_bytes = (int64_t{width} * header.bits + 31) / 32 * 4;
  // Checked before anything is allocated: the file must have all the bytes that it announces.
  const uint8_t* rows = file.Take(row_bytes * height);
  if (file.failed()) return false;

  ZAV_SURFACE& source = converter.source;
  if (!AllocSurface(source, width, height, format)) return false;
  if (palette_bytes != 0) FillPalette(source.palette, entries, palette_bytes);
  const uint8_t* top_row = rows + row_bytes * (height - 1);
  if (header.bits == 1) {
    for (int64_t y = 0; y < height; ++y) {
      ExpandBits(source.pixels + y * source.pitch, top_row - y * row_bytes, width);
    }
  } else {
    CopyRows(source.pixels, top_row, row_bytes, height, source.pitch, -row_bytes);
  }
  if (format == ZAV_FMT_BGR24 && converter.dest.format == ZAV_FMT_RGB24) {
    SwapRedBlue24(source);
    source.format = ZAV_FMT_RGB24;
  }
  return converter.dest.format == 0 || ConvertSurface(converter);
}

namespace {

/// An opaque palette is written with fourth bytes of 0, as other programs do.
void WritePalette(OutputFile& file, const uint8_t* palette) {
  uint8_t entries[ZAV_PALETTE_BYTES];
  std::memcpy(entries, palette, sizeof(entries));
  bool opaque = true;
  for (int64_t i = 3; i < ZAV_PALETTE_BYTES; i += kEntryBytes) opaque &= entries[i] == 255;
  for (int64_t i = 3; opaque && i < ZAV_PALETTE_BYTES; i += kEntryBytes) entries[i] = 0;
  file.Write(entries, sizeof(entries));
}

void WriteHeader(OutputFile& file, const ZAV_SURFACE& source, uint32_t bits, int64_t pixel_bytes) {
  const int64_t pixels_at = kHeaderBytes + (bits == 8 ? ZAV_PALETTE_BYTES : 0);
  ByteWriter<kHeaderBytes> header;
  header.U8('B');
  header.U8('M');
  header.Le32(static_cast<uint32_t>(pixels_at + pixel_bytes));
  header.Le32(0);
  header.Le32(static_cast<uint32_t>(pixels_at));
  header.Le32(40);  // info header
  header.Le32(static_cast<uint32_t>(source.width));
  header.Le32(static_cast<uint32_t>(source.height));
  header.Le16(1);  // planes
  header.Le16(bits);
  header.Le32(0);  // not compressed
  header.Le32(0);  // size of the pixels, not needed then
  header.Le32(kPixelsPerMeter);
  header.Le32(kPixelsPerMeter);
  file.Write(header.data(), header.size());
}

}  // namespace

bool BmpWrite(ZAV_CONVERTER& converter, int32_t format, const char* path) {
  if (format != ZAV_FMT_PAL8 && format != ZAV_FMT_BGR24) return false;
  const ZAV_SURFACE& source = converter.source;
  FilePicture picture;
  if (!picture.Convert(converter, format, MinPitch(source.width, source.height, format))) {
    return false;
  }
  OutputFile file(path);
  if (!file.is_open()) return false;
  WriteHeader(file, source, format == ZAV_FMT_PAL8 ? 8 : 24, picture.PixelBytes());
  if (picture.palette() != nullptr) WritePalette(file, picture.palette());
  picture.WritePixels(file);
  return true;
}

}  // namespace zav
