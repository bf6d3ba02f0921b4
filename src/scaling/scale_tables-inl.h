// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// What the scaling kernels share. Included once per target, after hwy/highway.h.

#if defined(ZAV_SCALING_SCALE_TABLES_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_SCALING_SCALE_TABLES_INL_H_
#undef ZAV_SCALING_SCALE_TABLES_INL_H_
#else
#define ZAV_SCALING_SCALE_TABLES_INL_H_
#endif

#include <hwy/highway.h>

#include <algorithm>
#include <cstring>

#include "base/checked.h"
#include "base/heap.h"
#include "platform/byte_pairs-inl.h"
#include "platform/stream_copy.h"
#include "platform/target_namespace.h"
#include "scaling/scale_kernels.h"

// The source pixels of a destination column and their weights are the same in every row. So they
// are worked out once, in tables that give a 16-byte load and a byte shuffle for every block of
// destination bytes. Loads are moved left where they would pass the end of the row, and the
// shuffles account for it; rows of fewer than 16 bytes are read from a copy.

// Targets without a byte shuffle, or with vectors of unknown size, use the plain loops.
#undef ZAV_SCALE_PLAIN
#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128 || HWY_TARGET == HWY_SSE2 || \
    HWY_HAVE_SCALABLE
#define ZAV_SCALE_PLAIN 1
#else
#define ZAV_SCALE_PLAIN 0

ZAV_BEGIN_TARGET();

using Bytes = hn::ScalableTag<uint8_t>;
using Shorts = hn::ScalableTag<int16_t>;
constexpr size_t kVectorBytes = HWY_LANES(uint8_t);
constexpr size_t kVectorPixels = kVectorBytes / 4;
constexpr size_t kBlock = 16;  // bytes of a load
constexpr size_t kVectorBlocks = kVectorBytes / kBlock;
constexpr int64_t kOnePixel = 0x10000;

/// A row of at least kBlock readable bytes.
class SourceRow {
 public:
  const uint8_t* Get(const ScaleJob& job, int64_t y) {
    const uint8_t* row = job.source + y * job.source_pitch;
    if (job.source_row_bytes >= int64_t{kBlock}) return row;
    std::memcpy(copy_, row, static_cast<size_t>(job.source_row_bytes));
    return copy_;
  }

 private:
  uint8_t copy_[kBlock] = {};
};

/// Readable bytes of the rows that Get returns.
size_t RowBytes(const ScaleJob& job) {
  return std::max(static_cast<size_t>(job.source_row_bytes), kBlock);
}

/// Room for the tables of a tile of columns: on the stack for narrow pictures. Wide ones use the
/// heap, so that whole rows are processed in memory order; if that fails they take more tiles.
template <size_t kBytesPerColumn>
class TileRoom {
 public:
  explicit TileRoom(int64_t width) {
    if (width <= kStackColumns) return;
    const int64_t columns = RoundUp(std::min(width, kMaxColumns), kStackColumns);
    heap_ = AllocateBytes(columns * int64_t{kBytesPerColumn} + int64_t{kVectorBytes + 8 * kSkew});
    if (heap_ == nullptr) return;
    columns_ = columns;
    start_ = heap_ + (kVectorBytes - reinterpret_cast<uintptr_t>(heap_) % kVectorBytes);
  }
  TileRoom(const TileRoom&) = delete;
  TileRoom& operator=(const TileRoom&) = delete;
  ~TileRoom() { FreeBytes(heap_); }

  int64_t columns() const { return columns_; }

  /// Divides the room into arrays, from its start on.
  class Arrays {
   public:
    explicit Arrays(const TileRoom& room) : next_(room.start_), columns_(room.columns_) {}

    /// The next array of so many bytes per column.
    template <typename T>
    T* Take(size_t bytes_per_column) {
      T* array = reinterpret_cast<T*>(next_);
      next_ += bytes_per_column * static_cast<size_t>(columns_) + kSkew;
      return array;
    }

   private:
    uint8_t* next_;
    int64_t columns_;
  };
  Arrays arrays() const { return Arrays(*this); }

