// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <bit>

#include "codecs/packer.h"
#include "codecs/packer_format.h"

namespace zav {
namespace {

using namespace packer;

constexpr auto kLengthGroups = MakeLengthGroups();

/// Chains of the positions that begin with the same two bytes, newest first.
///
/// The chains do not depend on the matches that are taken, so they are built ahead of the search, a
/// block at a time, in a loop without branches. Keys share the 4096 heads, so a chain may hold
/// positions of another key as well; their matches are shorter than two bytes and never win. Heads
/// are never removed: positions that left the window are recognised by their distance.
class Chains {
 public:
  Chains() { std::fill(std::begin(newest_), std::end(newest_), 0u - kFar); }

  /// The slot of `position` in the ring; the chain's links are slots.
  static uint32_t Slot(uint32_t position) { return position & (kRing - 1); }
  /// How far `older` is before `slot`; more than kWindow for links that end a chain.
  static uint32_t Distance(uint32_t slot, uint32_t older) { return (slot - older) & (kRing - 1); }
  uint32_t Older(uint32_t slot) const { return older_[slot]; }

  uint32_t end() const { return end_; }

  /// Chains the next block, up to `end` at most. Bytes up to and including `end` are read.
  void Extend(const uint8_t* source, uint32_t end) {
    const uint32_t stop = std::min(end_ + kBlock, end);
    for (uint32_t i = end_; i < stop; ++i) {
      const uint32_t key = LoadLe16(source + i);
      uint32_t& newest = newest_[key * 40503u % 65536 >> 4];
      older_[Slot(i)] = static_cast<uint16_t>(Slot(i - std::min(i - newest, kFar)));
      newest = i;
    }
    end_ = stop;
  }

 private:
  // From a position in a block, chains reach back kWindow positions, plus one link of kFar.
  static constexpr uint32_t kRing = 2048, kBlock = 512, kFar = kWindow + 1;
  static_assert(kBlock + kWindow <= kRing && kWindow + kFar < kRing);

  uint32_t newest_[4096];
  uint16_t older_[kRing];
  uint32_t end_ = 0;
};

class Encoder {
 public:
  Encoder(const uint8_t* source, uint8_t* dest, uint32_t size)
      : source_(source), size_(size), dest_(dest), out_(dest + 4) {}

  int32_t Run();

 private:
  struct Match {
    uint32_t length;  ///< 1: none
    uint32_t distance;
  };

  bool Put(uint64_t bits, uint32_t width);
  bool PutMatch(uint32_t distance, uint32_t length);
  uint32_t RunLength(uint32_t p) const;
  Match Search(uint32_t p) const;
  Match SearchLong(uint32_t p, uint32_t older) const;
  Match SearchTail(uint32_t p) const;
  uint32_t MatchLength(uint32_t m, uint32_t p) const;

