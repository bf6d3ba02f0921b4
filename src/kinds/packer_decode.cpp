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

/// How a period shorter than the word (4 or 8 bytes) repeats: `mask` cuts it out of a word, times
/// `factor` it fills the word, and behind it words can be copied from `multiple` bytes back, a
/// multiple of the period. The last entry leaves a word as it is.
template <typename Word>
struct Repeat {
  Word mask;
  Word factor;
  uint32_t multiple;
};

template <typename Word>
constexpr std::array<Repeat<Word>, sizeof(Word) + 1> MakeRepeats() {
  constexpr uint32_t kBytes = sizeof(Word);
  std::array<Repeat<Word>, kBytes + 1> repeats{};
  for (uint32_t period = 1; period <= kBytes; ++period) {
    Repeat<Word>& repeat = repeats[period];
    repeat.mask = static_cast<Word>(~Word{0} >> 8 * (kBytes - period));
    for (uint32_t at = 0; at < kBytes; at += period) repeat.factor |= Word{1} << 8 * at;
    repeat.multiple = (kBytes + period - 1) / period * period;
  }
  return repeats;
}
constexpr auto kRepeats4 = MakeRepeats<uint32_t>();
constexpr auto kRepeats8 = MakeRepeats<uint64_t>();

/// Repeats what lies `distance` bytes back, for up to 4 bytes.
inline void Repeat4(uint8_t* out, uint64_t distance) {
  const Repeat<uint32_t>& repeat = kRepeats4[std::min<uint64_t>(distance, 4)];
  StoreLe32(out, (LoadLe32(out - distance) & repeat.mask) * repeat.factor);
}

/// The same for up to `length` bytes, at most 32, which may be written.
inline void Repeat32(uint8_t* out, uint64_t distance, uint32_t length) {
  if (distance == 1) {
    // Runs are half of the longer matches. The byte is often a literal just stored; a wide load
    // would have to wait until it has reached the cache.
    const uint64_t word = out[-1] * 0x0101010101010101u;
    for (int32_t i = 0; i < 32; i += 8) StoreLe64(out + i, word);
    return;
  }
  const Repeat<uint64_t>& repeat = kRepeats8[std::min<uint64_t>(distance, 8)];
  StoreLe64(out, (LoadLe64(out - distance) & repeat.mask) * repeat.factor);
  const uint64_t back = distance < 8 ? repeat.multiple : distance;
  StoreLe64(out + 8, LoadLe64(out + 8 - back));
  if (length <= 16) return;
  StoreLe64(out + 16, LoadLe64(out + 16 - back));
  StoreLe64(out + 24, LoadLe64(out + 24 - back));
}

/// The stream's bits, the next one lowest. Behind its end come zeros, which the caller detects by
/// the bits used.
class BitReader {
 public:
  BitReader(const uint8_t* stream, int64_t size) : stream_(stream), size_(size) {}

  /// Whether a wide refill stays in the stream.
  bool wide() const { return size_ - next_ >= 8; }
  int64_t used() const { return next_ * 8 - held_; }
  uint64_t bits() const { return bits_; }
  void Drop(uint64_t count) {
    bits_ >>= count;
    held_ -= static_cast<uint32_t>(count);
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
      : reader_(stream, stream_size),
        stream_size_(stream_size),
        dest_(dest),
        out_(dest),
        end_(dest + size) {}

  bool Run();

 private:
  /// What a turn of RunWide may write: three literals and 32 bytes of a match, and one more byte
  /// that no literal is.
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

/// Decodes until `limit` is reached or the stream's end is near: up to three literals and a match
/// per turn. How many literals there are decides no branch, because it cannot be predicted. Where
/// no distance can reach before the output any more, they are not checked.
template <bool kCheckDistance>
bool Decoder::RunWide(const uint8_t* limit) {
  BitReader reader = reader_;
  uint8_t* out = out_;
  while (reader.wide() && out < limit) {
    reader.RefillWide();
    uint64_t bits = reader.bits();
    // A literal's first bit is 0: the lowest set one of these positions says how many there are.
    constexpr uint64_t kFirstBits = 1 | 1 << 9 | 1 << 18, kStop = 1 << 27;
    const auto literal_bits = static_cast<uint32_t>(std::countr_zero((bits & kFirstBits) | kStop));
    out[0] = static_cast<uint8_t>(bits >> 1);
    out[1] = static_cast<uint8_t>(bits >> 10);
    out[2] = static_cast<uint8_t>(bits >> 19);
    out += literal_bits & 3;  // 9, 18 and 27 leave 1, 2 and 3
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
    if (entry.length != kLonger) {
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
