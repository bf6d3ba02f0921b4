// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/true_color.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

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

  /// Runs `convert(source, dest, count)` on noise and compares with the plain row. Both sides end
  /// at unmapped pages; in place, the destination holds the source.
  template <typename Convert>
  void Check(const RowCase& c, size_t count, bool in_place, Convert convert) {
    const std::vector<uint8_t> pixels = NoiseBytes(count * c.source_bytes, count);
    std::vector<uint8_t> expected = pixels;
    if (!in_place) expected.assign(count * c.dest_bytes, 0xA5);
    PageEndBuffer source(pixels.data(), pixels.size()), dest(expected.size());
    std::copy(expected.begin(), expected.end(), dest.data());
    Bind(PlainTrueColorRows(), c)(pixels.data(), expected.data(), count);
    convert(in_place ? dest.data() : source.data(), dest.data(), count);
    ASSERT_TRUE(std::equal(expected.begin(), expected.end(), dest.data()))
        << c.name << ", " << count << " pixels" << (in_place ? ", in place" : "");
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
    const TrueColorRows* streaming = StreamingTrueColorRows();
    ASSERT_TRUE(streaming == nullptr || std::string(streaming->target) == target.name);
    for (const RowCase& c : kRows) {
      const auto row = Bind(rows, c);
      for (size_t count = 0; count <= 200; ++count) {
        Check(c, count, false, row);
        if (c.source_bytes >= c.dest_bytes) Check(c, count, true, row);
        if (HasFatalFailure()) return;
      }
    }
  });
}

}  // namespace
}  // namespace zav::test
