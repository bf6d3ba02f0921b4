// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "packer_content.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "support/pictures.h"

namespace zav::test {
namespace {

constexpr int32_t kWidth = 256;

/// A fixed value from 0 to 1 for every grid point.
float Corner(int32_t x, int32_t y, uint32_t seed) {
  uint32_t h = static_cast<uint32_t>(x) * 0x9E3779B1u ^ static_cast<uint32_t>(y) * 0x85EBCA77u ^
               seed * 0xC2B2AE3Du;
  h = (h ^ h >> 15) * 0x2C1B3C6Du;
  h = (h ^ h >> 12) * 0x297A2D39u;
  return static_cast<float>(h >> 8) / 16777216.0f;
}

/// Smooth noise of five octaves with a little grain, from 0 to 255, as photographs have it.
int32_t Photo(int32_t x, int32_t y, uint32_t seed) {
  float sum = 0, weight = 0.5f;
  for (int32_t cell = 64; cell >= 4; cell /= 2, weight /= 2) {
    const float fx = static_cast<float>(x % cell) / static_cast<float>(cell);
    const float fy = static_cast<float>(y % cell) / static_cast<float>(cell);
    const int32_t cx = x / cell, cy = y / cell;
    const float top = std::lerp(Corner(cx, cy, seed), Corner(cx + 1, cy, seed), fx);
    const float bottom = std::lerp(Corner(cx, cy + 1, seed), Corner(cx + 1, cy + 1, seed), fx);
    sum += weight * std::lerp(top, bottom, fy);
  }
  const float grain = (Corner(x, y, seed + 77) + Corner(y, x, seed + 78) - 1.0f) * 2.0f;
  return std::clamp(static_cast<int32_t>(sum * 255.0f + grain), 0, 255);
}

int32_t Drawn(int32_t x, int32_t y) {
  if ((x - 80) * (x - 80) + (y - 90) * (y - 90) < 50 * 50) return 200;
  if (x > 150 && y % 64 > 20) return (x + y) % 6 < 2 ? 30 : 90;
  if (y % 128 > 100) return x / 2;
  return x % 32 == 0 || y % 32 == 0 ? 0 : 240;
}

int32_t Mask(int32_t x, int32_t y) {
  const float reach = 40.0f + static_cast<float>(Photo(x, y, 9)) / 8.0f;
  const float dx = static_cast<float>(x % 128 - 64), dy = static_cast<float>(y % 128 - 64);
  return std::clamp(static_cast<int32_t>((reach - std::sqrt(dx * dx + dy * dy)) * 100.0f), 0, 255);
}

uint8_t Index(int32_t x, int32_t y) {
  static constexpr int32_t kOrder[4] = {0, 8, 12, 4};
  const int32_t dither = kOrder[(x & 1) + (y & 1) * 2];
  return static_cast<uint8_t>((Photo(x, y, 1) + dither) / 16 + (Photo(x, y, 2) + dither) / 64 * 17);
}

/// Byte `k` of the block in column `x`, row `y`.
uint8_t BlockByte(int32_t x, int32_t y, int32_t k) {
  int32_t low = 255, high = 0;
  for (int32_t i = 0; i < 16; ++i) {
    const int32_t value = Photo(x * 4 + i % 4, y * 4 + i / 4, 1);
    low = std::min(low, value);
    high = std::max(high, value);
  }
  if (k < 4) {
    const int32_t grey = (k < 2 ? high : low) >> 3;
    const int32_t color = grey << 11 | grey << 6 | grey;
    return static_cast<uint8_t>(k % 2 == 0 ? color : color >> 8);
  }
  int32_t bits = 0;
  for (int32_t i = 3; i >= 0; --i) {
    const int32_t value = Photo(x * 4 + i, y * 4 + k - 4, 1);
    bits = bits << 2 | (high - value) * 3 / std::max(high - low, 1);
  }
  return static_cast<uint8_t>(bits);
}

}  // namespace

const char* Name(PackerContent content) {
  static constexpr const char* kNames[] = {"planar",  "planar5", "interleaved", "drawn",
                                           "indices", "mask",    "blocks",      "noise"};
  return kNames[static_cast<int>(content)];
}

std::vector<uint8_t> MakePackerContent(PackerContent content, size_t size) {
  std::vector<uint8_t> bytes(size);
  Random random(1);
  const auto value = [&](int32_t at) -> int32_t {
    const int32_t x = at % kWidth, y = at / kWidth, pixel = at / 4, block = at / 8;
    switch (content) {
      case PackerContent::kPlanar:
        return Photo(x, y, 1);
      case PackerContent::kPlanar5:
        return Photo(x, y, 1) >> 3;
      case PackerContent::kInterleaved: {
        // The channels of a photograph follow its brightness.
        const int32_t px = pixel % kWidth, py = pixel / kWidth;
        const auto channel = static_cast<uint32_t>(at % 4);
        return channel == 3 ? 255 : (Photo(px, py, 1) * 3 + Photo(px, py, 2 + channel)) / 4;
      }
      case PackerContent::kDrawn:
        return Drawn(x, y);
      case PackerContent::kIndices:
        return Index(x, y);
      case PackerContent::kMask:
        return Mask(x, y);
      case PackerContent::kBlocks:
        return BlockByte(block % 64, block / 64, at % 8);
      default:
        return random.Byte();
    }
  };
  for (size_t i = 0; i < size; ++i) {
    bytes[i] = static_cast<uint8_t>(value(static_cast<int32_t>(i)));
  }
  return bytes;
}

}  // namespace zav::test
