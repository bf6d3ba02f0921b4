// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Included once per target.
#if defined(ZAV_ENCODINGS_TRUE_COLOR_BLOCKS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_ENCODINGS_TRUE_COLOR_BLOCKS_INL_H_
#undef ZAV_ENCODINGS_TRUE_COLOR_BLOCKS_INL_H_
#else
#define ZAV_ENCODINGS_TRUE_COLOR_BLOCKS_INL_H_
#endif

#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "base/endian.h"
#include "platform/byte_shuffle.h"
#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

// Every block below reads and writes exactly its pixels, and loads all before it stores. A row that
// does not end with a whole block gets one more block, which ends with the row and repeats some
// pixels. Rows shorter than a block, and the ends of rows converted in place, go one pixel at a
// time.

#if HWY_MAX_BYTES >= 32 && !HWY_HAVE_SCALABLE
constexpr size_t kWideBytes = 32;  // wider ones gain nothing: stores are the limit
#else
constexpr size_t kWideBytes = 16;
#endif

template <size_t kBytes>
using Bytes = hn::FixedTag<uint8_t, kBytes>;
template <size_t kBytes>
using Uints = hn::FixedTag<uint32_t, kBytes / 4>;
template <size_t kBytes>
using Vector = hn::Vec<Bytes<kBytes> >;

constexpr ByteShuffle kSwap32 = {{2, 1, 0, 3, 6, 5, 4, 7, 10, 9, 8, 11, 14, 13, 12, 15}};

/// Four pixels of 4 bytes become 12 bytes and 4 zeros.
constexpr ByteShuffle NarrowShuffle(bool swap) {
  ByteShuffle shuffle{};
  for (size_t i = 0; i < 16; ++i) {
    const size_t byte = i % 3;
    shuffle.from[i] = static_cast<uint8_t>(i < 12 ? i / 3 * 4 + (swap ? 2 - byte : byte) : 0x80);
  }
  return shuffle;
}

/// Four pixels of 3 bytes, from byte `start` on, become 4 bytes each, alpha 0.
constexpr ByteShuffle WidenShuffle(bool swap, size_t start) {
  ByteShuffle shuffle{};
  for (size_t i = 0; i < 16; ++i) {
    const size_t byte = i % 4;
    shuffle.from[i] =
        static_cast<uint8_t>(byte < 3 ? start + i / 4 * 3 + (swap ? 2 - byte : byte) : 0x80);
  }
  return shuffle;
}

template <size_t kBytes>
Vector<kBytes> LoadShuffle(const ByteShuffle& shuffle) {
  return hn::LoadDup128(Bytes<kBytes>(), shuffle.from);
}

/// Streamed destinations are aligned.
template <bool kStream, size_t kBytes>
void Put(Vector<kBytes> vector, uint8_t* dest) {
  const Bytes<kBytes> d;
  if constexpr (kStream) {
    hn::Stream(vector, d, dest);
  } else {
    hn::StoreU(vector, d, dest);
  }
}

/// Where memory is the limit and less is written than read, the processor's prefetching is too
/// late. A hint for addresses beyond the row does nothing.
template <bool kStream, size_t kBytes>
void PrefetchAhead(const uint8_t* source) {
  constexpr size_t kDistance = 1024;
  if constexpr (kStream) {
    for (size_t i = 0; i < kBytes; i += 64) hwy::Prefetch(source + kDistance + i);
  }
}

// --- 32 to 24 bits -------------------------------------------------------------------------------

/// Stores the pixels of four vectors, already narrowed to 12 bytes and 4 zeros in every block of
/// 16, as three full vectors. The k-th vector's bytes are closed up and rotated by k quarters,
/// which moves them to their final lanes: each stored vector is the end of one and the start of the
/// next.
template <size_t kBytes>
struct Packer {
  static constexpr size_t kLanes = kBytes / 4;
  using Indices = decltype(hn::SetTableIndices(Uints<kBytes>(), static_cast<uint32_t*>(nullptr)));
  using Mask = hn::Mask<Uints<kBytes> >;

