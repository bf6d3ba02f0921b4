// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>

#include "base/endian.h"
#include "kinds/tile_layout.h"
#include "support/container_files.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

struct Piece {
  int tile, tile_x, tile_y, x, y, width, height;
  bool operator==(const Piece&) const = default;
};

struct Layout {
  std::vector<Piece> pieces;
  std::vector<std::pair<int, int>> sizes;
};

/// The layout in the plainest way: band by band, each below the one before as long as it fits.
/// Pictures that are higher than wide are transposed before and after.
Layout LayOut(int width, int height, int size) {
  Layout layout;
  const bool tall = width < height;
  if (tall) std::swap(width, height);
  int tile = -1, y = 0;
  for (int band = 0; band < width; band += size) {
    const int band_width = std::min(size, width - band);
    for (int part = 0; part < height; part += size) {
      const bool fits = tile >= 0 && height <= size && y + 2 * height <= size;
      y = fits ? y + height : 0;
      if (!fits) ++tile;
      layout.pieces.push_back({tile, 0, y, band, part, band_width, std::min(size, height - part)});
    }
  }
  for (Piece& piece : layout.pieces) {
    if (tall) {
      piece = {piece.tile, piece.tile_y, piece.tile_x, piece.y, piece.x, piece.height, piece.width};
    }
    layout.sizes.resize(static_cast<size_t>(piece.tile) + 1, {1, 1});
    auto& [tile_width, tile_height] = layout.sizes.back();
    while (tile_width < piece.tile_x + piece.width) tile_width *= 2;
    while (tile_height < piece.tile_y + piece.height) tile_height *= 2;
  }
  return layout;
}

TEST(Tiled, LayoutEqualsThePlainOne) {
  std::vector<int> sides = {255, 256, 257, 512, 513, 1024, 1025, 1100};
  for (int side = 1; side < 1100; side += side < 20 ? 1 : side < 300 ? 13 : 61) {
    sides.push_back(side);
  }
  for (const int size : {256, 32, 4, 1}) {
    for (const int width : sides) {
      for (const int height : sides) {
        if (width * height > 400 * size * size) continue;
        const Layout expected = LayOut(width, height, size);
        std::vector<Piece> pieces;
        std::vector<std::pair<int, int>> sizes;
        TileLayout layout(width, height, size);
        while (layout.NextTile()) {
          const int tile = static_cast<int>(sizes.size());
          sizes.emplace_back(layout.tile_width(), layout.tile_height());
          for (TilePiece p; layout.NextPiece(p);) {
            pieces.push_back({tile, p.tile_x, p.tile_y, p.x, p.y, p.width, p.height});
          }
        }
        ASSERT_TRUE(pieces == expected.pieces && sizes == expected.sizes)
            << width << " x " << height << " in " << size;
        // The count in the record's header.
        const int across = std::min(width, height), along = std::max(width, height);
        const int step = size * std::max(size / across, 1);
        ASSERT_EQ(layout.tile_count(), (along + step - 1) / step * ((across + size - 1) / size));
      }
    }
  }
}

uint32_t PixelAt(const ZAV_GFXDEF& picture, int x, int y) {
  return LoadLe32(picture.pixels + int64_t{y} * picture.pitch + x * 4);
}

