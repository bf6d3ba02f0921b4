// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/targa_packets.h"

#include <algorithm>
#include <cstring>

#include "base/endian.h"

namespace zav {
namespace {

// Packets are short: in pictures of nature most have a handful of pixels. Fixed blocks of bytes,
// the last of which may stand out over the packet's end, cost a fraction of exact copies.
constexpr int64_t kCopyBlock = 32;
constexpr int64_t kRunBlock = 48;  // a multiple of every pixel size and of vector registers

/// Copies `bytes` bytes of a raw packet. Up to `dest_room` and `source_room` bytes may be touched.
inline void CopyPacket(uint8_t* dest, const uint8_t* source, int64_t bytes, int64_t dest_room,
                       int64_t source_room) {
  const int64_t blocks = (bytes + kCopyBlock - 1) / kCopyBlock * kCopyBlock;
  if (blocks > dest_room || blocks > source_room) {
    std::memcpy(dest, source, static_cast<size_t>(bytes));
    return;
  }
  for (int64_t i = 0; i < bytes; i += kCopyBlock) std::memcpy(dest + i, source + i, kCopyBlock);
}

/// Repeats a pixel over 12 bytes, which is a whole number of pixels of any size.
template <int32_t kPixelBytes>
inline void RepeatPixel(const uint8_t* pixel, uint32_t (&words)[3]) {
  if constexpr (kPixelBytes == 3) {
    const uint32_t value = LoadLe16(pixel) | uint32_t{pixel[2]} << 16;
    words[0] = value | value << 24;
    words[1] = value >> 8 | value << 16;
    words[2] = value >> 16 | value << 8;
  } else {
    uint32_t value = 0;
    if constexpr (kPixelBytes == 1) value = *pixel * 0x01010101u;
    if constexpr (kPixelBytes == 2) value = LoadLe16(pixel) * 0x00010001u;
    if constexpr (kPixelBytes == 4) value = LoadLe32(pixel);
    std::fill_n(words, 3, value);
  }
}

/// Writes `bytes` bytes of repeated pixels. Up to `room` bytes may be touched.
template <int32_t kPixelBytes>
inline void FillRun(uint8_t* dest, const uint8_t* pixel, int64_t bytes, int64_t room) {
  uint32_t words[3];
  RepeatPixel<kPixelBytes>(pixel, words);
  uint8_t block[kRunBlock];
  for (size_t i = 0; i < kRunBlock / 4; ++i) StoreLe32(block + i * 4, words[i % 3]);
  int64_t i = 0;
  for (; i < bytes && i + kRunBlock <= room; i += kRunBlock)
    std::memcpy(dest + i, block, kRunBlock);
  if (i < bytes) std::memcpy(dest + i, block, static_cast<size_t>(bytes - i));
}

}  // namespace

int64_t TgaPacketReader::Read(uint8_t* dest, int64_t count) {
  if (!run_length_) return ReadRaw(dest, count);
  switch (pixel_bytes_) {
    case 1:
      return ReadPackets<1>(dest, count);
    case 2:
      return ReadPackets<2>(dest, count);
    case 3:
      return ReadPackets<3>(dest, count);
    default:
      return ReadPackets<4>(dest, count);
  }
}

int64_t TgaPacketReader::ReadRaw(uint8_t* dest, int64_t count) {
  const int64_t bytes = count * pixel_bytes_;
  const uint8_t* pixels = file_.Take(bytes);
  if (pixels == nullptr) {
    file_.ToEnd();
    return 0;
  }
  std::memcpy(dest, pixels, static_cast<size_t>(bytes));
  return count;
}

template <int32_t kPixelBytes>
int64_t TgaPacketReader::ReadPackets(uint8_t* dest, int64_t count) {
  // Copies of the state: what is written through `dest` may be anything for all that the compiler
  // knows, and would make it load and store the state itself for every packet.
  ByteReader file = file_;
  Packet packet = packet_;
  int64_t left = count;
  while (left > 0) {
    if (packet.pixels == 0) {
      if (file.remaining() == 0) break;
      const uint8_t header = file.U8();
      const int64_t pixels = (header & 127) + 1;
      packet.is_run = header >= 128;
      packet.next = file.Take(packet.is_run ? kPixelBytes : pixels * kPixelBytes);
      if (packet.next == nullptr) {
        file.ToEnd();
        break;
      }
      packet.pixels = pixels;
    }
    const int64_t taken = std::min(packet.pixels, left);
    const int64_t bytes = taken * kPixelBytes;
    const int64_t room = overrun_ == Overrun::kAllowed ? left * kPixelBytes : bytes;
    if (packet.is_run) {
      FillRun<kPixelBytes>(dest, packet.next, bytes, room);
    } else {
      const int64_t readable = packet.pixels * kPixelBytes + file.remaining();
      CopyPacket(dest, packet.next, bytes, room, readable);
      packet.next += bytes;
    }
    packet.pixels -= taken;
    left -= taken;
    dest += bytes;
  }
  file_ = file;
  packet_ = packet;
  return count - left;
}

}  // namespace zav
