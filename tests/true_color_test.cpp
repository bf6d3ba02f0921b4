// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/true_color.h"

#include <gtest/gtest.h>
#include <sys/mman.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <tuple>
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

/// Writable memory between two unmapped pages.
class Area {
 public:
  static constexpr size_t kSize = 16384, kPage = 4096;

  Area()
      : mapping_(static_cast<uint8_t*>(
            mmap(nullptr, kSize + 2 * kPage, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))) {
    mprotect(begin(), kSize, PROT_READ | PROT_WRITE);
  }
  Area(const Area&) = delete;
  Area& operator=(const Area&) = delete;
  ~Area() { munmap(mapping_, kSize + 2 * kPage); }

  uint8_t* begin() { return mapping_ + kPage; }
  uint8_t* end() { return begin() + kSize; }

 private:
  uint8_t* mapping_;
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

  /// Runs `convert(source, dest, count)` on noise and compares it with the plain row and every byte
  /// of the destination's memory, the row's and the others.
  template <typename Convert>
  void Check(const RowCase& c, uint8_t* source, uint8_t* dest, size_t count, Convert convert) {
    Random random(count);
    for (size_t i = 0; i < count * c.source_bytes; ++i) source[i] = random.Byte();
    Area& area = source == dest ? source_area_ : dest_area_;
    if (source != dest) std::memset(area.begin(), 0xA5, Area::kSize);
    std::vector<uint8_t> expected(area.begin(), area.end());
    std::vector<uint8_t> row(count * c.dest_bytes);
    Bind(PlainTrueColorRows(), c)(source, row.data(), count);
    std::copy(row.begin(), row.end(), expected.begin() + (dest - area.begin()));
    convert(source, dest, count);
    ASSERT_EQ(std::memcmp(area.begin(), expected.data(), Area::kSize), 0)
        << c.name << ", " << count << " pixels, destination at " << dest - area.begin();
  }

  const Picture palette_picture_ = NoisePicture(ZAV_FMT_PAL8, 1, 1, 0, 7);
  PageEndBuffer palette_{palette_picture_.palette.data(), ZAV_PALETTE_BYTES};
  Area source_area_, dest_area_;
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
        uint8_t* const source_end = source_area_.end() - count * c.source_bytes;
        uint8_t* const dest_end = dest_area_.end() - count * c.dest_bytes;
        Check(c, source_end, dest_end, count, row);
        Check(c, source_area_.begin(), dest_area_.begin(), count, row);
        if (c.source_bytes >= c.dest_bytes) Check(c, source_end, source_end, count, row);
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
          Check(c, source_area_.end() - count * c.source_bytes, dest_area_.begin() + skew, count,
                convert);
          if (HasFatalFailure()) return;
          if (count >= 130 && (c.dest_bytes == 3 || skew % 4 == 0)) {
            EXPECT_GT(streamed_pixels, 0u) << c.name << " " << skew << " " << count;
          }
        }
      }
    }
  });
}

// Whole conversions large enough to be streamed, against the plain twin: with and without padding,
// which must keep its bytes. The last case goes through blocks.
TEST(TrueColor, LargePicturesMatchTheirPlainTwin) {
  using Kernel = bool (*)(ZAV_CONVERTER & converter);
  const std::tuple<int32_t, int32_t, Kernel> cases[] = {
      {ZAV_FMT_RGBA32, ZAV_FMT_BGRA32, SwapRedBlue32},
      {ZAV_FMT_BGRA32, ZAV_FMT_BGR24, Narrow32To24},
      {ZAV_FMT_RGB24, ZAV_FMT_BGRA32, Widen24To32Swap},
      {ZAV_FMT_PAL8, ZAV_FMT_RGBA32, Pal8ToRgba32},
      {ZAV_FMT_PAL8, ZAV_FMT_RGB24, Pal8ToRgb24},
      {ZAV_FMT_BGR24, ZAV_FMT_BGRA32, [](ZAV_CONVERTER& converter) {
         WalkRows(converter, PlainTrueColorRows().widen_24_to_32);
         return true;
       }}};
  constexpr int32_t kWidth = 1999;
  for (const auto& [from, to, kernel] : cases) {
    const int32_t row_bytes = kWidth * BytesPerPixel(to);
    const auto height = static_cast<int32_t>(kStreamFrom / row_bytes + 2);
    const Picture source = NoisePicture(from, kWidth, height, 0, 1);
    for (const int32_t padding : {0, 5}) {
      std::vector<uint8_t> dest[2];
      for (std::vector<uint8_t>& bytes : dest) {
        bytes.assign(static_cast<size_t>(row_bytes + padding) * static_cast<size_t>(height), 0xA5);
        ZAV_CONVERTER converter{};
        converter.source.definition() = source.definition;
        converter.dest.format = to;
        converter.dest.pitch = row_bytes + padding;
        converter.dest.pixels = bytes.data();
        EXPECT_TRUE(kernel(converter));
        ForceVectorTarget({0, "plain"});
      }
      RestoreVectorTarget();
      EXPECT_TRUE(dest[0] == dest[1]) << from << " to " << to << ", padding " << padding;
    }
  }
}

}  // namespace
}  // namespace zav::test
