// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/hicolor.h"

#include <gtest/gtest.h>

#include <string>

#include "base/endian.h"
#include "encodings/hicolor_rows.h"
#include "frame/startup.h"
#include "platform/processor.h"
#include "platform/stream_copy.h"
#include "support/conversion_check.h"
#include "support/trace_recorder.h"
#include "support/vector_targets.h"

namespace zav::test {
namespace {

/// A definition to be converted to: the fixed layouts by their format's number, others by theirs.
ZAV_GFXDEF Wanted(const ZAV_GFXDEF& source, int32_t format, size_t layout, int32_t padding = 0) {
  const int32_t pitch = source.width * ReferenceBytes(format) + padding;
  ZAV_GFXDEF wanted = Definition(format, source.width, source.height, pitch);
  SetCustomMasks(wanted, layout);
  return wanted;
}

/// Calls `body(format, layout)` for every layout.
template <typename Body>
void ForEachLayout(Body&& body) {
  for (int32_t format = ZAV_FMT_RGB565; format < ZAV_FMT_CUSTOM16_1; ++format) body(format, 0u);
  for (size_t i = 0; i < std::size(kCustomMasks); ++i) {
    body(ZAV_FMT_CUSTOM16_1 + static_cast<int32_t>(i % 2), i);
  }
}

/// Runs `body(target)` with every vector target, in both ways of storing.
template <typename Body>
void ForEachCode(Body&& body) {
  ForEachVectorTarget([&](const VectorTarget& target) {
    for (const int64_t streaming : {int64_t{1}, INT64_MAX}) {
      SetStreamFrom(streaming);
      SCOPED_TRACE(std::string(target.name) + (streaming == 1 ? " streamed" : ""));
      body(target);
    }
  });
  SetStreamFrom(0);
}

class Hicolor : public testing::Test {
 protected:
  void SetUp() override { StartUp(); }
  void TearDown() override { TakeTraces(); }
};

TEST_F(Hicolor, EveryWordWidens) {
  Picture words = NoisePicture(ZAV_FMT_RGB565, 65536, 1, 0, 1);
  for (uint32_t v = 0; v < 65536; ++v) StoreLe16(&words.pixels[v * 2], v);
  ForEachCode([&](const VectorTarget&) {
    ForEachLayout([&](int32_t format, size_t layout) {
      words.definition.format = format;
      SetCustomMasks(words.definition, layout);
      CheckConversion(words, Wanted(words.definition, ZAV_FMT_BGRA32, 0));
    });
  });
}

TEST_F(Hicolor, EveryValueOfEveryChannelNarrows) {
  for (const int32_t source : {ZAV_FMT_BGRA32, ZAV_FMT_RGBA32, ZAV_FMT_BGR24, ZAV_FMT_RGB24}) {
    // Each row sweeps one channel, the others are noise; a long row is aligned first.
    const int32_t bytes = ReferenceBytes(source);
    Picture picture = NoisePicture(source, 256, bytes, 0, 2);
    for (int32_t i = 0; i < bytes * 256; ++i) {
      picture.Row(i / 256)[i % 256 * bytes + i / 256] = static_cast<uint8_t>(i);
    }
    const Picture wide = NoisePicture(source, 2111, 2, 0, 5);
    ForEachCode([&](const VectorTarget&) {
      ForEachLayout([&](int32_t format, size_t layout) {
        CheckConversion(picture, Wanted(picture.definition, format, layout));
        for (const int32_t shift : {0, 2, 7, 60}) {
          CheckConversion(wide, Wanted(wide.definition, format, layout, shift % 5), false,
                          static_cast<size_t>(shift));
        }
      });
    });
  }
}

TEST_F(Hicolor, EveryVariantOfEveryTarget) {
  const Picture picture = NoisePicture(ZAV_FMT_BGRA32, 131, 5, 0, 7);
  bool plain_ran = false;
  ForEachCode([&](const VectorTarget& target) {
    EXPECT_STREQ(SelectedHicolorRows().target, HasVectors(target) ? target.name : "plain");
    plain_ran |= target.bit == 0;
    for (const uint32_t processor : {0u, +kProcessorMmx, kProcessorMmx | kProcessorSse}) {
      SelectHicolorVariant(processor);
      // All but the last have variants.
      for (const int32_t format :
           {ZAV_FMT_RGB565, ZAV_FMT_RGB555, ZAV_FMT_CUSTOM16_2, ZAV_FMT_ARGB4444}) {
        CheckConversion(picture, Wanted(picture.definition, format, 1));
      }
    }
  });
  EXPECT_TRUE(plain_ran);
  SelectHicolorVariant(kProcessorSse);
  EXPECT_EQ(SelectedHicolorVariant(), HicolorVariant::kSse);
  StartUp();
  const uint32_t bits = ReadProcessorBits();
  EXPECT_EQ(SelectedHicolorVariant(), (bits & kProcessorSse) != 0   ? HicolorVariant::kSse
                                      : (bits & kProcessorMmx) != 0 ? HicolorVariant::kMmx
                                                                    : HicolorVariant::kPlain);
}

}  // namespace
}  // namespace zav::test
