// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/targa_packets.h"

#include <algorithm>
#include <cstring>

#include "base/checked.h"
#include "base/endian.h"

namespace zav {
namespace {

// Packets are short: in photographs most have a few pixels. Copying fixed blocks, the last of which
// may extend past the packet's end, costs a fraction of exact copies.
constexpr int64_t kBlockBytes = 24;  // a whole number of pixels of any size
constexpr int64_t kShortPacketBytes = 2 * kBlockBytes;
constexpr int64_t kCopyBytes = 32;

struct Block {
  uint64_t words[3];

  static Block Load(const uint8_t* source) {
    return {LoadLe64(source), LoadLe64(source + 8), LoadLe64(source + 16)};
  }
  void Store(uint8_t* dest) const {
    StoreLe64(dest, words[0]);
    StoreLe64(dest + 8, words[1]);
    StoreLe64(dest + 16, words[2]);
  }
};

template <int32_t kPixelBytes>
inline Block RepeatPixel(const uint8_t* pixel) {
  if constexpr (kPixelBytes == 3) {
    const uint64_t value = LoadLe24(pixel);
    return {value | value << 24 | value << 48, value >> 16 | value << 8 | value << 32 | value << 56,
            value >> 8 | value << 16 | value << 40};
  }
  uint64_t value = 0;
  if constexpr (kPixelBytes == 1) value = *pixel * 0x0101010101010101u;
  if constexpr (kPixelBytes == 2) value = LoadLe16(pixel) * 0x0001000100010001u;
  if constexpr (kPixelBytes == 4) value = LoadLe32(pixel) * 0x0000000100000001u;
  return {value, value, value};
}

/// The second block if the mask is all ones, the first if it is 0.
inline Block Select(const Block& first, const Block& second, uint64_t mask) {
  Block selected;
  for (int i = 0; i < 3; ++i) {
    selected.words[i] = first.words[i] ^ ((first.words[i] ^ second.words[i]) & mask);
  }
  return selected;
}

/// Copies `bytes` bytes of a raw packet. Up to `dest_room` and `source_room` bytes may be touched.
inline void CopyPacket(uint8_t* dest, const uint8_t* source, int64_t bytes, int64_t dest_room,
                       int64_t source_room) {
  const int64_t blocks = RoundUp(bytes, kCopyBytes);
  if (blocks > dest_room || blocks > source_room) {
    std::memcpy(dest, source, static_cast<size_t>(bytes));
    return;
  }
  for (int64_t i = 0; i < bytes; i += kCopyBytes) std::memcpy(dest + i, source + i, kCopyBytes);
}

/// Writes `bytes` bytes of repeated pixels. Up to `room` bytes may be touched.
template <int32_t kPixelBytes>
inline void FillRun(uint8_t* dest, const uint8_t* pixel, int64_t bytes, int64_t room) {
  const Block block = RepeatPixel<kPixelBytes>(pixel);
  int64_t i = 0;
  for (; i < bytes && i + kBlockBytes <= room; i += kBlockBytes) block.Store(dest + i);
  if (i < bytes) {
    uint8_t last[kBlockBytes];
    block.Store(last);
    std::memcpy(dest + i, last, static_cast<size_t>(bytes - i));
  }
}

/// Reads packets as long as they are short and both sides have room for the longest short one;
/// returns the bytes written, at most `room`.
///
/// No processor can predict whether the next packet is a run or raw, and in short packets a
/// misprediction costs more than everything else. So both outcomes are computed and a mask selects
/// one.
template <int32_t kPixelBytes>
int64_t ReadShortPackets(ByteReader& file, uint8_t* dest, int64_t room) {
  int64_t written = 0;
  while (room - written >= kShortPacketBytes) {
    const uint8_t* packet = file.Peek(1 + kShortPacketBytes);
    if (packet == nullptr) break;
    const int64_t bytes = int64_t{(*packet & 127) + 1} * kPixelBytes;
    if (bytes > kShortPacketBytes) break;
    const uint64_t run_mask = uint64_t{0} - (*packet >> 7);
    const uint8_t* pixels = packet + 1;
    const Block run = RepeatPixel<kPixelBytes>(pixels);
    const Block first = Select(Block::Load(pixels), run, run_mask);
    const Block second = Select(Block::Load(pixels + kBlockBytes), run, run_mask);
    first.Store(dest + written);
    second.Store(dest + written + kBlockBytes);
    const int64_t run_saves = (bytes - kPixelBytes) & static_cast<int64_t>(run_mask);
    file.Skip(1 + bytes - run_saves);
    written += bytes;
  }
  return written;
}

}  // namespace

int64_t TgaPacketReader::Read(uint8_t* dest, int64_t count) {
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

template <int32_t kPixelBytes>
int64_t TgaPacketReader::ReadPackets(uint8_t* dest, int64_t count) {
  // Local copies of the state: for all the compiler knows, writes through `dest` may change the
  // members, and it would load and store them for every packet.
  ByteReader file = file_;
  Packet packet = packet_;
  int64_t left = count;
  while (left > 0) {
    if (packet.pixels == 0) {
      if (overrun_ == Overrun::kAllowed) {
        const int64_t bytes = ReadShortPackets<kPixelBytes>(file, dest, left * kPixelBytes);
        left -= bytes / kPixelBytes;
        dest += bytes;
        if (left == 0) break;
      }
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