  const uint8_t* source_;
  uint32_t size_;
  uint8_t* dest_;
  uint8_t* out_;  ///< where `pending_` is stored once it is full
  uint64_t pending_ = 0;
  uint32_t held_ = 0;  ///< bits in `pending_`, fewer than 32 between fields
  Chains chains_;
};

/// Appends at most 32 bits; false once the block is as long as the data, when packing is given up.
/// That is decided in whole words, including the size word. The word being filled is stored every
/// time, which saves a branch; it always fits before dest + size + 4.
inline bool Encoder::Put(uint64_t bits, uint32_t width) {
  pending_ |= bits << held_;
  held_ += width;
  StoreLe32(out_, static_cast<uint32_t>(pending_));
  const uint32_t full = held_ & 32;
  out_ += full / 8;
  pending_ >>= full;
  held_ &= 31;
  return out_ < dest_ + size_;
}

inline bool Encoder::PutMatch(uint32_t distance, uint32_t length) {
  // distance + 1 is 1 in front of the remainder's bits.
  const auto width = static_cast<uint32_t>(std::bit_width(distance + 1)) - 1;
  const uint32_t remainder = distance + 1 - (1u << width);
  const uint64_t head = 1 | (width - 1) << 1 | remainder << 4;
  uint32_t excess = length - kLeastMatch;
  if (excess < kShortLengths) {
    const LengthGroups& groups = kLengthGroups[excess];
    return Put(head | uint64_t{groups.bits} << (4 + width), 4 + width + groups.width);
  }
  if (!Put(head, 4 + width)) return false;
  uint32_t group = 2;
  for (; excess >= (1u << group) - 1; ++group) {
    const uint32_t ones = (1u << group) - 1;
    if (!Put(ones, group)) return false;
    excess -= ones;
  }
  return Put(excess, group);
}

/// How many bytes at `p` equal those at `m`, up to the end of the input.
inline uint32_t Encoder::MatchLength(uint32_t m, uint32_t p) const {
  const uint32_t start = p;
  for (; size_ - p >= 8; m += 8, p += 8) {
    const uint64_t difference = LoadLe64(source_ + m) ^ LoadLe64(source_ + p);
    if (difference != 0) {
      return p - start + static_cast<uint32_t>(std::countr_zero(difference)) / 8;
    }
  }
  while (p < size_ && source_[m] == source_[p]) ++m, ++p;
  return p - start;
}

inline uint32_t Encoder::RunLength(uint32_t p) const { return 1 + MatchLength(p, p + 1); }

/// The longest match for the bytes at `p`, the nearest of equal ones. Matches that reach the end of
/// the input count as equal. At least eight bytes follow from `p` on.
inline Encoder::Match Encoder::Search(uint32_t p) const {
  // A match's length and distance in one number: longer is greater, and of equals the nearer is.
  constexpr int32_t kStep = 1024, kNone = kStep;
  const uint64_t wanted = LoadLe64(source_ + p);
  const uint32_t slot = Chains::Slot(p);
  int32_t best = kNone;
  for (uint32_t older = chains_.Older(slot);; older = chains_.Older(older)) {
    const uint32_t distance = Chains::Distance(slot, older);
    if (distance > kWindow) break;
    const uint64_t difference = wanted ^ LoadLe64(source_ + p - distance);
    if (difference == 0) return SearchLong(p, older);
    const int32_t equal_bits = std::countr_zero(difference) & ~7;
    best = std::max(best, equal_bits * (kStep / 8) - static_cast<int32_t>(distance));
  }
  const auto length = static_cast<uint32_t>(best + kStep - 1) / kStep;
  return {length, length * kStep - static_cast<uint32_t>(best)};
}

/// Continues from the candidate in `older`, the first of at least eight bytes: shorter ones no
/// longer count.
Encoder::Match Encoder::SearchLong(uint32_t p, uint32_t older) const {
  const uint32_t slot = Chains::Slot(p);
  Match best{1, 0};
  for (;; older = chains_.Older(older)) {
    const uint32_t distance = Chains::Distance(slot, older);
    if (distance > kWindow) return best;
    // Only a match that also has the byte after the best one's end is longer.
    const uint32_t last = p + std::max(best.length, 7u);
    if (LoadLe64(source_ + last - 7) != LoadLe64(source_ + last - 7 - distance)) continue;
    const uint32_t length = MatchLength(p - distance, p);
    if (length > best.length) best = {length, distance};
    if (p + length == size_) return best;
  }
}

/// Like Search, for the last bytes of the input.
Encoder::Match Encoder::SearchTail(uint32_t p) const {
  const uint32_t slot = Chains::Slot(p);
  Match best{1, 0};
  for (uint32_t older = chains_.Older(slot);; older = chains_.Older(older)) {
    const uint32_t distance = Chains::Distance(slot, older);
    if (distance > kWindow) return best;
    const uint32_t length = MatchLength(p - distance, p);
    if (length > best.length) best = {length, distance};
    if (p + length == size_) return best;
  }
}

/// Packs, and returns the block's length, or 0 when given up.
int32_t Encoder::Run() {
  StoreLe32(dest_, size_);
  Put(uint64_t{source_[0]} << 1, kLiteralBits);
  uint32_t p = 1;
  while (p < size_ - 1) {
    if (p >= chains_.end()) {
      chains_.Extend(source_, size_ - 1);
      continue;
    }
    if (source_[p] == source_[p + 1]) {
      const uint32_t run = RunLength(p);
      if (run >= 3) {
        if (!Put(uint64_t{source_[p]} << 1, kLiteralBits)) return 0;
        if (!PutMatch(1, run - 1)) return 0;
        p += run;
        continue;
      }
    }
    const Match match = size_ - p < 8 ? SearchTail(p) : Search(p);
    if (match.length == 1) {
      if (!Put(uint64_t{source_[p]} << 1, kLiteralBits)) return 0;
    } else {
      if (!PutMatch(match.distance, match.length)) return 0;
    }
    p += match.length;
  }
  if (p == size_ - 1 && !Put(uint64_t{source_[p]} << 1, kLiteralBits)) return 0;
  StoreLe32(out_, static_cast<uint32_t>(pending_));
  return static_cast<int32_t>(out_ + 4 - dest_);
}

}  // namespace

int32_t ZAV_PACKER::Compress(const uint8_t* source, uint8_t* dest, int32_t size) {
  if (size < 0 || size > 0x7FFFFFFF - 4) return 0;
  if (size >= kLeastPacked) {
    const int32_t packed = Encoder(source, dest, static_cast<uint32_t>(size)).Run();
    if (packed != 0) return packed;
  }
  StoreLe32(dest, 0u - static_cast<uint32_t>(size));
  CopyRaw(dest + 4, source, size);
  return size + 4;
}

}  // namespace zav
