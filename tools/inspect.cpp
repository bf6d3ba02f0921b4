// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "inspect.h"

#include <fmt/core.h>

#include <cstdint>

#include "error.h"
#include "little_endian.h"

namespace zav::tool {
namespace {

using Bytes = std::vector<unsigned char>;

int64_t Word(const Bytes& bytes, size_t at) { return LoadLittle(&bytes[at], 2); }

int64_t SignedLong(const Bytes& bytes, size_t at) {
  return static_cast<int32_t>(LoadLittle(&bytes[at], 4));
}

int64_t BigWord(const Bytes& bytes, size_t at) { return bytes[at] << 8 | bytes[at + 1]; }

Error CutOff(const std::string& path, size_t size, int64_t needed) {
  return BadFile(path, fmt::format("is cut off: {} bytes of at least {}", size, needed));
}

Error ImpossibleSides(const std::string& path, int64_t width, int64_t height) {
  return BadFile(path, fmt::format("has impossible sides: {} x {}", width, height));
}

/// The end of a run-length stream of `pixels` pixels, or -1 when it ends early.
int64_t RunLengthEnd(const Bytes& bytes, int64_t position, int64_t pixels, int64_t pixel_size) {
  const int64_t size = static_cast<int64_t>(bytes.size());
  while (pixels > 0) {
    if (position >= size) return -1;
    const int64_t header = bytes[static_cast<size_t>(position)];
    const int64_t count = (header & 127) + 1;
    position += 1 + (header >= 128 ? 1 : count) * pixel_size;
    if (position > size) return -1;
    pixels -= count;
  }
  return position;
}

/// Offset of a JPEG file's frame header, the segment with its sides and channels.
size_t FrameHeader(const std::string& path, const Bytes& bytes) {
  constexpr size_t kShortest = 17;  // up to the second channel's sampling
  for (size_t at = 2;;) {
    // Markers may have fill bytes before them, and segments stray bytes after them.
    while (at + 1 < bytes.size() &&
           (bytes[at] != 0xFF || bytes[at + 1] == 0 || bytes[at + 1] == 0xFF)) {
      ++at;
    }
    if (at + kShortest > bytes.size()) {
      throw CutOff(path, bytes.size(), static_cast<int64_t>(at + kShortest));
    }
    const int marker = bytes[at + 1];
    if (marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC) {
      return at;
    }
    if (marker == 0xD9 || marker == 0xDA)
      throw BadFile(path, "has no frame header before its pixels");
    const bool alone = marker == 1 || (marker >= 0xD0 && marker <= 0xD8);
    at += 2 + (alone ? 0 : static_cast<size_t>(BigWord(bytes, at + 2)));
  }
}

/// In J:a:b notation where the sampling factors of the first two channels have one.
std::string SamplingText(int first, int second) {
  if (second != 0x11) return first == second ? "4:4:4" : "mixed sampling";
  switch (first) {
    case 0x11:
      return "4:4:4";
    case 0x21:
      return "4:2:2";
    case 0x22:
      return "4:2:0";
    default:
      return fmt::format("{}x{} luma", first >> 4, first & 15);
  }
}

}  // namespace

std::string InspectBmp(const std::string& path, const Bytes& bytes) {
  constexpr size_t kHeader = 54;
  if (bytes.size() < 2 || bytes[0] != 'B' || bytes[1] != 'M') {
    throw BadFile(path, "is not a BMP file: it does not begin with BM");
  }
  if (bytes.size() < kHeader) throw CutOff(path, bytes.size(), kHeader);

  const int64_t header = SignedLong(bytes, 14);
  const int64_t width = SignedLong(bytes, 18);
  const int64_t height = SignedLong(bytes, 22);
  const int64_t bits = Word(bytes, 28);
  const int64_t compression = SignedLong(bytes, 30);
  const int64_t colors = SignedLong(bytes, 46);
  if (header != 40) {
    throw NotSupported(
        path,
        fmt::format("has a BMP header of {} bytes; only headers of 40 are supported", header));
  }
  if (width <= 0 || height == 0) throw ImpossibleSides(path, width, height);
  if (height < 0) throw NotSupported(path, "stores its rows top-down, which is not supported");
  if (compression != 0) {
    throw NotSupported(
        path,
        fmt::format("is compressed (method {}), which is not supported for BMP", compression));
  }
  if (bits != 1 && bits != 8 && bits != 16 && bits != 24) {
    throw NotSupported(
        path, fmt::format("has {} bits per pixel; BMP is supported with 1, 8, 16 and 24", bits));
  }
  const int64_t palette = bits == 1                      ? 2
                          : bits > 8                     ? 0
                          : colors >= 1 && colors <= 256 ? colors
                                                         : 256;
  const int64_t pixels_at = static_cast<int64_t>(kHeader) + 4 * palette;
  if (SignedLong(bytes, 10) != pixels_at) {
    throw NotSupported(path, fmt::format("has its pixels at byte {} instead of {}",
                                         SignedLong(bytes, 10), pixels_at));
  }
  const int64_t needed = pixels_at + (width * bits + 31) / 32 * 4 * height;
  if (static_cast<int64_t>(bytes.size()) < needed) throw CutOff(path, bytes.size(), needed);
  return fmt::format("{}-bit", bits);
}

std::string InspectTarga(const std::string& path, const Bytes& bytes) {
  constexpr int64_t kHeader = 18;
  const int64_t size = static_cast<int64_t>(bytes.size());
  if (size < kHeader) throw CutOff(path, bytes.size(), kHeader);

  const int type = bytes[2];
  const int map_type = bytes[1];
  const int64_t map_length = Word(bytes, 5);
  const int map_bits = bytes[7];
  const int64_t width = Word(bytes, 12);
  const int64_t height = Word(bytes, 14);
  const int depth = bytes[16];
  if (type == 3 || type == 11 || type == 32 || type == 33) {
    throw NotSupported(
        path, fmt::format("is a Targa file of type {}; 1, 2, 9 and 10 are supported", type));
  }
  const bool known = type == 1 || type == 2 || type == 9 || type == 10;
  if (!known || map_type > 1) throw BadFile(path, "is not a Targa file: its header makes no sense");
  if (depth != 8 && depth != 16 && depth != 24 && depth != 32) {
    throw NotSupported(
        path,
        fmt::format("has {} bits per pixel; Targa is supported with 8, 16, 24 and 32", depth));
  }
  if (width == 0 || height == 0) throw ImpossibleSides(path, width, height);
  const bool mapped = depth == 8;
  if (map_length > 0 && (!mapped || (map_bits != 16 && map_bits != 24))) {
    throw NotSupported(path, fmt::format("has a color map of {}-bit entries for {}-bit pixels; "
                                         "supported are 16 and 24 for 8",
                                         map_bits, depth));
  }

  const int64_t pixels_at = kHeader + bytes[0] + (mapped ? map_length * (map_bits / 8) : 0);
  const int64_t pixel_size = depth / 8;
  const bool run_length = type >= 9;
  if (!run_length) {
    const int64_t needed = pixels_at + width * height * pixel_size;
    if (size < needed) throw CutOff(path, bytes.size(), needed);
  } else if (RunLengthEnd(bytes, pixels_at, width * height, pixel_size) < 0) {
    throw BadFile(
        path, fmt::format("is cut off: {} bytes do not hold {} x {} pixels", size, width, height));
  }
  return fmt::format("{}-bit{}", depth, run_length ? ", run-length" : "");
}

std::string InspectSgi(const std::string& path, const Bytes& bytes) {
  constexpr size_t kHeader = 512;
  if (bytes.size() < 2 || BigWord(bytes, 0) != 474) {
    throw BadFile(path, "is not an SGI file: its magic number is missing");
  }
  if (bytes.size() < kHeader) throw CutOff(path, bytes.size(), kHeader);

  const int64_t width = BigWord(bytes, 6);
  const int64_t height = BigWord(bytes, 8);
  const int64_t channels = BigWord(bytes, 10);
  if (bytes[2] > 1) throw BadFile(path, "is not an SGI file: its header makes no sense");
  if (bytes[3] != 1)
    throw NotSupported(path, "has more than 8 bits per channel, which is not supported");
  if (channels != 3 && channels != 4) {
    throw NotSupported(path,
                       fmt::format("has {} channels; SGI is supported with 3 and 4", channels));
  }
  if (width == 0 || height == 0) throw ImpossibleSides(path, width, height);
  const bool run_length = bytes[2] == 1;
  const int64_t needed =
      static_cast<int64_t>(kHeader) + channels * height * (run_length ? 4 : width);
  if (static_cast<int64_t>(bytes.size()) < needed) throw CutOff(path, bytes.size(), needed);
  return fmt::format("{}-bit{}", 8 * channels, run_length ? ", run-length" : "");
}

std::string InspectJpeg(const std::string& path, const Bytes& bytes, int& channels) {
  if (bytes.size() < 2 || BigWord(bytes, 0) != 0xFFD8) {
    throw BadFile(path, "is not a JPEG file: its first marker is missing");
  }
  const size_t at = FrameHeader(path, bytes);
  if (bytes[at + 4] != 8) {
    throw NotSupported(
        path, fmt::format("has {} bits per channel; JPEG is supported with 8", bytes[at + 4]));
  }
  channels = bytes[at + 9];
  if (channels != 3 && channels != 4) {
    throw NotSupported(
        path, channels == 1
                  ? "is a grey JPEG file; 3 and 4 channels are supported"
                  : fmt::format("has {} channels; JPEG is supported with 3 and 4", channels));
  }
  return fmt::format("{}{}{}", channels == 4 ? "32-bit, " : "",
                     SamplingText(bytes[at + 11], bytes[at + 14]),
                     bytes[at + 1] == 0xC2 ? ", progressive" : "");
}

}  // namespace zav::tool