 private:
  // The space between two arrays. Array sizes are multiples of 1 KiB, so without it most arrays
  // would start at the same offset in a page: they would compete for the same cache sets, and loads
  // would wait for stores to another array. Five cache lines keep the alignment and are more than a
  // vector of pixels takes of any array. Wide pictures gain up to 3 %, narrow ones nothing.
  static constexpr size_t kSkew = 320;
  static constexpr int64_t kStackColumns = 512;
  static constexpr int64_t kMaxColumns = 8192;  // the tables stay in the second-level cache

  HWY_ALIGN uint8_t stack_[kStackColumns * kBytesPerColumn + 8 * kSkew];
  uint8_t* heap_ = nullptr;
  uint8_t* start_ = stack_;
  int64_t columns_ = kStackColumns;
};

/// Calls `tile(first, count)` for the tiles of a row.
template <class Tile>
void ForEachTile(const ScaleJob& job, int64_t columns, const Tile& tile) {
  for (int64_t first = 0; first < job.dest_width; first += columns) {
    tile(first, static_cast<size_t>(std::min(columns, job.dest_width - first)));
  }
}

/// Whether the rows that are read reach beyond the second-level cache, so that prefetching the next
/// one pays: the processor does not foresee rows of which few pixels are read.
bool ReachesFar(const ScaleJob& job) {
  constexpr int64_t kCached = int64_t{256} << 10;
  return ((job.dest_height - 1) * job.step_y >> 16) * job.source_pitch > kCached;
}

/// Whether the rows of a tile are streamed.
bool StreamsRows(const ScaleJob& job, size_t count) {
  return StreamingPays(static_cast<int64_t>(count) * job.bytes, job.dest_height);
}

/// Streams a row of `count` pixels. `make(at, pixels, dest)` makes some of them: all that are left,
/// or both numbers are multiples of kPiecePixels.
constexpr size_t kPiecePixels = StreamedRow::kPiece / 4;
template <class Make>
HWY_INLINE void StreamPieces(uint8_t* dest, size_t count, size_t bytes, const Make& make) {
  StreamedRow streamed(dest);
  for (size_t at = 0; at < count;) {
    const size_t left = count - at;
    const size_t pixels = left < 2 * kPiecePixels ? left : kPiecePixels;
    make(at, pixels, streamed.room());
    streamed.Send(pixels * bytes);
    at += pixels;
  }
  streamed.End();
}

/// A vector of 16-byte blocks from the given offsets.
template <class D>
HWY_INLINE hn::Vec<D> LoadBlocks(D d, const uint8_t* row, const uint32_t* offsets) {
  if constexpr (hn::MaxLanes(D()) == kBlock) {
    return hn::LoadU(d, row + offsets[0]);
  } else {
    const hn::Half<D> half;
    return CombineBlocks(LoadBlocks(half, row, offsets + hn::MaxLanes(half) / kBlock),
                         LoadBlocks(half, row, offsets));
  }
}

/// The same, each block from two loads of 8 bytes.
template <class D>
HWY_INLINE hn::Vec<D> LoadHalfBlocks([[maybe_unused]] D d, const uint8_t* row,
                                     const uint32_t* offsets) {
  [[maybe_unused]] const hn::Half<D> half;
  if constexpr (hn::MaxLanes(D()) == kBlock) {
#if HWY_ARCH_X86
    return LoadTwo(row + offsets[0], row + offsets[1]);
#else
    return hn::Combine(d, hn::LoadU(half, row + offsets[1]), hn::LoadU(half, row + offsets[0]));
#endif
  } else {
    return CombineBlocks(LoadHalfBlocks(half, row, offsets + hn::MaxLanes(half) / kBlock * 2),
                         LoadHalfBlocks(half, row, offsets));
  }
}

/// The slot of a block's entries when vectors are combined so that the blocks of two alternate: of
/// each 2 * kVectorBlocks blocks the even ones come first.
constexpr size_t AlternatingSlot(size_t block) {
  const size_t in_group = block % (2 * kVectorBlocks);
  return block - in_group + in_group % 2 * kVectorBlocks + in_group / 2;
}

/// `bytes`, rounded up to whole vectors.
constexpr size_t WholeVectors(size_t bytes) {
  return static_cast<size_t>(RoundUp(static_cast<int64_t>(bytes), int64_t{kVectorBytes}));
}

ZAV_END_TARGET();

#endif  // ZAV_SCALE_PLAIN

#endif  // per target
