// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <array>
#include <bit>
#include <cstring>

#include "codecs/packer.h"
#include "codecs/packer_format.h"

namespace zav {
namespace {

using namespace packer;

// The first three groups of a match's length, looked up by the 9 bits that they take at most.
constexpr uint32_t kGroupBits = 2 + 3 + 4;
constexpr uint8_t kLonger = 255;
struct TableLength {
  uint8_t length;  ///< kLonger when the third group is not the last one
  uint8_t width;
};

constexpr std::array<TableLength, 1 << kGroupBits> MakeLengths() {
  std::array<TableLength, 1 << kGroupBits> table{};
  for (uint32_t bits = 0; bits < 1u << kGroupBits; ++bits) {
    table[bits] = {kLonger, 0};
    uint32_t length = kLeastMatch, used = 0;
    for (uint32_t width = 2; width <= 4; ++width) {
      const uint32_t ones = (1u << width) - 1, group = bits >> used & ones;
      length += group;
      used += width;
      if (group == ones) continue;
      table[bits] = {static_cast<uint8_t>(length), static_cast<uint8_t>(used)};
      break;
    }
  }
  return table;
}
constexpr auto kLengths = MakeLengths();

/// The distances by the bits after a match's first one: class and at most 8 bits of remainder.
constexpr std::array<uint16_t, 1 << 11> MakeDistances() {
  std::array<uint16_t, 1 << 11> table{};
  for (uint32_t bits = 0; bits < 1u << 11; ++bits) {
    const uint32_t base = 2u << (bits & 7);
    table[bits] = static_cast<uint16_t>((bits >> 3 & (base - 1)) + base - 1);
  }
  return table;
}
constexpr auto kDistances = MakeDistances();

/// How a period of 1 to 7 bytes repeats: `mask` cuts it out of eight bytes, multiplying by `factor`
/// fills them, and after that eight bytes at a time can be copied from `multiple` bytes back, a
/// multiple of the period. The last entry leaves eight bytes as they are.
struct Period {
  uint64_t mask;
  uint64_t factor;
  uint32_t multiple;
};

constexpr std::array<Period, 9> MakePeriods() {
  std::array<Period, 9> periods{};
  for (uint32_t length = 1; length <= 8; ++length) {
    Period& period = periods[length];
    period.mask = ~uint64_t{0} >> 8 * (8 - length);
    for (uint32_t at = 0; at < 8; at += length) period.factor |= uint64_t{1} << 8 * at;
    period.multiple = (8 + length - 1) / length * length;
  }
  return periods;
}
constexpr auto kPeriods = MakePeriods();

/// Repeats the bytes `distance` back, up to 4 of them, one at a time: the processor can forward a
/// byte from the store it was part of, but a wider load of bytes from several recent stores would
/// wait until they have reached the cache.
inline void Repeat4(uint8_t* out, uint64_t distance) {
  const uint8_t* from = out - distance;
  out[0] = from[0];
  out[1] = from[1];
  out[2] = from[2];
  out[3] = from[3];
}

/// The same for at most 32 bytes; all 32 may be written.
inline void Repeat32(uint8_t* out, uint64_t distance, uint32_t length) {
  if (distance == 1) {
    // Runs are half of the longer matches, and most of them follow the literal that they repeat.
    const uint64_t word = out[-1] * 0x0101010101010101u;
    for (int32_t i = 0; i < 32; i += 8) StoreLe64(out + i, word);
    return;
  }
  const Period& period = kPeriods[static_cast<size_t>(std::min<uint64_t>(distance, 8))];
  StoreLe64(out, (LoadLe64(out - distance) & period.mask) * period.factor);
  const uint64_t back = distance < 8 ? period.multiple : distance;
  StoreLe64(out + 8, LoadLe64(out + 8 - back));
  if (length <= 16) return;
  StoreLe64(out + 16, LoadLe64(out + 16 - back));
  StoreLe64(out + 24, LoadLe64(out + 24 - back));
}

/// The stream's bits, the next one lowest. Zeros follow its end, which the caller detects by the
/// bits used.
class BitReader {
 public:
  BitReader(const uint8_t* stream, int64_t size) : stream_(stream), size_(size) {}

  /// Whether a wide refill stays in the stream.
  bool wide() const { return size_ - next_ >= 8; }
  int64_t used() const { return next_ * 8 - held_; }
  uint64_t bits() const { return bits_; }
  uint32_t held() const { return held_; }
  void Drop(uint64_t count) {
    bits_ >>= count;
    held_ -= static_cast<uint32_t>(count);
  }

