// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "base/endian.h"
#include "codecs/packer.h"
#include "support/pictures.h"
#include "support/plain_packer.h"

namespace zav::test {
namespace {

using Bytes = std::vector<uint8_t>;

Bytes Equal(size_t size) { return Bytes(size, 0x41); }

TEST(Packer, EverySizeAlphabetAndContent) {
  for (size_t size = 0; size <= 300; ++size) {
    for (const uint32_t symbols : {2u, 3u, 4u, 16u, 256u}) {
      SCOPED_TRACE(std::to_string(size) + " bytes of " + std::to_string(symbols) + " symbols");
      ASSERT_FALSE(PackAndCompare(NoiseBytes(size, size * 7 + symbols, symbols)).empty());
    }
  }
  for (const uint32_t symbols : {2u, 3u, 4u, 16u, 60u, 256u}) {
    ASSERT_FALSE(PackAndCompare(NoiseBytes(70001, symbols, symbols)).empty())
        << symbols << " symbols";
  }
  const Picture sprite = SpritePicture(ZAV_FMT_BGRA32, 128, 128, 8, 1);
  ASSERT_FALSE(PackAndCompare(sprite.pixels).empty());
}

// Repeated strings with one fault, so that the nearest candidate is not always the longest, and
// periods up to and past the longest distance.
TEST(Packer, PeriodsAroundTheWindow) {
  for (size_t period = 1; period <= 520; period += period < 490 && period > 20 ? 13 : 1) {
    Bytes data = NoiseBytes(period, period);
    while (data.size() < 4 * period + 40) data.push_back(data[data.size() - period]);
    data[2 * period + period / 2] ^= 1;
    const Bytes block = PackAndCompare(data);
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
      ASSERT_FALSE(PackAndCompare(Equal(size)).empty()) << size;
      Bytes data = NoiseBytes(40, width);
      while (data.size() < 40 + size) data.push_back(data[data.size() - 40]);
      data.push_back(static_cast<uint8_t>(data[data.size() - 40] ^ 1));
      ASSERT_FALSE(PackAndCompare(data).empty()) << size;
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
      const Bytes block = PackAndCompare(data);
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
  Bytes block = PackAndCompare(NoiseBytes(600, 1, 3));
  EXPECT_EQ(UnpackAndCompare(block, 599), 0);
  // The last word is required even if the stream's bits end before it.
  for (Bytes cut : {block, PackAndCompare(Equal(16)), PackAndCompare(NoiseBytes(15, 1))}) {
    while (!cut.empty()) {
      cut.pop_back();
      ASSERT_EQ(UnpackAndCompare(cut, 600), 0) << cut.size();
    }
  }
  // Bytes after the block and after the announced size are left alone.
  block.resize(block.size() + 100, 0xFF);
  Bytes room(700, 0xEE);
  EXPECT_EQ(ZAV_PACKER::Decompress(block.data(), static_cast<int64_t>(block.size()), room.data(),
                                   static_cast<int64_t>(room.size())),
            600);
  EXPECT_EQ(std::count(room.begin() + 600, room.end(), 0xEE), 100);
  EXPECT_EQ(UnpackAndCompare(PackAndCompare(NoiseBytes(15, 1)), 14), 0);
  EXPECT_EQ(UnpackAndCompare({0, 0, 0, 0}, 0), 0);
  const Bytes least{0, 0, 0, 0x80};
  EXPECT_EQ(UnpackAndCompare(least, 64), 0);
  for (int size : {3, 4}) EXPECT_EQ(ZAV_PACKER::DecodedSize(least.data(), size), -1);
  uint8_t none[4];
  EXPECT_EQ(ZAV_PACKER::Compress(none, none, -1), 0);
}

// Zeros from literals, of nine zero bits each, and from a match of the nearest two bytes, one and
// six zeros; then a match from the farthest distance, twelve ones. It is valid after 510 bytes;
// one byte earlier it reads before the output.
TEST(Packer, FarthestMatchNeedsAWholeWindow) {
  for (uint32_t before = 500; before <= 520; ++before) {
    const uint32_t size = before + 100, near = (before - 2) * 9, far = near + 7;
    Bytes block(4 + size * 9 / 32 * 4 + 8);
    StoreLe32(block.data(), size);
    const auto set = [&](uint32_t bit) {
      block[4 + bit / 8] |= static_cast<uint8_t>(1 << bit % 8);
    };
    set(near);
    for (uint32_t bit = far; bit < far + 12; ++bit) set(bit);
    EXPECT_EQ(UnpackAndCompare(block, size), before < 510 ? 0 : static_cast<int32_t>(size))
        << before;
  }
}

// Streams that turn into noise, with more ones or more zeros: long groups, far distances. After 600
// good bytes every distance is valid; after 30 some are not.
TEST(Packer, StreamsOfNoise) {
  Random random(3);
  int accepted = 0;
  for (int round = 0; round < 6000; ++round) {
    const size_t good = round % 2 == 0 ? 600 : 30;
    Bytes block = PackAndCompare(NoiseBytes(good, static_cast<uint64_t>(round % 16), 3));
    block.erase(block.end() - 8, block.end());
    for (uint32_t i = random.Below(900); i > 0; --i) {
      const uint8_t byte = random.Byte(), other = random.Byte();
      block.push_back(static_cast<uint8_t>(round % 3 == 0   ? byte
                                           : round % 3 == 1 ? byte & other
                                                            : byte | other));
    }
    const auto size = static_cast<uint32_t>(good) + random.Below(1000);
    StoreLe32(block.data(), size);
    const int32_t result = UnpackAndCompare(block, size + random.Below(2));
    ASSERT_GE(result, 0) << round;
    accepted += result != 0;
  }
  EXPECT_GT(accepted, 600);
  EXPECT_LT(accepted, 5400);
}

}  // namespace
}  // namespace zav::test
