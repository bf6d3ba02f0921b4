// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/planes.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

TEST(Planes, EveryWidthBothWays) {
  ForEachVectorTarget([](const VectorTarget& target) {
    const PlaneRows& rows = SelectedPlaneRows();
    EXPECT_STREQ(rows.target, HasVectors(target) ? target.name : "plain");
    for (size_t count = 0; count <= 300; ++count) {
      SCOPED_TRACE(testing::Message() << target.name << ", " << count << " pixels");
      const auto noise = [=](uint64_t plane) {
        return PageEndBuffer(NoiseBytes(count, 10 * count + plane).data(), count);
      };
      PageEndBuffer given[] = {noise(0), noise(1), noise(2), noise(3)};
      PageEndBuffer split[] = {PageEndBuffer(count), PageEndBuffer(count), PageEndBuffer(count),
                               PageEndBuffer(count)};
      uint8_t* const from[] = {given[0].data(), given[1].data(), given[2].data(), given[3].data()};
      uint8_t* const to[] = {split[0].data(), split[1].data(), split[2].data(), split[3].data()};
      PageEndBuffer pixels(count * 4);
      for (const size_t channels : {size_t{3}, size_t{4}}) {
        uint8_t* row = pixels.data() + count * (4 - channels);
        InterleaveRowOf(static_cast<int32_t>(channels))(from, row, count);
        for (size_t i = 0; i < count * channels; ++i) {
          ASSERT_EQ(row[i], from[i % channels][i / channels]) << i;
        }
      }
      rows.split4(pixels.data(), to, count);
      for (size_t c = 0; c < 4; ++c) ASSERT_TRUE(std::equal(to[c], to[c] + count, from[c]));
    }
  });
}

}  // namespace
}  // namespace zav::test
