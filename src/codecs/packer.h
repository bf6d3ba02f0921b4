// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

/// The library's lossless byte compressor: greedy matches among the last 510 positions, runs of one
/// byte taken without a search, and a stream of bit fields. The block's bytes are part of the
/// container format, including which match is taken and when the attempt is given up.
///
/// It has no state and allocates no memory, so calls on different threads are independent.
class ZAV_PACKER {
 public:
  virtual ~ZAV_PACKER() = default;

  /// Writes one packed block and returns its length. `dest` holds size + 4 bytes, the length of a
  /// block of data that does not shrink; nothing after them is touched. A size of 0 gives an empty
  /// block; a negative size, or one that leaves no room for the 4 bytes, gives 0 and no block.
  static int32_t Compress(const uint8_t* source, uint8_t* dest, int32_t size);

  /// Decodes the block at the start of `source` and returns the decoded size, or 0 when the block
  /// is bad: it is cut off, decodes to more than `dest_capacity`, copies from before the start of
  /// the output or past its announced size. Bytes after the block are ignored. `dest` beyond the
  /// announced size is never touched; after a failure its contents up to there are undefined.
  ///
  /// An empty block gives 0 as well; DecodedSize distinguishes it from a failure.
  static int32_t Decompress(const uint8_t* source, int64_t source_size, uint8_t* dest,
                            int64_t dest_capacity);

  /// How many bytes the block announces, -1 when `source` does not begin with a size.
  static int32_t DecodedSize(const uint8_t* source, int64_t source_size);
};

}  // namespace zav
