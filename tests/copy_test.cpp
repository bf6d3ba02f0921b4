// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "surface/copy.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "platform/stream_copy.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

/// Copies inside `bytes` from one offset to another and compares with a copy through other memory.
void CheckCopy(std::vector<uint8_t> bytes, int64_t from, int64_t to, int64_t row_bytes,
               int64_t rows, int64_t dest_pitch, int64_t source_pitch) {
  std::vector<uint8_t> expected = bytes;
  for (int64_t y = 0; y < rows; ++y) {
    std::copy_n(bytes.data() + from + y * source_pitch, row_bytes,
                expected.data() + to + y * dest_pitch);
  }
  CopyRows(bytes.data() + to, bytes.data() + from, row_bytes, rows, dest_pitch, source_pitch);
  EXPECT_TRUE(bytes == expected) << from << " to " << to << ", " << row_bytes << " x " << rows
                                 << ", pitches " << dest_pitch << ", " << source_pitch;
}

TEST(CopyRows, RectanglesMayOverlapInEveryDirection) {
  constexpr int64_t kPitch = 100, kRows = 7, kMiddle = 10 * kPitch;
  const std::vector<uint8_t> bytes = NoiseBytes(3000, 1);
  for (const int64_t row_bytes : {1, 63, 64, 99, 100}) {
    for (int64_t shift = -3 * kPitch; shift <= 3 * kPitch; ++shift) {
      CheckCopy(bytes, kMiddle, kMiddle + shift, row_bytes, kRows, kPitch, kPitch);
    }
  }
  CheckCopy(bytes, 0, 1500, 50, 10, 70, 60);
}

TEST(CopyRows, LargePicturesAndNothing) {
  constexpr int64_t kRow = 5000, kRows = kStreamFrom / kRow + 1;
  const std::vector<uint8_t> bytes = NoiseBytes(2 * kRows * (kRow + 9), 2);
  CheckCopy(bytes, 3, kRows * kRow + 7, kRow, kRows, kRow + 9, kRow);  // streamed row by row
  CheckCopy(bytes, 0, kRows * kRow + 1, kRow, kRows, kRow, kRow);      // streamed as one
  CheckCopy(bytes, 0, 4099, kRow, kRows, kRow + 9, kRow + 9);          // overlapping
  uint8_t untouched = 7;
  FastCopy(&untouched, nullptr, 0);
  FastCopy(&untouched, nullptr, -1);
  CopyRows(&untouched, bytes.data(), 0, 1, 1, 1);
  CopyRows(&untouched, bytes.data(), 1, 0, 1, 1);
  EXPECT_EQ(untouched, 7);
}

}  // namespace
}  // namespace zav::test