  Packer()
      : rotation0(Rotation(0)),
        rotation1(Rotation(1)),
        rotation2(Rotation(2)),
        rotation3(Rotation(3)),
        three_quarters(hn::FirstN(Uints<kBytes>(), kLanes * 3 / 4)),
        half(hn::FirstN(Uints<kBytes>(), kLanes / 2)),
        quarter(hn::FirstN(Uints<kBytes>(), kLanes / 4)) {}

  static Indices Rotation(size_t quarters) {
    uint32_t closed_up[kLanes];
    for (uint32_t i = 0; i < kLanes * 3 / 4; ++i) closed_up[i] = i / 3 * 4 + i % 3;
    for (uint32_t i = 0; i < kLanes / 4; ++i) closed_up[kLanes * 3 / 4 + i] = i * 4 + 3;
    uint32_t indices[kLanes];
    for (size_t i = 0; i < kLanes; ++i) {
      indices[i] = closed_up[(i + quarters * kLanes / 4) % kLanes];
    }
    return hn::SetTableIndices(Uints<kBytes>(), indices);
  }

  template <bool kStream>
  void Store(Vector<kBytes> v0, Vector<kBytes> v1, Vector<kBytes> v2, Vector<kBytes> v3,
             uint8_t* dest) const {
    const Bytes<kBytes> d;
    const Uints<kBytes> uints;
    const auto r0 = hn::TableLookupLanes(hn::BitCast(uints, v0), rotation0);
    const auto r1 = hn::TableLookupLanes(hn::BitCast(uints, v1), rotation1);
    const auto r2 = hn::TableLookupLanes(hn::BitCast(uints, v2), rotation2);
    const auto r3 = hn::TableLookupLanes(hn::BitCast(uints, v3), rotation3);
    Put<kStream, kBytes>(hn::BitCast(d, hn::IfThenElse(three_quarters, r0, r1)), dest);
    Put<kStream, kBytes>(hn::BitCast(d, hn::IfThenElse(half, r1, r2)), dest + kBytes);
    Put<kStream, kBytes>(hn::BitCast(d, hn::IfThenElse(quarter, r2, r3)), dest + 2 * kBytes);
  }

  Indices rotation0, rotation1, rotation2, rotation3;
  Mask three_quarters, half, quarter;
};

template <size_t kBytes, bool kSwap, bool kStream>
struct NarrowBlock {
  static constexpr size_t kPixels = kBytes;  // four vectors of 4-byte pixels
  static constexpr size_t kSourceBytes = 4, kDestBytes = 3;
  static constexpr ByteShuffle kShuffle = NarrowShuffle(kSwap);

  NarrowBlock() : shuffle(LoadShuffle<kBytes>(kShuffle)) {}

  void operator()(const uint8_t* source, uint8_t* dest, size_t first) const {
    const Bytes<kBytes> d;
    const uint8_t* from = source + first * 4;
    PrefetchAhead<kStream, kBytes * 4>(from);
    packer.template Store<kStream>(
        hn::TableLookupBytesOr0(hn::LoadU(d, from), shuffle),
        hn::TableLookupBytesOr0(hn::LoadU(d, from + kBytes), shuffle),
        hn::TableLookupBytesOr0(hn::LoadU(d, from + 2 * kBytes), shuffle),
        hn::TableLookupBytesOr0(hn::LoadU(d, from + 3 * kBytes), shuffle), dest + first * 3);
  }

  Vector<kBytes> shuffle;
  Packer<kBytes> packer;
};

// --- 24 to 32 bits -------------------------------------------------------------------------------

/// Reads four vectors' worth of 3-byte pixels. Each 16-byte load has the 12 source bytes of a block
/// at its start or at byte 4, so no load reaches beyond these pixels.
template <size_t kBytes, bool kSwap, bool kStream>
struct WidenBlock {
  static constexpr size_t kPixels = kBytes;
  static constexpr size_t kSourceBytes = 3, kDestBytes = 4;
  static constexpr ByteShuffle kAt0 = WidenShuffle(kSwap, 0);
  static constexpr ByteShuffle kAt4 = WidenShuffle(kSwap, 4);
  static constexpr ByteShuffle kAlpha = {{0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255, 0, 0, 0, 255}};

