// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "zav.h"

namespace zav::test {

using Bytes = std::vector<uint8_t>;

/// An image that frees what it owns.
struct Image : ZAV_IMAGE {
  Image() { ZAV_INIT(this); }
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image() { ZAV_FREE(this); }

  /// Reads a file from read-only memory that ends at an unmapped page.
  bool Read(const char* name, const Bytes& file);
  /// Converts the picture to the format, or with 0 to the one that `dest` asks for.
  bool Convert(const ZAV_GFXDEF& from, int32_t format = 0);
};

/// Reads every byte of a picture: one outside its memory faults.
uint64_t SumOfBytes(const ZAV_GFXDEF& picture);

/// Whether two pictures have the same pixels; padding may differ.
bool SamePicture(const ZAV_GFXDEF& a, const ZAV_GFXDEF& b);

/// The picture's pixels in another format, without padding.
Bytes PixelsAs(const ZAV_GFXDEF& picture, int32_t format);

/// The file's definition; all zero if the probe fails.
ZAV_GFXDEF Probe(const char* name, const Bytes& file);

/// Probes and reads the file and every byte of the result, so that faults and sanitizers find
/// buffers that are too short. Returns whether the file could be read.
bool ReadAllBytes(const char* name, const Bytes& file, int32_t dest_format);

/// A bitmap of noise, row padding included.
Bytes BmpFile(uint32_t bits, int32_t width, int32_t height, int32_t colors_used);

/// A Targa header with an image ID of 5 bytes, and the color map if there is one.
Bytes TgaStart(uint32_t type, uint32_t depth, int32_t width, int32_t height, uint32_t descriptor,
               uint32_t map_length = 0, uint32_t map_entry_bits = 0);

/// Packets of noise, of every kind and length, for at least this many pixels.
Bytes NoisePackets(int32_t pixel_bytes, int64_t pixels, uint64_t seed);

/// An SGI header, channels of 8 bits, dimension and magic of noise.
Bytes SgiStart(bool run_length, uint32_t channels, int32_t width, int32_t height);

/// Rows of one channel each, of this many pixels or, one in eight, terminated early. Some rows
/// share their bytes. The table of lengths is left out.
void AppendSgiRows(Bytes& file, int64_t rows, uint32_t width, uint64_t seed);

void Append(Bytes& to, const Bytes& bytes);
Bytes FileBytes(const std::string& path);
void WriteFile(const std::string& path, const Bytes& bytes);

}  // namespace zav::test