  /// Makes at least 56 bits available. Bits that are loaded but not counted as held are loaded
  /// again by the next refill.
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
      : reader_(stream, stream_size),
        stream_size_(stream_size),
        dest_(dest),
        out_(dest),
        end_(dest + size) {}

  bool Run();

 private:
  /// The most a turn of RunWide may write: four literals and 32 bytes of a match.
  static constexpr int64_t kOutSlack = 36;

  template <bool kCheckDistance>
  bool RunWide(const uint8_t* limit);
  bool TakeToken();
  bool TakeLengthAndCopy(uint32_t distance);
  bool Copy(uint32_t distance, int64_t length);

  BitReader reader_;
  int64_t stream_size_;
  uint8_t* dest_;
  uint8_t* out_;
  uint8_t* end_;
};

/// Repeats the bytes `distance` back.
bool Decoder::Copy(uint32_t distance, int64_t length) {
  if (length > end_ - out_ || int64_t{distance} > out_ - dest_) return false;
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
bool Decoder::TakeLengthAndCopy(uint32_t distance) {
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
  return TakeLengthAndCopy(reader_.Take(kind + 1) + (2u << kind) - 1);
}

/// Decodes until `limit` is reached or the stream's end is near: up to four literals and a match
/// per turn. No branch depends on the number of literals, because it cannot be predicted. Distances
/// are not checked once none can reach before the output.
template <bool kCheckDistance>
bool Decoder::RunWide(const uint8_t* limit) {
  BitReader reader = reader_;
  uint8_t* out = out_;
  while (reader.wide() && out < limit) {
    reader.RefillWide();
    uint64_t bits = reader.bits();
    // A literal's first bit is 0: the lowest set bit among these positions says how many there are.
    constexpr uint64_t kFirstBits = 1 | 1 << 9 | 1 << 18 | 1 << 27, kStop = uint64_t{1} << 36;
    const auto literal_bits = static_cast<uint32_t>(std::countr_zero((bits & kFirstBits) | kStop));
    StoreLe32(out, static_cast<uint32_t>((bits >> 1 & 0xFF) | (bits >> 2 & 0xFF00) |
                                         (bits >> 3 & 0xFF0000) | (bits >> 4 & 0xFF000000)));
    out += literal_bits & 7;  // 9, 18, 27 and 36 leave 1 to 4
    reader.Drop(literal_bits);
    bits = reader.bits();
    if ((bits & 1) == 0) continue;

    const uint64_t distance = kDistances[bits >> 1 & 0x7FF];
    if (kCheckDistance && distance > static_cast<uint64_t>(out - dest_)) return false;
    reader.Drop(5);
    reader.Drop(bits >> 1 & 7);
    // Every turn waits for the bits of the one before. Most lengths take one group: guessing that
    // is shorter than looking it up.
    const uint32_t group = reader.bits() & 3;
    if (group < 3) {
      reader.Drop(2);
      Repeat4(out, distance);
      out += kLeastMatch + group;
      continue;
    }
    const TableLength entry = kLengths[reader.bits() & ((1u << kGroupBits) - 1)];
    if (entry.length != kLonger && entry.width <= reader.held()) {
      reader.Drop(entry.width);
      Repeat32(out, distance, entry.length);
      out += entry.length;
      continue;
    }
    reader_ = reader;
    out_ = out;
    if (!TakeLengthAndCopy(static_cast<uint32_t>(distance))) return false;
    reader = reader_;
    out = out_;
  }
  reader_ = reader;
  out_ = out;
  return true;
}

bool Decoder::Run() {
  if (end_ - out_ > kOutSlack) {
    const uint8_t* limit = end_ - kOutSlack;
    const uint8_t* reached = dest_ + std::min<int64_t>(kWindow, limit - dest_);
    if (!RunWide<true>(reached) || !RunWide<false>(limit)) return false;
  }
  while (out_ < end_) {
    if (reader_.used() > stream_size_ * 8 || !TakeToken()) return false;
  }
  // The last word must be there, even where none of its bits are needed: a block cut off anywhere
  // is refused.
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
    CopyRaw(dest, source + 4, size);
    return size;
  }
  return Decoder(source + 4, source_size - 4, dest, size).Run() ? size : 0;
}

}  // namespace zav
