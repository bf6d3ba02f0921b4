// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <cmath>
#include <cstdint>
#include <deque>
#include <functional>
#include <string>
#include <vector>

#include "base/endian.h"
#include "support/pictures.h"

namespace zav::test {

/// The plain quantizer: every pixel walks down the tree twice, to be summed and to be mapped.
/// Reference of the tests and plain twin of the benchmarks.
class PlainQuantizer {
 public:
  void Add(uint32_t color) {
    Node** slot = &root_;
    for (int depth = 0;; ++depth) {
      if (*slot == nullptr) *slot = Create(depth);
      if ((*slot)->leaf) break;
      slot = &(*slot)->children[Child(color, depth)];
    }
    Node& node = **slot;
    ++node.count;
    for (size_t c = 0; c < 3; ++c) node.sums[c] += color >> (8 * c) & 0xFF;
    while (leaves_ > 256) Reduce();
  }

  void BuildPalette(uint8_t* palette) {
    uint32_t next = 0;
    if (leaves_ > 0) Number(*root_, palette, next);
    for (uint32_t i = next * 4; i < 1024; ++i) palette[i] = 255;
  }

  uint8_t Find(uint32_t color) const {
    const Node* node = root_;
    for (int depth = 0; !node->leaf; ++depth) node = node->children[Child(color, depth)];
    return static_cast<uint8_t>(node->index);
  }

 private:
  struct Node {
    bool leaf;
    uint32_t count;
    std::array<uint64_t, 3> sums;  // blue, green, red
    uint32_t index;
    std::array<Node*, 8> children;
    Node* next_reducible;
  };

  static size_t Child(uint32_t color, int depth) {
    const int shift = 7 - depth;
    return (color >> (16 + shift) & 1) << 2 | (color >> (8 + shift) & 1) << 1 |
           (color >> shift & 1);
  }

  Node* Create(int depth) {
    if (free_.empty()) free_.push_back(&nodes_.emplace_back());
    Node* node = free_.back();
    free_.pop_back();
    *node = {};
    if (depth == 8) {
      node->leaf = true;
      ++leaves_;
    } else {
      node->next_reducible = reducible_[static_cast<size_t>(depth)];
      reducible_[static_cast<size_t>(depth)] = node;
    }
    return node;
  }

  void Reduce() {
    size_t depth = 7;
    while (depth > 0 && reducible_[depth] == nullptr) --depth;
    Node& node = *reducible_[depth];
    reducible_[depth] = node.next_reducible;
    for (Node*& child : node.children) {
      if (child == nullptr) continue;
      for (size_t c = 0; c < 3; ++c) node.sums[c] += child->sums[c];
      node.count += child->count;
      free_.push_back(child);
      child = nullptr;
      --leaves_;
    }
    node.leaf = true;
    ++leaves_;
  }

  void Number(Node& node, uint8_t* palette, uint32_t& next) {
    if (!node.leaf) {
      for (Node* child : node.children) {
        if (child != nullptr) Number(*child, palette, next);
      }
      return;
    }
    uint8_t* entry = palette + next * size_t{4};
    for (size_t c = 0; c < 3; ++c) entry[c] = static_cast<uint8_t>(node.sums[c] / node.count);
    entry[3] = 255;
    node.index = next++;
  }

  std::deque<Node> nodes_;
  std::vector<Node*> free_;
  Node* root_ = nullptr;
  int leaves_ = 0;
  std::array<Node*, 9> reducible_{};
};

inline void QuantizePlain(const ZAV_GFXDEF& source, uint8_t* dest, int32_t dest_pitch,
                          uint8_t* palette) {
  PlainQuantizer quantizer;
  const auto color = [&](int32_t x, int32_t y) {
    return LoadLe32(source.pixels + int64_t{y} * source.pitch + x * 4);
  };
  for (int32_t y = 0; y < source.height; ++y) {
    for (int32_t x = 0; x < source.width; ++x) quantizer.Add(color(x, y));
  }
  quantizer.BuildPalette(palette);
  for (int32_t y = 0; y < source.height; ++y) {
    for (int32_t x = 0; x < source.width; ++x) {
      dest[int64_t{y} * dest_pitch + x] = quantizer.Find(color(x, y));
    }
  }
}

/// Pictures for the different states of the quantizer.
struct ColorPicture {
  const char* name;
  std::function<uint32_t(int32_t x, int32_t y, Random& noise)> color;
};

inline const std::vector<ColorPicture>& ColorPictures() {
  const auto rgb = [](double r, double g, double b) {
    const auto channel = [](double v) {
      return static_cast<uint32_t>(v < 0 ? 0 : v > 255 ? 255 : v);
    };
    return channel(r) << 16 | channel(g) << 8 | channel(b);
  };
  static const std::vector<ColorPicture> pictures = {
      {"noise", [](int32_t, int32_t, Random& noise) { return noise.Next(); }},
      {"gradient",
       [rgb](int32_t x, int32_t y, Random&) { return rgb(x * 0.5, y * 0.5, (x + y) * 0.25); }},
      // Soft light and shade, edges, and grain.
      {"photograph",
       [rgb](int32_t x, int32_t y, Random& noise) {
         const double wave = std::sin(x * 0.011) * std::cos(y * 0.007) + std::sin((x + y) * 0.004);
         const double edge = std::sin(x * 0.05 + 3 * std::sin(y * 0.013)) > 0.3 ? 45 : 0;
         const double grain = noise.Below(9);
         return rgb(90 + 60 * wave + edge + grain, 100 + 45 * wave - edge / 3 + noise.Below(9),
                    120 - 70 * wave + edge / 2 + noise.Below(9));
       }},
      {"dark",
       [rgb](int32_t x, int32_t y, Random& noise) {
         return rgb(9 + 8 * std::sin(x * 0.02) + noise.Below(3), 8 + 7 * std::cos(y * 0.03),
                    12 + noise.Below(6));
       }},
      {"few",
       [](int32_t x, int32_t y, Random&) {
         return static_cast<uint32_t>(x / 11 * 7 + y / 9 * 13) % 23 * 0x0B3A71u;
       }},
      {"dithered",
       [](int32_t, int32_t, Random& noise) { return noise.Below(256) * 0x9E3779u + 0x123456u; }},
      // More and more colors, ordered so that the newest node is the one to merge.
      {"ramp",
       [](int32_t x, int32_t y, Random&) { return static_cast<uint32_t>(y * 61 + x) * 0x010101u; }},
  };
  return pictures;
}

/// BGRA32 with noise for alpha and for row padding.
inline Picture MakeColorPicture(const ColorPicture& colors, int32_t width, int32_t height,
                                int32_t pitch = 0, uint64_t seed = 1) {
  Picture picture = NoisePicture(ZAV_FMT_BGRA32, width, height, pitch, seed);
  Random noise(seed + 7);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      uint8_t* pixel = picture.Row(y) + int64_t{x} * 4;
      StoreLe32(pixel, (colors.color(x, y, noise) & 0xFFFFFF) | uint32_t{pixel[3]} << 24);
    }
  }
  return picture;
}

}  // namespace zav::test
