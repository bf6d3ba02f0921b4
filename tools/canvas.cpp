// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "canvas.h"

#include <algorithm>
#include <cstdint>

namespace zav::tool {
namespace {

constexpr int kGlyphWidth = 5;
constexpr int kGlyphHeight = 9;

/// ' ' to '~', a bit for each pixel: nine rows of five, the top left one highest. The baseline is
/// the seventh row.
constexpr uint64_t kGlyphs[] = {
    0x000000000000, 0x042108401000, 0x0a5280000000, 0x0a57d5f52800, 0x047d1c5f1000, 0x18c888898c00,
    0x0c9499593400, 0x042100000000, 0x022210820800, 0x082084222000, 0x00abbeea8000, 0x00213e420000,
    0x000000031844, 0x00003e000000, 0x000000063000, 0x010888884000, 0x0e8ceb98b800, 0x046508427c00,
    0x0e884c887c00, 0x0e884c18b800, 0x0232a5f10800, 0x1f878218b800, 0x06443d18b800, 0x1f0884421000,
    0x0e8c5d18b800, 0x0e8c5e113000, 0x006300c60000, 0x006300c61100, 0x011110410400, 0x0007c1f00000,
    0x104104444000, 0x0e8844401000, 0x0e8deb683c00, 0x045463f8c400, 0x1e8c7d18f800, 0x0e8c2108b800,
    0x1c9463197000, 0x1f843d087c00, 0x1f843d084000, 0x0e8c2718bc00, 0x118c7f18c400, 0x0e2108423800,
    0x071084293000, 0x119531494400, 0x108421087c00, 0x11dd6b18c400, 0x11ce6b39c400, 0x0e8c6318b800,
    0x1e8c7d084000, 0x0e8c63593400, 0x1e8c7d494400, 0x0f841c10f800, 0x1f2108421000, 0x118c6318b800,
    0x118c63151000, 0x118c6b5dc400, 0x118a88a8c400, 0x118a88421000, 0x1f0888887c00, 0x0e4210843800,
    0x108208208400, 0x0e1084213800, 0x045440000000, 0x0000000003e0, 0x082000000000, 0x000382f8bc00,
    0x1087a318f800, 0x0003a308b800, 0x010be318bc00, 0x0003a3f83800, 0x064790842000, 0x0003e318bc2e,
    0x1087a318c400, 0x040308423800, 0x020184210a4c, 0x1084a98a4800, 0x0c2108423800, 0x0006ab5ad400,
    0x0007a318c400, 0x0003a318b800, 0x0007a318fa10, 0x0003e318bc21, 0x0005b3084000, 0x0003e0e0f800,
    0x084790849800, 0x00046318bc00, 0x000463151000, 0x0004635aa800, 0x000454454400, 0x00046318bc2e,
    0x0007c4447c00, 0x022110420800, 0x042108421080, 0x082104422000, 0x00036c000000};

/// Squares of the checkerboard, in pixels, and their greys.
constexpr int kSquare = 8;
constexpr int kGreys[] = {96, 128};

bool IsSet(uint64_t glyph, int x, int y) {
  if (x < 0 || x >= kGlyphWidth || y < 0 || y >= kGlyphHeight) return false;
  return (glyph >> (kGlyphWidth * kGlyphHeight - 1 - (y * kGlyphWidth + x)) & 1) != 0;
}

/// A pixel of the glyph at twice its size. A quarter of a pixel takes the value of the two
/// neighbors at its corner where these agree and their opposites do not: steps become slopes.
bool IsSetDoubled(uint64_t glyph, int x, int y) {
  const int column = x / 2;
  const int row = y / 2;
  const int side = x % 2 == 0 ? -1 : 1;
  const int way = y % 2 == 0 ? -1 : 1;
  const bool next = IsSet(glyph, column + side, row);
  const bool above = IsSet(glyph, column, row + way);
  const bool opposite_next = IsSet(glyph, column - side, row);
  const bool opposite_above = IsSet(glyph, column, row - way);
  const bool takes = next == above && next != opposite_above && above != opposite_next;
  return takes ? next : IsSet(glyph, column, row);
}

}  // namespace

Canvas::Canvas(int width, int height, Color paper)
    : width_(width),
      height_(height),
      pixels_(3 * static_cast<size_t>(width) * static_cast<size_t>(height)) {
  Box(0, 0, width, height, paper);
}

void Canvas::Box(int x, int y, int width, int height, Color color) {
  const int end_x = std::min(x + width, width_);
  const int end_y = std::min(y + height, height_);
  for (int row = std::max(y, 0); row < end_y; ++row) {
    for (int column = std::max(x, 0); column < end_x; ++column) {
      unsigned char* pixel = &pixels_[3 * (static_cast<size_t>(row) * static_cast<size_t>(width_) +
                                           static_cast<size_t>(column))];
      pixel[0] = color.red;
      pixel[1] = color.green;
      pixel[2] = color.blue;
    }
  }
}

void Canvas::Draw(int x, int y, const ZAV_GFXDEF& picture, int times) {
  for (int row = 0; row < picture.height * times; ++row) {
    const unsigned char* source = picture.pixels + int64_t{row / times} * picture.pitch;
    for (int column = 0; column < picture.width * times; ++column) {
      const unsigned char* pixel = source + int64_t{4} * (column / times);
      const int grey = kGreys[(row / kSquare + column / kSquare) % 2];
      const auto over = [&](int channel) {
        return static_cast<unsigned char>((channel * pixel[3] + grey * (255 - pixel[3]) + 127) /
                                          255);
      };
      Box(x + column, y + row, 1, 1, {over(pixel[2]), over(pixel[1]), over(pixel[0])});
    }
  }
}

void Canvas::Text(int x, int y, std::string_view text, Color color) {
  for (const char character : text) {
    Glyph(x, y, character, color);
    x += kAdvance;
  }
}

void Canvas::Glyph(int x, int y, char character, Color color) {
  const bool known = character >= ' ' && character <= '~';
  const uint64_t glyph = kGlyphs[(known ? character : '?') - ' '];
  for (int row = 0; row < 2 * kGlyphHeight; ++row) {
    for (int column = 0; column < 2 * kGlyphWidth; ++column) {
      if (IsSetDoubled(glyph, column, row)) Box(x + column, y + row, 1, 1, color);
    }
  }
}

ZAV_GFXDEF Canvas::definition() {
  ZAV_GFXDEF definition = {};
  definition.pixels = pixels_.data();
  definition.width = width_;
  definition.height = height_;
  definition.format = ZAV_FMT_RGB24;
  definition.bytes_per_pixel = 3;
  definition.pitch = 3 * width_;
  return definition;
}

}  // namespace zav::tool
