// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/planes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

/// Four planes that each end at an unmapped page, of noise that is read-only or to be written.
struct Planes {
  Planes(size_t count, bool filled) {
    for (size_t c = 0; c < 4; ++c) {
      const std::vector<uint8_t> bytes = NoiseBytes(count, 10 * count + c);
      planes.push_back(filled ? std::make_unique<PageEndBuffer>(bytes.data(), count)
                              : std::make_unique<PageEndBuffer>(count));
      pointers[c] = planes[c]->data();
    }
  }
  std::vector<std::unique_ptr<PageEndBuffer>> planes;
  uint8_t* pointers[4];
};

TEST(Planes, EveryWidthBothWays) {
  ForEachVectorTarget([](const VectorTarget& target) {
    const PlaneRows& rows = SelectedPlaneRows();
    EXPECT_STREQ(rows.target, HasVectors(target) ? target.name : "plain");
    for (size_t count = 0; count <= 300; ++count) {
      SCOPED_TRACE(testing::Message() << target.name << ", " << count << " pixels");
      const Planes given(count, true);
      for (const size_t channels : {size_t{3}, size_t{4}}) {
        PageEndBuffer pixels(count * channels);
        InterleaveRowOf(static_cast<int32_t>(channels))(given.pointers, pixels.data(), count);
        for (size_t i = 0; i < count * channels; ++i) {
          ASSERT_EQ(pixels.data()[i], given.pointers[i % channels][i / channels]) << i;
        }
        if (channels == 3) continue;
        const Planes split(count, false);
        rows.split4(pixels.data(), split.pointers, count);
        for (size_t c = 0; c < 4; ++c) {
          ASSERT_TRUE(std::equal(split.pointers[c], split.pointers[c] + count, given.pointers[c]));
        }
      }
    }
  });
}

}  // namespace
}  // namespace zav::test
