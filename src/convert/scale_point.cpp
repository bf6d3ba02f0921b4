// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/scale_kernels.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "convert/scale_point.cpp"
#include <hwy/foreach_target.h>
// After foreach_target, which includes this file once per target.
#include "convert/scale_tables-inl.h"
#include "platform/vector_target.h"

HWY_BEFORE_NAMESPACE();
namespace zav {
namespace HWY_NAMESPACE {

#if ZAV_SCALE_PLAIN

const ScaleKernel& PointKernel() { return PlainPointKernel(); }

#else

namespace {

/// How the pixels of a destination row are fetched.
enum class Fetch {
  kRow,     // as they stand
  kTwice,   // every one twice
  kSecond,  // every second one
  kFourth,
  kStride,     // every n-th one
  kBlock,      // 16 destination bytes from 16 source bytes
  kHalfBlock,  // 8 from 16
  kPixel       // singly
};

template <size_t kBytes>
Fetch FetchFor(int64_t step) {
  if (step == kOne) return Fetch::kRow;
  if (kBytes == 4 && step == kOne / 2) return Fetch::kTwice;
  if (kBytes == 4 && step == 2 * kOne) return Fetch::kSecond;
  if (kBytes == 4 && step == 4 * kOne) return Fetch::kFourth;
  if (step < kOne) return Fetch::kBlock;
  // The first and the last pixel of 8 destination bytes are at most this far apart.
  constexpr int64_t kApart = kBytes == 3 ? 3 : 8 / int64_t{kBytes} - 1;
  const int64_t source_apart = (kApart * step + kOne - 1) >> 16;
  if ((source_apart - kApart) * int64_t{kBytes} <= 8) return Fetch::kHalfBlock;
  return step % kOne == 0 ? Fetch::kStride : Fetch::kPixel;
}

// In bytes per column: at most a 16-byte shuffle and a 4-byte offset for two pixels.
using PointRoom = TileRoom<8 + 2 + 4>;

struct PointTable {
  explicit PointTable(PointRoom& room)
      : shuffle(room.Take<uint8_t>(8)),
        load(room.Take<uint32_t>(2)),
        pixel(room.Take<uint32_t>(4)) {}