/// Writes the picture, decodes its tiles one by one, and compares the picture that is read with
/// them. Returns how many different palettes follow each other.
int CheckTiles(const ZAV_LAYER& layer, const Picture& picture) {
  const int width = picture.definition.width, height = picture.definition.height;
  const Bytes file = WriteOne(layer, picture.definition, nullptr, ZAV_REC_TILED);
  const int block = layer.kind >= ZAV_LAYER_DXT1 && layer.kind <= ZAV_LAYER_DXT5 ? 4 : 1;
  Image whole, raw;
  whole.dest.format = ZAV_FMT_BGRA32;
  EXPECT_TRUE(ReadOne(whole, file) && ReadOne(raw, file));
  Reader stream(file);
  ZAV_LAYER header = Layer(ZAV_REC_TILED);
  EXPECT_EQ(ZAV_READ_LAYER(stream, &header), 0);
  const Layout layout = LayOut(width, height, 256);
  EXPECT_EQ(LoadLe32(header.fields + 40), 8 + (layout.sizes.size() << 16));
  Bytes palette;
  int palettes = 0, differing = 0;
  auto piece = layout.pieces.begin();
  for (size_t i = 0; i < layout.sizes.size(); ++i) {
    const auto [tile_width, tile_height] = layout.sizes[i];
    Image tile;
    tile.dest.format = ZAV_FMT_BGRA32;
    EXPECT_EQ(ZAV_DECODE_BITMAP(stream, &tile), 0);
    EXPECT_EQ(tile.source.width, (tile_width + block - 1) / block * block);
    EXPECT_EQ(tile.source.height, (tile_height + block - 1) / block * block);
    if (tile.source.palette != nullptr) {
      const Bytes colors(tile.source.palette, tile.source.palette + ZAV_PALETTE_BYTES);
      palettes += colors != palette;
      palette = colors;
    }
    for (; piece != layout.pieces.end() && piece->tile == static_cast<int>(i); ++piece) {
      for (int at = 0; at < piece->width * piece->height; ++at) {
        const int x = at % piece->width, y = at / piece->width;
        differing += PixelAt(whole.dest, piece->x + x, piece->y + y) !=
                     PixelAt(tile.dest, piece->tile_x + x, piece->tile_y + y);
      }
    }
  }
  EXPECT_EQ(differing, 0);
  EXPECT_EQ(stream.Kind(), ZAV_KIND_END);
  EXPECT_EQ(raw.source.format == ZAV_FMT_PAL8, palettes == 1);
  EXPECT_TRUE(palettes <= 1 || raw.source.format == ZAV_FMT_BGRA32);
  return palettes;
}

// Layers change pixels: the picture must be exactly what its tiles are.
TEST(Tiled, PicturesAreTheirTiles) {
  int most_palettes = 0;
  std::vector<ZAV_LAYER> layers = EveryLayer();
  layers.push_back(Layer(ZAV_LAYER_DXT1, {1}));
  layers.push_back(Layer(ZAV_LAYER_DXT5));
  for (const ZAV_LAYER& layer : layers) {
    for (const auto& [width, height] : {std::pair{600, 100}, {100, 600}, {257, 270}}) {
      SCOPED_TRACE(testing::Message() << "layer " << int{layer.kind});
      most_palettes = std::max(most_palettes, CheckTiles(layer, AsymmetricPicture(width, height)));
      for (const int32_t format : {ZAV_FMT_PAL8, ZAV_FMT_RGB24}) {
        CheckTiles(layer, NoisePicture(format, width, height, 0, 1));
      }
    }
  }
  EXPECT_GT(most_palettes, 1);  // tiles that were quantized one by one
}

TEST(Tiled, BytesThatNoPieceCoversAreZero) {
  const Picture picture = NoisePicture(ZAV_FMT_BGRA32, 5, 3, 24, 1);
  const Bytes file = WriteOne(Layer(ZAV_LAYER_TRUE32, {2}), picture.definition, nullptr, 1);
  ASSERT_EQ(file.size(), 4u + 49 + 18 + 8 * 4 * 4);
  for (size_t i = 0; i < 128; ++i) {
    const size_t x = i % 32, y = i / 32;
    EXPECT_EQ(file[71 + i], x < 20 && y < 3 ? picture.pixels[y * 24 + x] : 0) << i;
  }
}

/// The layer of a picture of one color, as in a file.
Bytes Tile(const ZAV_LAYER& layer, int32_t format, int32_t width, int32_t height, uint8_t value) {
  Picture picture = NoisePicture(format, width, height, 0, value);
  std::fill(picture.pixels.begin(), picture.pixels.end(), value);
  const Bytes file = WriteOne(layer, picture.definition);
  return Bytes(file.begin() + 41, file.end());
}

