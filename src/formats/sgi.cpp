// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/sgi.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "base/byte_reader.h"
#include "base/endian.h"
#include "base/heap.h"
#include "convert/pipeline.h"
#include "encodings/planes.h"
#include "surface/surface.h"

namespace zav {
namespace {

constexpr int64_t kHeaderBytes = 512;
constexpr int64_t kStartBytes = 4;          // one entry of the table of row starts
constexpr int64_t kMostPacketPixels = 127;  // of a packet, which has two bytes or more
constexpr size_t kMostChannels = 4;
constexpr uint32_t kRunLength = 1;

struct SgiHeader {
  ZAV_SURFACE surface;  ///< the definition of the picture
  int32_t channels;
  uint32_t storage;  ///< 1: run-length; 0 and 128 to 255 (signed: negative): verbatim
  int32_t channel_bytes;
};

/// The magic, the dimension and everything after the number of channels are not checked.
bool ReadHeader(ByteReader& file, SgiHeader& header) {
  file.Skip(2);
  header.storage = file.U8();
  header.channel_bytes = file.U8();
  file.Skip(2);
  const int32_t width = file.Be16();
  const int32_t height = file.Be16();
  header.channels = file.Be16();
  const int32_t format = header.channels == 3   ? ZAV_FMT_BGR24
                         : header.channels == 4 ? ZAV_FMT_BGRA32
                                                : 0;
  return !file.failed() && format != 0 && SetDefinition(header.surface, width, height, format);
}

bool Allocate(ZAV_SURFACE& source, const ZAV_SURFACE& wanted, bool sparse) {
  const auto allocate = sparse ? AllocClearedSurface : AllocSurface;
  return allocate(source, wanted.width, wanted.height, wanted.format);
}

/// Files start with the bottom row.
uint8_t* StoredRow(const ZAV_SURFACE& surface, int64_t row) {
  return surface.pixels + (surface.height - 1 - row) * surface.pitch;
}

bool ReadVerbatim(ZAV_SURFACE& source, const SgiHeader& header, ByteReader& file) {
  const int64_t width = header.surface.width;
  const int64_t plane_bytes = width * header.surface.height;
  const uint8_t* first = file.Take(plane_bytes * header.channels);
  if (first == nullptr || !Allocate(source, header.surface, false)) return false;
  const InterleaveRow interleave = InterleaveRowOf(header.channels);
  for (int64_t y = 0; y < source.height; ++y, first += width) {
    const uint8_t* const planes[kMostChannels] = {
        first + 2 * plane_bytes, first + plane_bytes, first,
        header.channels == 4 ? first + 3 * plane_bytes : nullptr};
    interleave(planes, StoredRow(source, y), static_cast<size_t>(width));
  }
  return true;
}

/// Decodes the rows of all channels into scratch memory that stays in the cache, then interleaves
/// them.
///
/// Entries of the table may share a row, and a row may end as soon as it starts. A few kilobytes
/// can therefore be a valid picture of gigabytes, and no ratio of sizes can refuse it. Only a
/// picture that the file's packets could fill gets ordinary memory. Any other gets cleared memory,
/// which costs nothing until it is touched: only the pixels that rows have are written, up to the
/// first bad row.
bool ReadRunLength(ZAV_SURFACE& source, const SgiHeader& header, ByteReader& file) {
  const int64_t width = header.surface.width;
  const int64_t height = header.surface.height;
  const int32_t channels = header.channels;
  const uint8_t* const starts = file.Take(kStartBytes * height * channels);
  if (starts == nullptr) return false;
  const bool sparse = file.remaining() / 2 * kMostPacketPixels < width * height * channels;
  const bool cleared = sparse && source.pixels == nullptr;
  const int64_t plane_bytes = width + kSgiRowSlack;
  const Scratch scratch(plane_bytes * channels);
  if (scratch.get() == nullptr || !Allocate(source, header.surface, sparse)) return false;

  const InterleaveRow interleave = InterleaveRowOf(channels);
  uint8_t* planes[kMostChannels] = {};
  for (int32_t c = 0; c < channels; ++c) planes[c] = scratch.get() + c * plane_bytes;
  for (int64_t y = 0; y < height; ++y) {
    int64_t pixels[kMostChannels] = {};
    for (int32_t c = 0; c < channels; ++c) {
      file.Seek(LoadBe32(starts + kStartBytes * (c * height + y)));
      pixels[c] = SgiRleRow(file, planes[c], width);
      if (file.failed() || pixels[c] < 0) return false;
    }
    const int64_t written = cleared ? *std::max_element(pixels, pixels + channels) : width;
    for (int32_t c = 0; c < channels; ++c) {
      std::memset(planes[c] + pixels[c], 0, static_cast<size_t>(written - pixels[c]));
    }
    const uint8_t* const ordered[kMostChannels] = {planes[2], planes[1], planes[0], planes[3]};
    interleave(ordered, StoredRow(source, y), static_cast<size_t>(written));
  }
  return true;
}

/// Writes 16 bytes of a packet: literal ones if the mask is set, the run's if it is 0.
inline void PutBlock(uint8_t* dest, const uint8_t* literal, uint64_t run, uint64_t mask) {
  StoreLe64(dest, run ^ ((run ^ LoadLe64(literal)) & mask));
  StoreLe64(dest + 8, run ^ ((run ^ LoadLe64(literal + 8)) & mask));
}

}  // namespace

// Most packets have a few pixels, and no processor can predict whether the next one is a run. A
// misprediction costs more than the bytes, so both outcomes are computed and a mask selects one.
int64_t SgiRleRow(const ByteReader& file, uint8_t* dest, int64_t width) {
  constexpr int64_t kBlockBytes = 16;
  constexpr int64_t kPacketBlockBytes = 128;  // the blocks of the longest packet
  static_assert(kSgiRowSlack >= kBlockBytes - 1);
  const int64_t size = file.remaining();
  const uint8_t* const packets = file.Peek(size);
  int64_t done = 0;
  int64_t at = 0;
  while (done < width) {
    if (at >= size) return -1;
    const uint8_t control = packets[at];
    const int64_t pixels = control & 127;
    if (pixels == 0) break;
    if (pixels > width - done) return -1;
    const bool literal = control >= 128;
    const int64_t end = at + 1 + (literal ? pixels : 1);
    if (size - at > kPacketBlockBytes) {
      const uint8_t* const bytes = packets + at + 1;
      const uint64_t run = *bytes * uint64_t{0x0101010101010101};
      const uint64_t mask = uint64_t{0} - (control >> 7);
      PutBlock(dest + done, bytes, run, mask);
      for (int64_t i = kBlockBytes; i < pixels; i += kBlockBytes) {
        PutBlock(dest + done + i, bytes + i, run, mask);
      }
    } else if (end > size) {
      return -1;
    } else if (literal) {
      std::memcpy(dest + done, packets + at + 1, static_cast<size_t>(pixels));
    } else {
      std::memset(dest + done, packets[at + 1], static_cast<size_t>(pixels));
    }
    done += pixels;
    at = end;
  }
  return done;
}

bool SgiGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size) {
  ByteReader file(data, size);
  SgiHeader header{};
  if (!ReadHeader(file, header)) return false;
  ReportDefinition(out, header.surface);
  return true;
}

bool SgiRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size) {
  ByteReader file(data, size);
  SgiHeader header{};
  if (!ReadHeader(file, header) || header.channel_bytes != 1) return false;
  if (header.storage > kRunLength && header.storage < 128) return false;
  file.Seek(kHeaderBytes);
  if (file.failed()) return false;
  const auto read = header.storage == kRunLength ? ReadRunLength : ReadVerbatim;
  if (!read(converter.source, header, file)) return false;
  return converter.dest.format == 0 || ConvertSurface(converter);
}

}  // namespace zav