  WidenBlock()
      : at_0(LoadShuffle<kBytes>(kAt0)),
        at_4(LoadShuffle<kBytes>(kAt4)),
        alpha(LoadShuffle<kBytes>(kAlpha)) {}

  void operator()(const uint8_t* source, uint8_t* dest, size_t first) const {
    const uint8_t* from = source + first * 3;
    uint8_t* to = dest + first * 4;
    const Bytes<kBytes> d;
    if constexpr (kBytes == 16) {
      Store(hn::LoadU(d, from), at_0, to);
      Store(hn::LoadU(d, from + 12), at_0, to + 16);
      Store(hn::LoadU(d, from + 24), at_0, to + 32);
      Store(hn::LoadU(d, from + 32), at_4, to + 48);
    } else {
      const Bytes<kBytes / 2> half;
      Store(hn::Combine(d, hn::LoadU(half, from + 12), hn::LoadU(half, from)), at_0, to);
      const auto at_4_and_0 = hn::ConcatUpperLower(d, at_0, at_4);
      Store(hn::LoadU(d, from + 20), at_4_and_0, to + 32);
      Store(hn::LoadU(d, from + 44), at_4_and_0, to + 64);
      Store(hn::Combine(d, hn::LoadU(half, from + 80), hn::LoadU(half, from + 68)), at_4, to + 96);
    }
  }

  void Store(Vector<kBytes> bytes, Vector<kBytes> shuffle, uint8_t* to) const {
    Put<kStream, kBytes>(hn::Or(hn::TableLookupBytesOr0(bytes, shuffle), alpha), to);
  }

  Vector<kBytes> at_0, at_4, alpha;
};

// --- palette lookup ------------------------------------------------------------------------------

// Gather instructions are slower than single loads here. The gain is in the rest: indices are read
// eight at a time, and four entries are stored as one vector.

hn::Vec<hn::FixedTag<uint8_t, 8> > LookUpTwo(const uint8_t* palette, uint32_t i, uint32_t j) {
  const hn::FixedTag<uint8_t, 4> entry;
  return hn::Combine(hn::FixedTag<uint8_t, 8>(), hn::LoadU(entry, palette + j * 4),
                     hn::LoadU(entry, palette + i * 4));
}

Vector<16> LookUpFour(const uint8_t* palette, uint32_t indices) {
  return hn::Combine(Bytes<16>(), LookUpTwo(palette, indices >> 16 & 255, indices >> 24),
                     LookUpTwo(palette, indices & 255, indices >> 8 & 255));
}

template <bool kStream>
struct LookupBlock32 {
  static constexpr size_t kPixels = 8, kDestBytes = 4;

  explicit LookupBlock32(const uint8_t* entries) : palette(entries) {}

  void operator()(const uint8_t* source, uint8_t* dest, size_t first) const {
    const uint8_t* from = source + first;
    Put<kStream, 16>(LookUpFour(palette, LoadLe32(from)), dest + first * 4);
    Put<kStream, 16>(LookUpFour(palette, LoadLe32(from + 4)), dest + first * 4 + 16);
  }

  const uint8_t* palette;
};

template <bool kStream>
struct LookupBlock24 {
  static constexpr size_t kPixels = 16, kDestBytes = 3;
  static constexpr ByteShuffle kShuffle = NarrowShuffle(false);

  explicit LookupBlock24(const uint8_t* entries)
      : palette(entries), shuffle(LoadShuffle<16>(kShuffle)) {}

  void operator()(const uint8_t* source, uint8_t* dest, size_t first) const {
    const uint8_t* from = source + first;
    packer.template Store<kStream>(Narrowed(from), Narrowed(from + 4), Narrowed(from + 8),
                                   Narrowed(from + 12), dest + first * 3);
  }

  Vector<16> Narrowed(const uint8_t* indices) const {
    return hn::TableLookupBytesOr0(LookUpFour(palette, LoadLe32(indices)), shuffle);
  }

  const uint8_t* palette;
  Vector<16> shuffle;
  Packer<16> packer;
};

#endif

ZAV_END_TARGET();

#endif