Bytes Record(uint32_t width, uint32_t height, uint32_t log, const std::vector<Bytes>& tiles) {
  Bytes file(4 + 49, 0);
  std::copy_n("ZAV\0\1", 5, file.begin());
  StoreLe32(&file[41], width);
  StoreLe32(&file[45], height);
  StoreLe16(&file[49], log);
  for (const Bytes& tile : tiles) file.insert(file.end(), tile.begin(), tile.end());
  return file;
}

const ZAV_LAYER kPal8 = Layer(ZAV_LAYER_PAL8);
const ZAV_LAYER kRgba32 = Layer(ZAV_LAYER_TRUE32, {1});

TEST(Tiled, TilesOfDifferentFormatsMakeOnePicture) {
  const Bytes indexed = Tile(kPal8, ZAV_FMT_PAL8, 1, 1, 3);
  const Bytes other = Tile(kPal8, ZAV_FMT_PAL8, 1, 1, 4);  // with another palette
  const Bytes bgr = Tile(Layer(ZAV_LAYER_TRUE24, {2}), ZAV_FMT_BGR24, 1, 1, 0x55);
  const Bytes rgba = Tile(kRgba32, ZAV_FMT_RGBA32, 2, 3, 0x66);  // larger than necessary
  const Bytes hicolor = Tile(Layer(ZAV_LAYER_HICOLOR, {3}), ZAV_FMT_ARGB4444, 1, 1, 0x77);
  const std::pair<std::vector<Bytes>, int32_t> rows[] = {
      {{indexed, indexed, indexed}, ZAV_FMT_PAL8}, {{indexed, indexed, other}, ZAV_FMT_BGRA32},
      {{indexed, rgba, indexed}, ZAV_FMT_BGRA32},  {{bgr, indexed, rgba}, ZAV_FMT_BGR24},
      {{rgba, hicolor, bgr}, ZAV_FMT_RGBA32},      {{hicolor, rgba, hicolor}, ZAV_FMT_ARGB4444},
      {{indexed, hicolor, other}, ZAV_FMT_BGRA32}};
  for (const auto& [tiles, format] : rows) {
    Image image, whole;
    image.dest.format = ZAV_FMT_BGRA32;
    EXPECT_TRUE(ReadOne(image, Record(3, 1, 0, tiles))) << format;
    ASSERT_TRUE(ReadOne(whole, Record(3, 1, 0, tiles)));
    EXPECT_EQ(whole.source.format, format);
    for (int x = 0; x < 3; ++x) {
      Image alone;
      alone.dest.format = format;
      ASSERT_TRUE(ReadOne(alone, Record(1, 1, 0, {tiles[static_cast<size_t>(x)]})));
      const Bytes pixel = PixelsAs(alone.dest, ZAV_FMT_BGRA32);
      EXPECT_EQ(PixelAt(image.dest, x, 0), LoadLe32(pixel.data())) << format << ", " << x;
    }
  }
}

TEST(Tiled, RefusesWhatItsTilesCannotServe) {
  const Bytes small = Tile(kRgba32, ZAV_FMT_RGBA32, 1, 1, 1);
  const Bytes wide = Tile(kRgba32, ZAV_FMT_RGBA32, 2, 1, 1);
  Image good;
  EXPECT_TRUE(ReadOne(good, Record(2, 1, 8, {wide})));
  for (const Bytes& file :
       {Record(2, 1, 9, {wide}), Record(2, 1, 0x108, {wide}), Record(2, 1, 8, {small}),
        Record(1, 2, 8, {wide}), Record(2, 1, 0, {small}), Record(0, 1, 8, {wide}),
        Record(2, 0, 8, {wide}), Record(1, 1, 8, {})}) {
    Image image;
    EXPECT_FALSE(ReadOne(image, file)) << int{file[41]} << " x " << int{file[45]};
  }
}

}  // namespace
}  // namespace zav::test