  uint8_t* shuffle;
  uint32_t* load;
  uint32_t* pixel;  // source offset of each destination pixel
};

/// The shuffles for `kTaken` destination bytes to a load.
template <size_t kBytes, size_t kTaken>
void FillShuffles(const PointTable& table, size_t count, uint32_t last_load) {
  const size_t bytes = count * kBytes;
  const size_t whole = bytes / kVectorBytes * kVectorBytes;
  size_t pixel = 0;
  uint32_t channel = 0;
  for (size_t block = 0; block * kTaken < RoundUpTo(bytes, kVectorBytes); ++block) {
    if (whole != 0 && block * kTaken == whole) {
      // The last vector ends with the row and repeats bytes of the one before.
      pixel = (bytes - kVectorBytes) / kBytes;
      channel = static_cast<uint32_t>((bytes - kVectorBytes) % kBytes);
    }
    const size_t slot = kTaken == kBlock ? block : AlternatingSlot(block);
    // Where the block starts within a pixel that the next one repeats, that is the first byte.
    const uint32_t start = channel == 0
                               ? table.pixel[pixel]
                               : std::min(table.pixel[pixel] + channel, table.pixel[pixel + 1]);
    const uint32_t load = std::min(start, last_load);
    table.load[slot] = load;
    uint8_t* shuffle = table.shuffle + slot * kBlock;
    std::memset(shuffle + kTaken, 0, kBlock - kTaken);
    if constexpr (kBytes == 3) {
      for (size_t i = 0; i < kTaken; ++i) {
        shuffle[i] = static_cast<uint8_t>(table.pixel[pixel] + channel - load);
        if (++channel == kBytes) {
          channel = 0;
          ++pixel;
        }
      }
    } else {
      for (size_t i = 0; i < kTaken; i += kBytes, ++pixel) {
        for (uint32_t k = 0; k < kBytes; ++k) {
          shuffle[i + k] = static_cast<uint8_t>(table.pixel[pixel] + k - load);
        }
      }
    }
  }
}

template <size_t kBytes>
void FillPointTable(const ScaleJob& job, Fetch fetch, int64_t first, size_t count,
                    const PointTable& table) {
  int64_t x = first * job.step_x;
  for (size_t i = 0; i < count; ++i, x += job.step_x) {
    table.pixel[i] = static_cast<uint32_t>(x >> 16) * uint32_t{kBytes};
  }
  if (fetch == Fetch::kPixel) return;
  // A row of less than a vector is filled up with its last pixel.
  std::fill(table.pixel + count, table.pixel + std::max(count, kVectorBytes),
            table.pixel[count - 1]);
  const auto last_load = static_cast<uint32_t>(RowBytes(job) - kBlock);
  if (fetch == Fetch::kBlock) {
    FillShuffles<kBytes, kBlock>(table, count, last_load);
  } else {
    FillShuffles<kBytes, kBlock / 2>(table, count, last_load);
  }
}

/// One vector of destination bytes, `at` a multiple of its size.
template <Fetch kFetch>
HWY_INLINE hn::Vec<Bytes> PointVector(const PointTable& table, const uint8_t* row, size_t at) {
  const Bytes d;
  if constexpr (kFetch == Fetch::kBlock) {
    return hn::TableLookupBytes(LoadBlocks(d, row, table.load + at / kBlock),
                                hn::Load(d, table.shuffle + at));
  } else {
    const hn::Repartition<uint64_t, Bytes> d64;
    const uint32_t* load = table.load + at / (kBlock / 2);
    const uint8_t* shuffle = table.shuffle + 2 * at;
    const auto even = hn::TableLookupBytes(LoadBlocks(d, row, load), hn::Load(d, shuffle));
    const auto odd = hn::TableLookupBytes(LoadBlocks(d, row, load + kVectorBlocks),
                                          hn::Load(d, shuffle + kVectorBytes));
    return hn::BitCast(d, hn::InterleaveLower(d64, hn::BitCast(d64, even), hn::BitCast(d64, odd)));
  }
}

template <Fetch kFetch>
void PointBlocks(const PointTable& table, const uint8_t* row, uint8_t* dest, size_t bytes) {
  const Bytes d;
  size_t at = 0;
  for (; at + kVectorBytes <= bytes; at += kVectorBytes) {
    hn::StoreU(PointVector<kFetch>(table, row, at), d, dest + at);
  }
  if (at == bytes) return;
  const auto last = PointVector<kFetch>(table, row, at);
  if (at != 0) return hn::StoreU(last, d, dest + bytes - kVectorBytes);
  HWY_ALIGN uint8_t tail[kVectorBytes];
  hn::Store(last, d, tail);
  std::memcpy(dest, tail, bytes);
}

/// Copies pixels that lie `stride` bytes apart.
template <size_t kBytes>
void PointStride(const uint8_t* from, size_t stride, uint8_t* dest, size_t count) {
  for (; count >= 4; count -= 4, from += 4 * stride, dest += 4 * kBytes) {
    std::memcpy(dest, from, kBytes);
    std::memcpy(dest + kBytes, from + stride, kBytes);
    std::memcpy(dest + 2 * kBytes, from + 2 * stride, kBytes);
    std::memcpy(dest + 3 * kBytes, from + 3 * stride, kBytes);
  }
  for (; count != 0; --count, from += stride, dest += kBytes) std::memcpy(dest, from, kBytes);
}

using Pixels = hn::Repartition<uint32_t, Bytes>;

HWY_INLINE hn::Vec<Pixels> LoadPixels(const uint8_t* from) {
  return hn::BitCast(Pixels(), hn::LoadU(Bytes(), from));
}

HWY_INLINE hn::Vec<Pixels> EvenPixels(const uint8_t* from) {
  return hn::ConcatEven(Pixels(), LoadPixels(from + kVectorBytes), LoadPixels(from));
}

/// Every second or fourth 4-byte pixel. The row holds that many for each, also for the last.
template <size_t kStride>
void PointEvery(const uint8_t* from, uint8_t* dest, size_t count) {
  constexpr size_t kVectorPixels = kVectorBytes / 4;
  const auto group = [](const uint8_t* first) HWY_ATTR {
    if constexpr (kStride == 2) return EvenPixels(first);
    return hn::ConcatEven(Pixels(), EvenPixels(first + 2 * kVectorBytes), EvenPixels(first));
  };
  const auto store = [&](size_t i) HWY_ATTR {
    hn::StoreU(hn::BitCast(Bytes(), group(from + i * 4 * kStride)), Bytes(), dest + i * 4);
  };
  if (count < kVectorPixels) return PointStride<4>(from, 4 * kStride, dest, count);
  for (size_t i = 0; i + kVectorPixels <= count; i += kVectorPixels) store(i);
  if (count % kVectorPixels != 0) store(count - kVectorPixels);
}

/// Every 4-byte pixel twice.
void PointTwice(const uint8_t* from, uint8_t* dest, size_t count) {
  const Bytes d;
  const hn::Repartition<uint64_t, Bytes> d64;
  const hn::Half<Pixels> half;
  constexpr size_t kVectorPixels = kVectorBytes / 4;
  size_t i = 0;
  for (; i + kVectorPixels <= count; i += kVectorPixels) {
    const auto bytes = hn::LoadU(hn::Half<Bytes>(), from + i * 2);
    const auto pixels = hn::PromoteTo(d64, hn::BitCast(half, bytes));
    hn::StoreU(hn::BitCast(d, hn::Or(pixels, hn::ShiftLeft<32>(pixels))), d, dest + i * 4);
  }
  for (; i < count; ++i) std::memcpy(dest + i * 4, from + i / 2 * 4, 4);
}

template <size_t kBytes>
void PointPixels(const uint32_t* offsets, const uint8_t* row, uint8_t* dest, size_t count) {
  size_t i = 0;
  for (; i + 4 <= count; i += 4, dest += 4 * kBytes) {
    std::memcpy(dest, row + offsets[i], kBytes);
    std::memcpy(dest + kBytes, row + offsets[i + 1], kBytes);
    std::memcpy(dest + 2 * kBytes, row + offsets[i + 2], kBytes);
    std::memcpy(dest + 3 * kBytes, row + offsets[i + 3], kBytes);
  }
  for (; i < count; ++i, dest += kBytes) std::memcpy(dest, row + offsets[i], kBytes);
}

template <size_t kBytes>
void PointTile(const ScaleJob& job, Fetch fetch, const PointTable& table, int64_t first,
               size_t count) {
  const bool by_table =
      fetch == Fetch::kBlock || fetch == Fetch::kHalfBlock || fetch == Fetch::kPixel;
  if (by_table) FillPointTable<kBytes>(job, fetch, first, count, table);
  const auto stride = static_cast<size_t>(job.step_x >> 16) * kBytes;
  // Where the step is whole, or one half: tiles start at even columns.
  const size_t start = static_cast<size_t>(first * job.step_x >> 16) * kBytes;
  SourceRow source;
  uint8_t* dest = job.dest + first * int64_t{kBytes};
  int64_t made = -1;  // the source row of the destination row above
  for (int64_t j = 0; j < job.dest_height; ++j, dest += job.dest_pitch) {
    const int64_t y = j * job.step_y >> 16;
    if (y == made) {
      std::memcpy(dest, dest - job.dest_pitch, count * kBytes);
      continue;
    }
    made = y;
    const uint8_t* row = source.Get(job, y);
    switch (fetch) {
      case Fetch::kRow:
        std::memcpy(dest, row + start, count * kBytes);
        break;
      case Fetch::kTwice:
        PointTwice(row + start, dest, count);
        break;
      case Fetch::kSecond:
        PointEvery<2>(row + start, dest, count);
        break;
      case Fetch::kFourth:
        PointEvery<4>(row + start, dest, count);
        break;
      case Fetch::kStride:
        PointStride<kBytes>(row + start, stride, dest, count);
        break;
      case Fetch::kBlock:
        PointBlocks<Fetch::kBlock>(table, row, dest, count * kBytes);
        break;
      case Fetch::kHalfBlock:
        PointBlocks<Fetch::kHalfBlock>(table, row, dest, count * kBytes);
        break;
      case Fetch::kPixel:
        PointPixels<kBytes>(table.pixel, row, dest, count);
        break;
    }
  }
}

template <size_t kBytes>
void PointTiles(const ScaleJob& job) {
  const Fetch fetch = FetchFor<kBytes>(job.step_x);
  PointRoom room(job.dest_width);
  const PointTable table(room);
  ForEachTile(job, room.columns(), [&](int64_t first, size_t count) {
    PointTile<kBytes>(job, fetch, table, first, count);
  });
}

void Point(const ScaleJob& job) {
  constexpr void (*kLoops[])(const ScaleJob&) = {PointTiles<1>, PointTiles<2>, PointTiles<3>,
                                                 PointTiles<4>};
  kLoops[job.bytes - 1](job);
}

}  // namespace

const ScaleKernel& PointKernel() {
  static const ScaleKernel kKernel = {hwy::TargetName(HWY_TARGET), Point};
  return kKernel;
}

#endif

}  // namespace HWY_NAMESPACE
}  // namespace zav
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace zav {

HWY_EXPORT(PointKernel);

const ScaleKernel& SelectedPointKernel() {
  return PlainForced() ? PlainPointKernel() : HWY_DYNAMIC_DISPATCH(PointKernel)();
}

}  // namespace zav
#endif  // HWY_ONCE

#else

namespace zav {

const ScaleKernel& SelectedPointKernel() { return PlainPointKernel(); }

}  // namespace zav

#endif
