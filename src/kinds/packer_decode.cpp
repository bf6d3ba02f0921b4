// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "kinds/packer.h"
#include "kinds/packer_format.h"

namespace zav {
namespace {

using namespace packer;

// The first three groups of a match's length, looked up by the 9 bits that they take at most. A
// length of 0 stands for longer ones.
constexpr uint32_t kGroupBits = 2 + 3 + 4;
constexpr uint8_t kLonger = 255;
struct TableLength {
  uint8_t length;
  uint8_t width;
};

constexpr std::array<TableLength, 1 << kGroupBits> MakeLengths() {
  std::array<TableLength, 1 << kGroupBits> table{};
  for (uint32_t bits = 0; bits < 1u << kGroupBits; ++bits) {
    uint32_t length = kLeastMatch, used = 0;
    for (uint32_t width = 2; width <= 4; ++width) {
      const uint32_t ones = (1u << width) - 1, group = bits >> used & ones;
      length += group;
      used += width;
      if (group == ones) continue;
      table[bits] = {static_cast<uint8_t>(length), static_cast<uint8_t>(used)};
      break;
    }
    if (table[bits].length == 0) table[bits].length = kLonger;
  }
  return table;
}
constexpr auto kLengths = MakeLengths();

/// The distances by the bits behind a match's first one: class and the remainder's 8 bits at most.
constexpr std::array<uint16_t, 1 << 11> MakeDistances() {
  std::array<uint16_t, 1 << 11> table{};
  for (uint32_t bits = 0; bits < 1u << 11; ++bits) {
    const uint32_t base = 2u << (bits & 7);
    table[bits] = static_cast<uint16_t>((bits >> 3 & (base - 1)) + base - 1);
  }
  return table;
}
constexpr auto kDistances = MakeDistances();

/// How to repeat a period of 1 to 7 bytes: `mask` cuts it out of eight bytes, times `factor` gives
/// eight bytes of repetition, and from there on eight bytes can be copied from `multiple` bytes
/// back, a multiple of the period. Entry 8 leaves eight bytes as they are.
struct Repeat {
  uint64_t mask;
  uint64_t factor;
  uint32_t multiple;
};
constexpr std::array<Repeat, 9> MakeRepeats() {
  std::array<Repeat, 9> repeats{};
  for (uint32_t period = 1; period <= 8; ++period) {
    Repeat& repeat = repeats[period];
    repeat.mask = ~uint64_t{0} >> (64 - 8 * period);
    for (uint32_t at = 0; at < 64; at += 8 * period) repeat.factor |= uint64_t{1} << at;
    repeat.multiple = (8 + period - 1) / period * period;
  }
  return repeats;
}
constexpr auto kRepeats = MakeRepeats();

/// The stream's bits, the next one lowest. Behind its end come zeros, which the caller detects by
/// the bits used.
class BitReader {
 public:
  BitReader(const uint8_t* stream, int64_t size) : stream_(stream), size_(size) {}

  /// Whether two wide refills stay in the stream.
  bool wide() const { return size_ - next_ >= 16; }
  int64_t used() const { return next_ * 8 - held_; }
  uint64_t bits() const { return bits_; }
  void Drop(uint32_t count) {
    bits_ >>= count;
    held_ -= count;
  }

  /// Makes 56 bits available. What is loaded above them is loaded once more by the next refill.
  void RefillWide() {
    bits_ |= LoadLe64(stream_ + next_) << held_;
    next_ += (63 - held_) >> 3;
    held_ |= 56;
  }

  uint32_t Take(uint32_t width) {
    if (size_ - next_ >= 8) RefillWide();
    for (; held_ < 56; held_ += 8, ++next_) {
      if (next_ < size_) bits_ |= uint64_t{stream_[next_]} << held_;
    }
    const auto value = static_cast<uint32_t>(bits_ & ((uint64_t{1} << width) - 1));
    Drop(width);
    return value;
  }

 private:
  const uint8_t* stream_;
  int64_t size_;
  int64_t next_ = 0;  ///< the first byte that is not wholly in `bits_`
  uint64_t bits_ = 0;
  uint32_t held_ = 0;
};

class Decoder {
 public:
  Decoder(const uint8_t* stream, int64_t stream_size, uint8_t* dest, int64_t size)
      : reader_(stream, stream_size), stream_size_(stream_size), dest_(dest), out_(dest),
        end_(dest + size) {}

  bool Run();

 private:
  static constexpr int64_t kOutSlack = 40;

  template <bool kCheckDistance>
  bool RunWide(uint8_t* limit);
  bool TakeToken();
  bool TakeLongMatch(uint32_t distance);
  bool Copy(uint32_t distance, int64_t length);

