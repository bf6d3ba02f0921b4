// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "support/picture_files.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <iterator>
#include <numeric>

#include "support/page_end_buffer.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

void Put(Bytes& bytes, size_t at, int64_t value, size_t count) {
  for (size_t i = 0; i < count; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
}

/// Mostly short, often the longest.
uint32_t PacketLength(Random& random, uint32_t longest) {
  return random.Below(6) == 0 ? longest : 1 + random.Below(random.Below(4) == 0 ? longest : 9);
}

}  // namespace

uint64_t SumOfBytes(const ZAV_GFXDEF& picture) {
  if (picture.pixels == nullptr) return 0;
  // For blocks the pitch is the size of the picture.
  const int64_t bytes =
      int64_t{picture.pitch} * (picture.format >= ZAV_FMT_DXT1 ? 1 : picture.height);
  const uint64_t sum = std::accumulate(picture.pixels, picture.pixels + bytes, uint64_t{0});
  if (picture.format != ZAV_FMT_PAL8) return sum;
  return std::accumulate(picture.palette, picture.palette + ZAV_PALETTE_BYTES, sum);
}

bool Image::Read(const char* name, const Bytes& file) {
  PageEndBuffer block(file.data(), file.size());
  return ZAV_CONVERT_MEMFILE(this, name, block.data(), static_cast<long>(file.size())) == 1;
}

bool Image::Convert(const ZAV_GFXDEF& from, int32_t format) {
  source = from;
  if (format != 0) dest.format = format;
  return ZAV_CONVERT_RAW(this) == 1;
}

bool SamePicture(const ZAV_GFXDEF& a, const ZAV_GFXDEF& b) {
  if (a.format != b.format || a.width != b.width || a.height != b.height) return false;
  for (int64_t y = 0; y < a.height; ++y) {
    if (std::memcmp(a.pixels + y * a.pitch, b.pixels + y * b.pitch,
                    static_cast<size_t>(a.width) * static_cast<size_t>(a.bytes_per_pixel)) != 0) {
      return false;
    }
  }
  return a.format != ZAV_FMT_PAL8 || std::memcmp(a.palette, b.palette, ZAV_PALETTE_BYTES) == 0;
}

Bytes PixelsAs(const ZAV_GFXDEF& picture, int32_t format) {
  Image image;
  Bytes pixels;
  if (!image.Convert(picture, format)) return pixels;
  for (int32_t y = 0; y < picture.height; ++y) {
    const uint8_t* row = image.dest.pixels + int64_t{y} * image.dest.pitch;
    pixels.insert(pixels.end(), row, row + picture.width * image.dest.bytes_per_pixel);
  }
  return pixels;
}

ZAV_GFXDEF Probe(const char* name, const Bytes& file) {
  PageEndBuffer block(file.data(), file.size());
  ZAV_GFXDEF probed{};
  const auto size = static_cast<long>(file.size());
  return ZAV_GETFILEFORMAT_FROMMEM(&probed, name, block.data(), size) == 1 ? probed : ZAV_GFXDEF{};
}

bool ReadAllBytes(const char* name, const Bytes& file, int32_t dest_format) {
  Probe(name, file);
  Image image;
  image.dest.format = dest_format;
  const bool read = image.Read(name, file);
  [[maybe_unused]] volatile uint64_t sum = SumOfBytes(image.source) + SumOfBytes(image.dest);
  return read;
}

Bytes BmpFile(uint32_t bits, int32_t width, int32_t height, int32_t colors_used) {
  const int64_t entries = colors_used >= 1 && colors_used <= 256 ? colors_used : 256;
  const int64_t palette = bits == 1 ? 8 : bits == 8 ? 4 * entries : 0;
  Bytes file = NoiseBytes(
      static_cast<size_t>(54 + palette + (int64_t{width} * bits + 31) / 32 * 4 * height), bits + 1);
  Put(file, 18, width, 4);
  Put(file, 22, height, 4);
  Put(file, 28, bits, 2);
  Put(file, 46, colors_used, 4);
  return file;
}

Bytes TgaStart(uint32_t type, uint32_t depth, int32_t width, int32_t height, uint32_t descriptor,
               uint32_t map_length, uint32_t map_entry_bits) {
  Bytes file = NoiseBytes(18 + 5 + map_length * ((map_entry_bits + 7) / 8), map_length);
  Put(file, 0, 5, 1);
  Put(file, 2, type, 1);
  Put(file, 5, map_length, 2);
  Put(file, 7, map_entry_bits, 1);
  Put(file, 12, width, 2);
  Put(file, 14, height, 2);
  Put(file, 16, depth, 1);
  Put(file, 17, descriptor, 1);
  return file;
}

Bytes NoisePackets(int32_t pixel_bytes, int64_t pixels, uint64_t seed) {
  Random random(seed);
  Bytes stream;
  while (pixels > 0) {
    const bool is_run = random.Below(2) == 0;
    const uint32_t length = PacketLength(random, 128);
    stream.push_back(static_cast<uint8_t>((is_run ? 128 : 0) + length - 1));
    Append(stream,
           NoiseBytes(static_cast<size_t>(pixel_bytes) * (is_run ? 1 : length), random.Next()));
    pixels -= length;
  }
  return stream;
}

Bytes SgiStart(bool run_length, uint32_t channels, int32_t width, int32_t height) {
  Bytes file = NoiseBytes(512, 4);
  const int64_t fields[] = {run_length, 1,           file[4], file[5],       width >> 8,
                            width,      height >> 8, height,  channels >> 8, channels};
  for (size_t i = 0; i < std::size(fields); ++i) file[2 + i] = static_cast<uint8_t>(fields[i]);
  return file;
}

void AppendSgiRows(Bytes& file, int64_t rows, uint32_t width, uint64_t seed) {
  Random random(seed);
  const size_t table = file.size();
  file.resize(table + static_cast<size_t>(rows) * 4);
  size_t start = file.size();
  for (size_t row = 0; row < static_cast<size_t>(rows); ++row) {
    const bool shared = row > 0 && random.Below(8) == 0;
    if (!shared) start = file.size();
    for (size_t i = 0; i < 4; ++i) {
      file[table + row * 4 + i] = static_cast<uint8_t>(start >> (24 - 8 * i));
    }
    uint32_t left = shared ? 0 : random.Below(8) == 0 ? random.Below(width) : width;
    while (left > 0) {
      const bool is_run = random.Below(2) == 0;
      const uint32_t length = std::min(left, PacketLength(random, 127));
      file.push_back(static_cast<uint8_t>((is_run ? 0 : 128) + length));
      Append(file, NoiseBytes(is_run ? 1 : length, random.Next()));
      left -= length;
    }
    if (!shared) file.push_back(random.Below(2) == 0 ? 0 : 128);  // both end a row
  }
}

void Append(Bytes& to, const Bytes& bytes) { to.insert(to.end(), bytes.begin(), bytes.end()); }

Bytes FileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return Bytes(std::istreambuf_iterator<char>(file), {});
}

void WriteFile(const std::string& path, const Bytes& bytes) {
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(bytes.data()),
             static_cast<std::streamsize>(bytes.size()));
}

}  // namespace zav::test
