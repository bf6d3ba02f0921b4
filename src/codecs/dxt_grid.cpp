// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "codecs/dxt_grid.h"

#include <algorithm>
#include <array>

#include "base/endian.h"

namespace zav {
namespace {

constexpr uint32_t kOffGrid = 0x00070307;
constexpr int kNone = -1;

/// The bits of a channel in a 16-bit word, and its place in a pixel.
struct Channel {
  int word_shift, bits, pixel_shift;

  int Shown(int stored) const { return stored << (8 - bits); }
  int Of(uint32_t color) const { return static_cast<int>(color >> pixel_shift & 255); }
};

constexpr std::array<Channel, 3> kChannels = {{{0, 5, 0}, {5, 6, 8}, {11, 5, 16}}};

/// What index `code` shows of two ends.
int Mix(int code, int end0, int end1, bool three_colors) {
  switch (code) {
    case 0:
      return end0;
    case 1:
      return end1;
    case 2:
      return three_colors ? (end0 + end1) / 2 : (2 * end0 + end1) / 3;
    default:
      return (end0 + 2 * end1) / 3;
  }
}

class GridBlock {
 public:
  GridBlock(const uint32_t* const rows[4], bool punch_through) {
    for (size_t i = 0; i < 16; ++i) {
      const uint32_t pixel = rows[i / 4][i % 4];
      if (punch_through && pixel >> 24 < 128) {
        color_of_[i] = kNone;
        continue;
      }
      on_grid_ = on_grid_ && (pixel & kOffGrid) == 0;
      if (!on_grid_) return;
      AddColor(i, pixel & 0xFFFFFF);
    }
  }

  bool on_grid() const { return on_grid_; }

  /// Whether the block already shows these colors.
  bool IsShownBy(const uint8_t* block, bool punch_through) const {
    const uint32_t word0 = LoadLe16(block), word1 = LoadLe16(block + 2);
    const bool three_colors = punch_through && word0 <= word1;
    for (size_t i = 0; i < 16; ++i) {
      const int code = block[4 + i / 4] >> i % 4 * 2 & 3;
      if ((color_of_[i] == kNone) != (three_colors && code == 3)) return false;
      for (const Channel& channel : kChannels) {
        if (color_of_[i] == kNone) break;
        const int mask = (1 << channel.bits) - 1;
        const int end0 = channel.Shown(static_cast<int>(word0 >> channel.word_shift) & mask);
        const int end1 = channel.Shown(static_cast<int>(word1 >> channel.word_shift) & mask);
        if (Mix(code, end0, end1, three_colors) != channel.Of(Color(i))) return false;
      }
    }
    return true;
  }

  /// Tries every assignment of the colors to the indices; there are few, and few such blocks.
  bool Write(uint8_t* block, bool punch_through) const {
    if (colors_ == 0 || colors_ > 4) return false;
    std::array<int, 4> codes = {0, 1, 2, 3};
    do {
      for (const bool three_colors : {false, true}) {
        if (three_colors && (!punch_through || TakesCode3(codes))) continue;
        if (!three_colors && HasTransparent()) continue;
        if (WriteCodes(codes, three_colors, punch_through, block)) return true;
      }
    } while (std::next_permutation(codes.begin(), codes.end()));
    return false;
  }

 private:
  void AddColor(size_t pixel, uint32_t color) {
    int i = 0;
    while (i < colors_ && color_[static_cast<size_t>(i)] != color) ++i;
    if (i == colors_) {
      on_grid_ = on_grid_ && colors_ < 16;
      color_[static_cast<size_t>(colors_++)] = color;
    }
    color_of_[pixel] = i;
  }

  uint32_t Color(size_t pixel) const { return color_[static_cast<size_t>(color_of_[pixel])]; }
  bool HasTransparent() const {
    return std::find(color_of_.begin(), color_of_.end(), kNone) != color_of_.end();
  }
  bool TakesCode3(const std::array<int, 4>& codes) const {
    const auto end = codes.begin() + colors_;
    return std::find(codes.begin(), end, 3) != end;
  }

  /// Finds stored ends of one channel that show every color exactly at its code.
  bool FindEnds(const Channel& channel, const std::array<int, 4>& codes, bool three_colors,
                int* ends) const {
    const int count = 1 << channel.bits;
    for (ends[0] = 0; ends[0] < count; ++ends[0]) {
      for (ends[1] = 0; ends[1] < count; ++ends[1]) {
        bool exact = true;
        for (int i = 0; exact && i < colors_; ++i) {
          const auto at = static_cast<size_t>(i);
          exact = Mix(codes[at], channel.Shown(ends[0]), channel.Shown(ends[1]), three_colors) ==
                  channel.Of(color_[at]);
        }
        if (exact) return true;
      }
    }
    return false;
  }

  bool WriteCodes(const std::array<int, 4>& codes, bool three_colors, bool punch_through,
                  uint8_t* block) const {
    uint32_t words[2] = {0, 0};
    for (const Channel& channel : kChannels) {
      int ends[2];
      if (!FindEnds(channel, codes, three_colors, ends)) return false;
      for (int i = 0; i < 2; ++i) words[i] |= static_cast<uint32_t>(ends[i] << channel.word_shift);
    }
    if (punch_through && three_colors != (words[0] <= words[1])) return false;
    uint32_t indices = 0;
    for (size_t i = 0; i < 16; ++i) {
      const int code = color_of_[i] == kNone ? 3 : codes[static_cast<size_t>(color_of_[i])];
      indices |= static_cast<uint32_t>(code) << 2 * i;
    }
    StoreLe16(block, words[0]);
    StoreLe16(block + 2, words[1]);
    StoreLe32(block + 4, indices);
    return true;
  }

  std::array<uint32_t, 16> color_{};  ///< the different colors
  std::array<int, 16> color_of_{};    ///< which of them a pixel has; kNone: transparent
  int colors_ = 0;
  bool on_grid_ = true;
};

}  // namespace

void MakeGridBlockExact(const uint32_t* const rows[4], bool punch_through, uint8_t* block) {
  const GridBlock grid(rows, punch_through);
  if (!grid.on_grid() || grid.IsShownBy(block, punch_through)) return;
  grid.Write(block, punch_through);
}

}  // namespace zav
