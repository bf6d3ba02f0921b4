// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_CANVAS_H_
#define ZAV_TOOLS_CANVAS_H_

#include <zav.h>

#include <string_view>
#include <vector>

namespace zav::tool {

struct Color {
  unsigned char red;
  unsigned char green;
  unsigned char blue;
};

/// Pixels to draw on: pictures over a checkerboard, boxes, and text of one size. Drawing is clipped
/// to the canvas.
class Canvas {
 public:
  /// Between characters, between lines.
  static constexpr int kAdvance = 12;
  static constexpr int kLine = 22;

  Canvas(int width, int height, Color paper);

  void Box(int x, int y, int width, int height, Color color);

  /// `picture` is BGRA32; each of its pixels becomes `times` x `times`.
  void Draw(int x, int y, const ZAV_GFXDEF& picture, int times);

  /// `x`, `y`: the left of the first character and the top of capital letters. Bytes that are not
  /// printable ASCII appear as '?'.
  void Text(int x, int y, std::string_view text, Color color);

  /// Borrows the pixels, as RGB24.
  ZAV_GFXDEF definition();

 private:
  void Glyph(int x, int y, char character, Color color);

  int width_;
  int height_;
  std::vector<unsigned char> pixels_;
};

}  // namespace zav::tool

#endif  // ZAV_TOOLS_CANVAS_H_
