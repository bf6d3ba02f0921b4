// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// How point sampling fetches the pixels of a row, and the tables for that. Included once per
// target, after hwy/highway.h.

#if defined(ZAV_SCALING_SCALE_POINT_TABLE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_SCALING_SCALE_POINT_TABLE_INL_H_
#undef ZAV_SCALING_SCALE_POINT_TABLE_INL_H_
#else
#define ZAV_SCALING_SCALE_POINT_TABLE_INL_H_
#endif

#include "platform/target_namespace.h"
#include "scaling/scale_tables-inl.h"

#if !ZAV_SCALE_PLAIN

ZAV_BEGIN_TARGET();

/// How the pixels of a destination row are fetched.
enum class Fetch {
  kRow,     // unchanged
  kTwice,   // every one twice
  kSecond,  // every second one
  kFourth,
  kStride,      // every n-th one
  kWholeBlock,  // 16 destination bytes from 16 source bytes
  kHalfBlock,   // 8 from 16
  kLanes,       // a vector of 4-byte pixels from two
  kPixel        // singly
};

/// Whether vectors of 4-byte pixels come from two neighbouring ones of the source. Smaller vectors
/// have too few pixels for that to pay.
bool FitsLanes(const ScaleJob& job, size_t count) {
  const int64_t apart = (int64_t{kVectorPixels - 1} * job.step_x + kOnePixel - 1) >> 16;
  return kVectorBytes > kBlock && apart < int64_t{2 * kVectorPixels} && count >= kVectorPixels &&
         job.source_row_bytes >= int64_t{2 * kVectorBytes};
}

template <size_t kBytes>
Fetch FetchFor(const ScaleJob& job, size_t count) {
  const int64_t step = job.step_x;
  if (step == kOnePixel) return Fetch::kRow;
  if (kBytes == 4 && step == kOnePixel / 2) return Fetch::kTwice;
  if (kBytes == 4 && step == 2 * kOnePixel) return Fetch::kSecond;
  if (kBytes == 4 && step == 4 * kOnePixel) return Fetch::kFourth;
  if (step < kOnePixel) return Fetch::kWholeBlock;
  if (kBytes == 4) return FitsLanes(job, count) ? Fetch::kLanes : Fetch::kPixel;
  // The first and the last pixel of 8 destination bytes are at most this far apart.
  constexpr int64_t kApart = kBytes == 3 ? 3 : 8 / int64_t{kBytes} - 1;
  const int64_t source_apart = (kApart * step + kOnePixel - 1) >> 16;
  if ((source_apart - kApart) * int64_t{kBytes} <= 8) return Fetch::kHalfBlock;
  return step % kOnePixel == 0 ? Fetch::kStride : Fetch::kPixel;
}

// In bytes per column: at most a 16-byte shuffle and a 4-byte offset for two pixels.
using PointRoom = TileRoom<8 + 2 + 4>;

// A tile fills one of the following tables, all of which start where the room starts.

struct ShuffleTable {
  explicit ShuffleTable(PointRoom::Arrays arrays)
      : shuffle(arrays.Take<uint8_t>(8)),
        load(arrays.Take<uint32_t>(2)),
        pixel(arrays.Take<uint32_t>(4)) {}

  uint8_t* shuffle;
  uint32_t* load;
  uint32_t* pixel;  // source offset of each destination pixel
};

struct LaneTable {
  explicit LaneTable(PointRoom::Arrays arrays)
      : lane(arrays.Take<uint32_t>(4)),
        load(arrays.Take<uint32_t>(2)),
        pixel(arrays.Take<uint32_t>(4)) {}

  uint32_t* lane;
  uint32_t* load;
  uint32_t* pixel;  // as above
};

struct PairTable {
  explicit PairTable(PointRoom::Arrays arrays) : pair(arrays.Take<uint64_t>(4)) {}

  uint64_t* pair;
};

/// Source offsets of `count` pixels from the column `first` on.
template <size_t kBytes>
void FillPixels(const ScaleJob& job, int64_t first, size_t count, uint32_t* pixel) {
  int64_t x = first * job.step_x;
  for (size_t i = 0; i < count; ++i, x += job.step_x) {
    pixel[i] = static_cast<uint32_t>(x >> 16) * uint32_t{kBytes};
  }
}

/// The shuffles for `kTaken` destination bytes to a load.
template <size_t kBytes, size_t kTaken>
void FillShuffles(const ScaleJob& job, int64_t first, size_t count, const ShuffleTable& table) {
  FillPixels<kBytes>(job, first, count, table.pixel);
  // A row of less than a vector is filled up with its last pixel.
  std::fill(table.pixel + count, table.pixel + std::max(count, kVectorBytes),
            table.pixel[count - 1]);
  const auto last_load = static_cast<uint32_t>(RowBytes(job) - kBlock);
  const size_t bytes = count * kBytes;
  const size_t whole = bytes / kVectorBytes * kVectorBytes;
  size_t pixel = 0;
  uint32_t channel = 0;
  for (size_t block = 0; block * kTaken < WholeVectors(bytes); ++block) {
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

/// Two offsets in one number, the first in its low half: one load then brings both. The last one of
/// an odd number of columns is not used.
template <size_t kBytes>
void FillPairs(const ScaleJob& job, int64_t first, size_t count, const PairTable& table) {
  const auto step = static_cast<uint64_t>(job.step_x);
  uint64_t x = static_cast<uint64_t>(first) * step;
  for (size_t i = 0; i < count; i += 2, x += 2 * step) {
    table.pair[i / 2] = ((x >> 16) | (x + step) >> 16 << 32) * kBytes;
  }
}

constexpr uint32_t kSecondVector = 0x80000000;

/// For each vector of pixels where its first source vector lies, and for each pixel the lane and
/// which of the two vectors it comes from.
void FillLanes(const ScaleJob& job, int64_t first, size_t count, const LaneTable& table) {
  FillPixels<4>(job, first, count, table.pixel);
  const auto last_load = static_cast<uint32_t>(job.source_row_bytes - int64_t{2 * kVectorBytes});
  for (size_t at = 0; at < count; at += kVectorPixels) {
    // The last vector ends with the row and repeats pixels of the one before.
    const uint32_t* pixel = table.pixel + std::min(at, count - kVectorPixels);
    const uint32_t load = std::min(pixel[0], last_load);
    table.load[at / kVectorPixels] = load;
    for (size_t i = 0; i < kVectorPixels; ++i) {
      const uint32_t lane = (pixel[i] - load) / 4;
      table.lane[at + i] =
          lane < kVectorPixels ? lane : (lane - uint32_t{kVectorPixels}) | kSecondVector;
    }
  }
}

ZAV_END_TARGET();

#endif  // !ZAV_SCALE_PLAIN

#endif  // per target
