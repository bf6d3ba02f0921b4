// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "platform/stream_copy.h"
#include "surface/surface.h"

namespace zav {

/// The rows of a converter's two pictures as row functions see them. Where neither has padding the
/// whole picture is one long row, which saves narrow pictures the per-row start and tail.
struct Rows {
  explicit Rows(const ZAV_CONVERTER& converter)
      : source(converter.source.pixels),
        dest(converter.dest.pixels),
        source_pitch(converter.source.pitch),
        dest_pitch(converter.dest.pitch),
        source_bytes(static_cast<size_t>(BytesPerPixel(converter.source.format))),
        dest_bytes(static_cast<size_t>(BytesPerPixel(converter.dest.format))) {
    if (converter.source.width < 1 || converter.source.height < 1) return;
    width = static_cast<size_t>(converter.source.width);
    height = static_cast<size_t>(converter.source.height);
    if (source_pitch == static_cast<int64_t>(width * source_bytes) &&
        dest_pitch == static_cast<int64_t>(width * dest_bytes)) {
      width *= height;
      height = 1;
    }
  }

  /// Whether to stream: large destinations with rows of many cache lines, but not in place, where
  /// every line written has just been read.
  bool Stream() const {
    return source != dest &&
           StreamingPays(static_cast<int64_t>(width * dest_bytes), static_cast<int64_t>(height));
  }

  const uint8_t* source;
  uint8_t* dest;
  int64_t source_pitch, dest_pitch;
  size_t source_bytes, dest_bytes;  ///< per pixel
  size_t width = 0, height = 0;
};

/// Calls `row(source, dest, pixels)` for every row.
template <typename RowFunction>
void ForEachRow(const Rows& rows, RowFunction&& row) {
  const uint8_t* source = rows.source;
  uint8_t* dest = rows.dest;
  for (size_t y = 0; y < rows.height; ++y) {
    row(source + static_cast<int64_t>(y) * rows.source_pitch,
        dest + static_cast<int64_t>(y) * rows.dest_pitch, rows.width);
  }
}

/// Calls `row(source, pixels)` for a walk that only reads.
template <typename RowFunction>
void ReadRows(const ZAV_CONVERTER& converter, RowFunction&& row) {
  ForEachRow(Rows(converter),
             [&](const uint8_t* source, uint8_t*, size_t count) { row(source, count); });
}

/// Converts a row through a block in the first-level cache, from which it is streamed. Nothing is
/// read while a block is streamed, so the next block's source is prefetched first. Blocks are small
/// enough for reads and writes to overlap (at 4 KiB a quarter of the speed is lost), and are whole
/// cache lines for any pixel size.
template <typename RowFunction>
void StreamThroughBlocks(const Rows& rows, const uint8_t* source, uint8_t* dest, size_t width,
                         RowFunction& row) {
  constexpr size_t kPixels = 256;
  constexpr size_t kMaxPixelBytes = 4;
  alignas(64) uint8_t block[kPixels * kMaxPixelBytes];
  for (size_t left = width; left != 0;) {
    const size_t count = std::min(left, kPixels);
    left -= count;
    const uint8_t* next = source + count * rows.source_bytes;
    PrefetchLines(next, std::min(left, kPixels) * rows.source_bytes);
    row(source, block, count);
    StreamCopy(dest, block, count * rows.dest_bytes);
    source = next;
    dest += count * rows.dest_bytes;
  }
}

/// Calls `row(source, dest, pixels)` for the whole picture, not necessarily row by row. Only this
/// file knows about pitches and streaming: a row function sees consecutive pixels, and its
/// destination may be a buffer instead of the picture.
template <typename RowFunction>
void WalkRows(const ZAV_CONVERTER& converter, RowFunction&& row) {
  const Rows rows(converter);
  if (!rows.Stream()) return ForEachRow(rows, row);
  ForEachRow(rows, [&](const uint8_t* source, uint8_t* dest, size_t width) {
    StreamThroughBlocks(rows, source, dest, width, row);
  });
  StreamFence();
}

/// Converts a row with a row function and its streaming twin. The twin gets whole cache lines of
/// the destination, a multiple of 64 pixels, with at least one pixel of the row before and after
/// them.
template <typename RowFunction, typename StreamedRowFunction>
void StreamRow(const Rows& rows, const uint8_t* source, uint8_t* dest, size_t width,
               RowFunction& row, StreamedRowFunction& streamed) {
  constexpr size_t kStep = 64;
  const size_t head = PixelsToLine(dest, rows.dest_bytes);
  if (head >= width || width - head <= kStep) return row(source, dest, width);
  const size_t lines = (width - head - 1) / kStep * kStep;
  const size_t done = head + lines;
  row(source, dest, head);
  streamed(source + head * rows.source_bytes, dest + head * rows.dest_bytes, lines);
  row(source + done * rows.source_bytes, dest + done * rows.dest_bytes, width - done);
}

/// Walks with such a pair of row functions.
template <typename RowFunction, typename StreamedRowFunction>
void WalkRows(const Rows& rows, RowFunction&& row, StreamedRowFunction&& streamed) {
  if (!rows.Stream()) return ForEachRow(rows, row);
  ForEachRow(rows, [&](const uint8_t* source, uint8_t* dest, size_t width) {
    StreamRow(rows, source, dest, width, row, streamed);
  });
  StreamFence();
}

}  // namespace zav
