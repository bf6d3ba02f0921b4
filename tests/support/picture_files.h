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

  /// Reads a file from memory that ends where the mapped memory ends and cannot be written to.
  bool Read(const char* name, const Bytes& file);
};

/// Reads every byte of a picture, so that one that is not there shows.
uint64_t SumOfBytes(const ZAV_GFXDEF& picture);

/// Whether two pictures are the same, padding aside.
bool SamePicture(const ZAV_GFXDEF& a, const ZAV_GFXDEF& b);

/// Probes and reads the file and looks at every byte of what comes out, so that faults and
/// sanitizers find buffers that are too short. Returns whether it could be read.
bool ReadAndLookAt(const char* name, const Bytes& file, int32_t dest_format);

/// A bitmap of noise, row padding included.
Bytes BmpFile(uint32_t bits, int32_t width, int32_t height, int32_t colors_used);

/// A Targa header with an image ID of 5 bytes, and the colour map when there is one.
Bytes TgaStart(uint32_t type, uint32_t depth, int32_t width, int32_t height, uint32_t descriptor,
               uint32_t map_length = 0, uint32_t map_entry_bits = 0);

/// Packets of noise, of every kind and length, for at least this many pixels.
Bytes NoisePackets(int32_t pixel_bytes, int64_t pixels, uint64_t seed);

/// An SGI header, channels of 8 bits, dimension and magic of noise.
Bytes SgiStart(bool run_length, uint32_t channels, int32_t width, int32_t height);

/// Rows of one channel each, of this many pixels or, one in eight, terminated early; some are
/// shared. The lengths that should follow their starts are left out.
void AppendSgiRows(Bytes& file, int64_t rows, uint32_t width, uint64_t seed);

void Append(Bytes& to, const Bytes& bytes);
Bytes FileBytes(const std::string& path);
void WriteFile(const std::string& path, const Bytes& bytes);

}  // namespace zav::test