  BitReader reader_;
  int64_t stream_size_;
  uint8_t* dest_;
  uint8_t* out_;
  uint8_t* end_;
};

/// Repeats what lies `distance` bytes back.
bool Decoder::Copy(uint32_t distance, int64_t length) {
  if (length > end_ - out_ || distance > out_ - dest_) return false;
  uint8_t* const stop = out_ + length;
  if (distance == 1) {
    std::memset(out_, out_[-1], static_cast<size_t>(length));
  } else if (distance >= 8 && end_ - stop >= 8) {
    for (uint8_t* to = out_; to < stop; to += 8) std::memcpy(to, to - distance, 8);
  } else {
    for (uint8_t* to = out_; to < stop; ++to) *to = to[-static_cast<int64_t>(distance)];
  }
  out_ = stop;
  return true;
}

/// Takes the length of a match and copies it.
bool Decoder::TakeLongMatch(uint32_t distance) {
  int64_t length = kLeastMatch;
  for (uint32_t width = 2;; ++width) {
    const uint32_t group = reader_.Take(width);
    length += group;
    if (length > end_ - out_) return false;
    if (group != (1u << width) - 1) return Copy(distance, length);
  }
}

bool Decoder::TakeToken() {
  if (reader_.Take(1) == 0) {
    *out_++ = static_cast<uint8_t>(reader_.Take(8));
    return true;
  }
  const uint32_t kind = reader_.Take(3);
  return TakeLongMatch(reader_.Take(kind + 1) + (2u << kind) - 1);
}

/// Decodes up to `limit` at least, while eight bytes can be read and written at a time: up to three
/// literals and a match per turn, without branches that depend on the data as long as matches are
/// short. Where no distance can reach before the output any more, they are not checked.
template <bool kCheckDistance>
bool Decoder::RunWide(uint8_t* limit) {
  BitReader reader = reader_;
  uint8_t* out = out_;
  while (reader.wide() && out < limit) {
    reader.RefillWide();
    uint64_t bits = reader.bits();
    // A literal's first bit is 0: the lowest set one of these positions says how many there are.
    constexpr uint64_t kFirstBits = 1 | 1 << 9 | 1 << 18, kStop = 1 << 27;
    const auto literal_bits = static_cast<uint32_t>(std::countr_zero((bits & kFirstBits) | kStop));
    const uint64_t literals = (bits >> 1 & 0xFF) | (bits >> 2 & 0xFF00) | (bits >> 3 & 0xFF0000);
    StoreLe64(out, literals);
    out += literal_bits & 3;  // 9, 18 and 27 leave 1, 2 and 3
    reader.Drop(literal_bits);
    bits = reader.bits();
    if ((bits & 1) == 0) continue;

    const uint32_t prefix = static_cast<uint32_t>(bits >> 1 & 7) + 5;
    const uint64_t distance = kDistances[bits >> 1 & 0x7FF];
    if (kCheckDistance && distance > static_cast<uint64_t>(out - dest_)) return false;
    const TableLength entry = kLengths[bits >> prefix & ((1u << kGroupBits) - 1)];
    if (entry.length == kLonger) {
      reader.Drop(prefix);
      reader_ = reader;
      out_ = out;
      if (!TakeLongMatch(static_cast<uint32_t>(distance))) return false;
      reader = reader_;
      out = out_;
      continue;
    }
    reader.Drop(prefix + entry.width);
    const Repeat& repeat = kRepeats[distance < 8 ? distance : 8];
    StoreLe64(out, (LoadLe64(out - distance) & repeat.mask) * repeat.factor);
    uint8_t* const stop = out + entry.length;
    if (entry.length > 8) {
      const uint64_t multiple = distance < 8 ? repeat.multiple : distance;
      for (out += 8; out < stop; out += 8) std::memcpy(out, out - multiple, 8);
    }
    out = stop;
  }
  reader_ = reader;
  out_ = out;
  return true;
}

bool Decoder::Run() {
  if (end_ - out_ > kOutSlack) {
    uint8_t* const limit = end_ - kOutSlack;
    uint8_t* const reached = dest_ + std::min<int64_t>(kWindow, limit - dest_);
    if (!RunWide<true>(reached) || !RunWide<false>(limit)) return false;
  }
  while (out_ < end_) {
    if (reader_.used() > stream_size_ * 8 || !TakeToken()) return false;
  }
  return (reader_.used() / 32 + 1) * 4 <= stream_size_;
}

}  // namespace

int32_t ZAV_PACKER::DecodedSize(const uint8_t* source, int64_t source_size) {
  if (source_size < 4) return -1;
  const uint32_t announced = LoadLe32(source);
  if (announced == 0x80000000u) return -1;
  return static_cast<int32_t>(announced > 0x80000000u ? 0u - announced : announced);
}

int32_t ZAV_PACKER::Decompress(const uint8_t* source, int64_t source_size, uint8_t* dest,
                               int64_t dest_capacity) {
  const int32_t size = DecodedSize(source, source_size);
  if (size <= 0 || size > dest_capacity) return 0;
  if (LoadLe32(source) >> 31 != 0) {
    if (source_size - 4 < size) return 0;
    std::memcpy(dest, source + 4, static_cast<size_t>(size));
    return size;
  }
  return Decoder(source + 4, source_size - 4, dest, size).Run() ? size : 0;
}

}  // namespace zav
