// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "codecs/packer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "base/endian.h"
#include "support/page_end_buffer.h"
#include "support/pictures.h"
#include "support/plain_packer.h"

namespace zav::test {
namespace {

using Bytes = std::vector<uint8_t>;

/// Packs with everything ending at unmapped pages, compares with the plain packer, and unpacks
/// again with both decoders. Returns the block; an empty one after a failure.
Bytes CheckPack(const Bytes& data) {
  const auto size = static_cast<int32_t>(data.size());
  PageEndBuffer source(data.data(), data.size());
  PageEndBuffer packed(data.size() + 4);
  const int32_t length = ZAV_PACKER::Compress(source.data(), packed.data(), size);
  Bytes expected(data.size() + 4);
  const int32_t plain_length = PlainCompress(data.data(), expected.data(), size);
  if (length != plain_length ||
      std::memcmp(packed.data(), expected.data(), static_cast<size_t>(length)) != 0) {
    ADD_FAILURE() << "differs from the plain packer: " << length << ", not " << plain_length;
    return {};
  }
  expected.resize(static_cast<size_t>(length));
  PageEndBuffer block(expected.data(), expected.size());
  PageEndBuffer restored(data.size());
  EXPECT_EQ(ZAV_PACKER::DecodedSize(block.data(), length), size);
  for (const auto decompress : {ZAV_PACKER::Decompress, PlainDecompress}) {
    EXPECT_EQ(decompress(block.data(), length, restored.data(), size), size);
    EXPECT_TRUE(std::equal(data.begin(), data.end(), restored.data()));
  }
  return expected;
}

/// Unpacks bytes that nobody vouches for with both decoders, which must agree; the output too when
/// there is one. Returns the result.
int32_t CheckUnpack(const Bytes& block, size_t capacity) {
  const auto size = static_cast<int64_t>(block.size()), room = static_cast<int64_t>(capacity);
  PageEndBuffer source(block.data(), block.size());
  PageEndBuffer fast(capacity), plain(capacity);
  const int32_t result = ZAV_PACKER::Decompress(source.data(), size, fast.data(), room);
  EXPECT_EQ(result, PlainDecompress(source.data(), size, plain.data(), room));
  EXPECT_EQ(std::memcmp(fast.data(), plain.data(), static_cast<size_t>(result)), 0);
  return result;
}

Bytes Equal(size_t size) { return Bytes(size, 0x41); }

TEST(Packer, EverySizeAlphabetAndContent) {
  for (size_t size = 0; size <= 300; ++size) {
    for (const uint32_t symbols : {2u, 3u, 4u, 16u, 256u}) {
      SCOPED_TRACE(std::to_string(size) + " bytes of " + std::to_string(symbols) + " symbols");
      ASSERT_FALSE(CheckPack(NoiseBytes(size, size * 7 + symbols, symbols)).empty());
    }
  }
  for (const uint32_t symbols : {2u, 3u, 4u, 16u, 60u, 256u}) {
    ASSERT_FALSE(CheckPack(NoiseBytes(70001, symbols, symbols)).empty()) << symbols << " symbols";
  }
  const Picture sprite = SpritePicture(ZAV_FMT_BGRA32, 128, 128, 8, 1);
  ASSERT_FALSE(CheckPack(sprite.pixels).empty());
}

// Repeated strings with one fault, so that the nearest candidate is not always the longest, and
// periods up to and past the longest distance.
TEST(Packer, PeriodsAroundTheWindow) {
  for (size_t period = 1; period <= 520; period += period < 490 && period > 20 ? 13 : 1) {
    Bytes data = NoiseBytes(period, period);
    while (data.size() < 4 * period + 40) data.push_back(data[data.size() - period]);
    data[2 * period + period / 2] ^= 1;
    const Bytes block = CheckPack(data);
    ASSERT_FALSE(block.empty()) << period;
    if (period > 40) {
      EXPECT_EQ(block.size() < data.size(), period <= 510) << period;
    }
  }
}

// Every length at which another group of bits begins, as a run and as a match from afar.
TEST(Packer, LengthsAroundTheGroups) {
  size_t length = 2;
  for (uint32_t width = 2; width <= 15; ++width) {
    length += (size_t{1} << width) - 1;
    for (const size_t size : {length - 1, length, length + 1, length + 2}) {
      ASSERT_FALSE(CheckPack(Equal(size)).empty()) << size;
      Bytes data = NoiseBytes(40, width);
      while (data.size() < 40 + size) data.push_back(data[data.size() - 40]);
      data.push_back(static_cast<uint8_t>(data[data.size() - 40] ^ 1));
      ASSERT_FALSE(CheckPack(data).empty()) << size;
    }
  }
}

// The amount of noise moves the block's length across the data's, one bit field at a time.
TEST(Packer, GivesUpAtTheSameWord) {
  int raw = 0, longer = 0;
  for (size_t size = 16; size < 400; size += 9) {
    for (size_t noise = size * 3 / 4; noise <= size; ++noise) {
      Bytes data = NoiseBytes(noise, size);
      while (data.size() < size) data.push_back(data[data.size() % 7]);
      const Bytes block = CheckPack(data);
      ASSERT_FALSE(block.empty()) << size << " with " << noise << " bytes of noise";
      const bool is_raw = block[3] == 0xFF;
      raw += is_raw;
      longer += !is_raw && block.size() > size;
    }
  }
  EXPECT_GT(raw, 0);
  EXPECT_GT(longer, 0);  // packed blocks may be up to 3 bytes longer than their data
}

TEST(Packer, RefusesWhatDoesNotFit) {
  Bytes block = CheckPack(NoiseBytes(600, 1, 3));
  EXPECT_EQ(CheckUnpack(block, 599), 0);
  // The last word is missed even where the stream's bits end before it.
  for (Bytes cut : {block, CheckPack(Equal(16)), CheckPack(NoiseBytes(15, 1))}) {
    while (!cut.empty()) {
      cut.pop_back();
      ASSERT_EQ(CheckUnpack(cut, 600), 0) << cut.size();
    }
  }
  // Bytes behind the block and behind the announced size stay out of it.
  block.resize(block.size() + 100, 0xFF);
  Bytes room(700, 0xEE);
  EXPECT_EQ(ZAV_PACKER::Decompress(block.data(), static_cast<int64_t>(block.size()), room.data(),
                                   static_cast<int64_t>(room.size())),
            600);
  EXPECT_EQ(std::count(room.begin() + 600, room.end(), 0xEE), 100);
  EXPECT_EQ(CheckUnpack(CheckPack(NoiseBytes(15, 1)), 14), 0);
  EXPECT_EQ(CheckUnpack({0, 0, 0, 0}, 0), 0);
  const Bytes least{0, 0, 0, 0x80};
  EXPECT_EQ(CheckUnpack(least, 64), 0);
  for (int size : {3, 4}) EXPECT_EQ(ZAV_PACKER::DecodedSize(least.data(), size), -1);
  uint8_t none[4];
  EXPECT_EQ(ZAV_PACKER::Compress(none, none, -1), 0);
}

// Streams that turn into noise, with more ones or more zeros: long groups, far distances. Behind
// 600 good bytes every distance finds something to copy; behind 30 some do not.
TEST(Packer, StreamsOfNoise) {
  Random random(3);
  int accepted = 0;
  for (int round = 0; round < 6000; ++round) {
    const size_t good = round % 2 == 0 ? 600 : 30;
    Bytes block = CheckPack(NoiseBytes(good, static_cast<uint64_t>(round % 16), 3));
    block.erase(block.end() - 8, block.end());
    for (uint32_t i = random.Below(900); i > 0; --i) {
      const uint8_t byte = random.Byte(), other = random.Byte();
      block.push_back(static_cast<uint8_t>(round % 3 == 0   ? byte
                                           : round % 3 == 1 ? byte & other
                                                            : byte | other));
    }
    const auto size = static_cast<uint32_t>(good) + random.Below(1000);
    StoreLe32(block.data(), size);
    accepted += CheckUnpack(block, size + random.Below(2)) != 0;
  }
  EXPECT_GT(accepted, 600);
  EXPECT_LT(accepted, 5400);
}

}  // namespace
}  // namespace zav::test
