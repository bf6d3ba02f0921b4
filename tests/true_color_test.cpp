// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/true_color.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "convert/row_walker.h"
#include "convert/true_color_rows.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

/// A row function and the bytes of its pixels.
struct RowCase {
  const char* name;
  PixelRow TrueColorRows::*pixels;
  PaletteRow TrueColorRows::*lookup;
  size_t source_bytes, dest_bytes;
};

const RowCase kRows[] = {
    {"swap 32", &TrueColorRows::swap_red_blue_32, nullptr, 4, 4},
    {"swap 24", &TrueColorRows::swap_red_blue_24, nullptr, 3, 3},
    {"narrow", &TrueColorRows::narrow_32_to_24, nullptr, 4, 3},
    {"narrow swap", &TrueColorRows::narrow_32_to_24_swap, nullptr, 4, 3},
    {"widen", &TrueColorRows::widen_24_to_32, nullptr, 3, 4},
    {"widen swap", &TrueColorRows::widen_24_to_32_swap, nullptr, 3, 4},
    {"lookup 32", nullptr, &TrueColorRows::lookup_32, 1, 4},
    {"lookup 24", nullptr, &TrueColorRows::lookup_24, 1, 3},
};

class TrueColorRowsTest : public testing::Test {
 protected:
  /// The row function as the walker calls it.
  auto Bind(const TrueColorRows& rows, const RowCase& c) {
    return [this, &rows, &c](const uint8_t* source, uint8_t* dest, size_t count) {
      if (c.lookup != nullptr) return (rows.*c.lookup)(source, palette_.data(), dest, count);
      (rows.*c.pixels)(source, dest, count);
    };
  }

  /// Runs `convert(source, dest, count)` on noise that ends at an unmapped page, and compares with
  /// the plain row. The destination ends `shift` bytes before another such page; it holds the
  /// source when the conversion is in place.
  template <typename Convert>
  void Check(const RowCase& c, size_t count, size_t shift, bool in_place, Convert convert) {
    const std::vector<uint8_t> pixels = NoiseBytes(count * c.source_bytes, count);
    std::vector<uint8_t> expected = pixels;
    if (!in_place) expected.assign(count * c.dest_bytes + shift, 0xA5);
    PageEndBuffer source(pixels.data(), pixels.size()), dest(expected.size());
    std::copy(expected.begin(), expected.end(), dest.data());
    Bind(PlainTrueColorRows(), c)(pixels.data(), expected.data(), count);
    convert(in_place ? dest.data() : source.data(), dest.data(), count);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), dest.data()))
        << c.name << ", " << count << " pixels, shift " << shift << (in_place ? ", in place" : "");
  }

  const Picture palette_picture_ = NoisePicture(ZAV_FMT_PAL8, 1, 1, 0, 7);
  PageEndBuffer palette_{palette_picture_.palette.data(), ZAV_PALETTE_BYTES};
};

TEST_F(TrueColorRowsTest, MatchThePixelsOnEveryTarget) {
  ForEachVectorTarget([&](const VectorTarget& target) {
    const TrueColorRows& rows = SelectedTrueColorRows();
    SCOPED_TRACE(target.name);
    const bool shuffles = std::string("SSE4 AVX2").find(target.name) != std::string::npos;
    ASSERT_TRUE(!shuffles || std::string(rows.target) == target.name);
    for (const RowCase& c : kRows) {
      const auto row = Bind(rows, c);
      for (size_t count = 0; count <= 200; ++count) {
        Check(c, count, 0, false, row);
        if (c.source_bytes >= c.dest_bytes) Check(c, count, 0, true, row);
        if (HasFatalFailure()) return;
      }
    }
  });
}

TEST_F(TrueColorRowsTest, StreamedRowsMatchAtEveryAlignment) {
  ForEachVectorTarget([&](const VectorTarget& target) {
    const TrueColorRows* streaming = StreamingTrueColorRows();
    if (streaming == nullptr) return;
    EXPECT_STREQ(streaming->target, target.name);
    SCOPED_TRACE(target.name);
    for (const RowCase& c : kRows) {
      const Rows rows(nullptr, nullptr, 1, 1, 1, 1, static_cast<int32_t>(c.source_bytes),
                      static_cast<int32_t>(c.dest_bytes));
      size_t streamed_pixels = 0;
      const auto row = Bind(SelectedTrueColorRows(), c);
      const auto streamed = [&, lines = Bind(*streaming, c)](auto source, auto dest, size_t count) {
        streamed_pixels += count;
        lines(source, dest, count);
      };
      for (size_t skew = 0; skew < 64; ++skew) {
        for (const size_t count : {1u, 64u, 65u, 66u, 127u, 128u, 129u, 130u, 193u, 1000u}) {
          streamed_pixels = 0;
          const auto convert = [&](const uint8_t* source, uint8_t* dest, size_t width) {
            StreamRow(rows, source, dest, width, row, streamed);
            StreamFence();
          };
          Check(c, count, skew, false, convert);
          if (HasFatalFailure()) return;
          if (count >= 130 && (c.dest_bytes == 3 || skew % 4 == 0)) {
            EXPECT_GT(streamed_pixels, 0u) << c.name << " " << skew << " " << count;
          }
        }
      }
    }
  });
}

}  // namespace
}  // namespace zav::test
