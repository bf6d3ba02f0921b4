// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <optional>

#include "base/endian.h"
#include "container/stream.h"
#include "kinds/squiz_image.h"
#include "support/container_files.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

const ZAV_LAYER kTrue32 = Layer(ZAV_LAYER_TRUE32, {2});
const ZAV_LAYER kPal8 = Layer(ZAV_LAYER_PAL8);
const char kName[] = "the first thirty-two characters: of a name";

/// A record made pixel by pixel and step by step.
class PlainSquiz {
 public:
  PlainSquiz(const ZAV_GFXDEF& picture, int size) : picture_(picture), size_(size) {
    columns_ = (picture.width + size - 1) / size;
    for (int row = 0; row * size < picture.height; ++row) WriteRow(row);
  }

  const Bytes& records() const { return records_; }
  int stored() const { return static_cast<int>(cells_.size()); }

  /// The strip of the stored cells.
  Bytes Strip(int pitch) const {
    const int bytes = picture_.bytes_per_pixel;
    Bytes strip(static_cast<size_t>(pitch * size_), 0);
    for (size_t cell = 0; cell < cells_.size(); ++cell) {
      const auto [column, row] = cells_[cell];
      ForEachPixel(column, row, [&](int x, int y) {
        const int to = (y % size_) * pitch + (static_cast<int>(cell) * size_ + x % size_) * bytes;
        std::copy_n(picture_.pixels + y * picture_.pitch + x * bytes, bytes, &strip[size_t(to)]);
      });
    }
    return strip;
  }

  /// Whether the picture that was read consists of the strip's cells, as a plain layer reads them,
  /// and of backgrounds: with a palette, the first of the nearest entries.
  bool IsMadeOf(const ZAV_GFXDEF& strip, const ZAV_GFXDEF& read) const {
    const int bytes = read.bytes_per_pixel;
    const auto distance = [&](int index, uint32_t key) {
      const uint32_t its = KeyOf(LoadLe32(read.palette + 4 * index));
      int sum = 0;
      for (int shift = 0; shift < 32; shift += 8) {
        const int d = static_cast<int>(its >> shift & 255) - static_cast<int>(key >> shift & 255);
        sum += d * d;
      }
      return sum;
    };
    bool same = read.format == strip.format && read.width == picture_.width;
    int cell = -1;
    for (int row = 0; row * size_ < picture_.height; ++row) {
      const uint8_t* record = &records_[size_t(row) * (8 + size_t((columns_ + 7) / 8 * 8))];
      const uint32_t background = LoadLe32(record);
      int nearest = 0;
      for (int i = 1; bytes == 1 && i < 256; ++i) {
        if (distance(i, background) < distance(nearest, background)) nearest = i;
      }
      for (int column = 0; column < columns_; ++column) {
        const bool stored = (record[8 + column / 8] & 128 >> column % 8) != 0;
        cell += stored;
        ForEachPixel(column, row, [&](int x, int y) {
          const uint8_t* pixel = read.pixels + y * read.pitch + x * bytes;
          const uint8_t* kept = strip.pixels + (y % size_) * strip.pitch;
          kept += (cell * size_ + x % size_) * bytes;
          same &= stored       ? std::equal(pixel, pixel + bytes, kept)
                  : bytes == 1 ? *pixel == nearest
                               : LoadLe32(pixel) == background;
        });
      }
    }
    return same;
  }

 private:
  template <typename Use>
  void ForEachPixel(int column, int row, Use&& use) const {
    for (int y = row * size_; y < std::min((row + 1) * size_, picture_.height); ++y) {
      for (int x = column * size_; x < std::min((column + 1) * size_, picture_.width); ++x) {
        use(x, y);
      }
    }
  }

  static uint32_t KeyOf(uint32_t word) { return word >> 24 == 0 ? 0 : word; }
  static uint32_t Key(const ZAV_GFXDEF& picture, int x, int y) {
    const uint8_t* pixel = picture.pixels + y * picture.pitch + x * picture.bytes_per_pixel;
    return KeyOf(LoadLe32(picture.format == ZAV_FMT_PAL8 ? picture.palette + 4 * *pixel : pixel));
  }

  void WriteRow(int row) {
    uint32_t background = 0, candidate = 0;
    int background_weight = 0, candidate_weight = 0;
    std::vector<bool> mask;
    for (bool again = true; again;) {
      again = false;
      background = candidate;
      background_weight = candidate_weight;
      mask.assign(static_cast<size_t>(columns_), false);
      for (int column = 0; column < columns_ && !again; ++column) {
        const uint32_t color = Key(picture_, column * size_, row * size_);
        bool uniform = true;
        ForEachPixel(column, row, [&](int x, int y) { uniform &= Key(picture_, x, y) == color; });
        if (uniform && color == background) continue;
        mask[static_cast<size_t>(column)] = true;
        if (!uniform) continue;
        if (color != candidate) {
          candidate = color;
          candidate_weight = 0;
        }
        ++candidate_weight;
        again = candidate_weight > background_weight;
      }
    }
    const size_t at = records_.size();
    records_.resize(at + 8 + static_cast<size_t>((columns_ + 7) / 8 * 8), 0);
    StoreLe32(&records_[at], background);
    for (int column = 0; column < columns_; ++column) {
      if (!mask[static_cast<size_t>(column)]) continue;
      cells_.emplace_back(column, row);
      ++records_[at + 4];
      records_[at + 8 + static_cast<size_t>(column / 8)] |= static_cast<uint8_t>(128 >> column % 8);
    }
  }

  ZAV_GFXDEF picture_;
  int size_;
  int columns_;
  Bytes records_;
  std::vector<std::pair<int, int>> cells_;
};

/// Blocks of few colors, some transparent, so that backgrounds change.
Picture Blocks(int32_t format, int32_t width, int32_t height, int32_t block, uint64_t seed) {
  Picture picture = NoisePicture(format, width, height, format == ZAV_FMT_PAL8 ? width + 3 : 0, 5);
  Random random(seed);
  for (size_t i = 0; i < picture.palette.size(); ++i) {  // many entries are equal
    picture.palette[i] = static_cast<uint8_t>(i / 4 % 7 == 3 && i % 4 == 3 ? 0 : i / 4 % 5 * 50);
  }
  if (format == ZAV_FMT_PAL8) picture.palette.back() = 1;  // layers drop zeros at the end
  const uint32_t colors = 1 + random.Below(4);
  for (int32_t y = 0; y < height; ++y) {
    for (int32_t x = 0; x < width; ++x) {
      Random choice(seed + static_cast<uint64_t>(x / block) * 7919 +
                    static_cast<uint64_t>(y / block));
      const uint32_t color = choice.Below(colors + 2);
      uint8_t* pixel = picture.Row(y) + x * picture.definition.bytes_per_pixel;
      if (color > colors) continue;
      if (format == ZAV_FMT_PAL8) {
        *pixel = static_cast<uint8_t>(color * 5 + random.Below(20) * 25 % 250);
      } else if (color == 0) {
        pixel[3] = 0;  // of any color
      } else {
        StoreLe32(pixel, 0x01000000 * color + 77);
      }
      if (random.Below(300) == 0) *pixel ^= 1;
    }
  }
  return picture;
}

Bytes WriteSquiz(ZAV_LAYER layer, const ZAV_GFXDEF& picture) {
  const TemporaryFile file;
  std::optional<ZAV_STREAM> stream(std::in_place);
  stream->OpenWrite(file.path());
  const bool written = WriteSquizImage(*stream, kName, &layer, &picture);
  EXPECT_EQ(stream->RequireWriting(), written);
  stream.reset();
  return written ? file.Read() : Bytes();
}

TEST(Squiz, RecordsEqualThePlainOnes) {
  std::vector<ZAV_LAYER> layers = EveryLayer();
  layers.push_back(Layer(ZAV_LAYER_DXT5));
  int written_ones = 0;
  Random random(1);
  for (uint64_t seed = 1; seed < 700; ++seed) {
    const int size = std::array{8, 8, 1, 3, 16, 255}[static_cast<size_t>(seed % 6)];
    const int32_t width = 1 + static_cast<int32_t>(random.Below(seed % 7 == 0 ? 500 : 90));
    const int32_t height = 1 + static_cast<int32_t>(random.Below(40));
    const bool palettized = seed % 2 == 0;
    const Picture picture =
        Blocks(palettized ? ZAV_FMT_PAL8 : ZAV_FMT_BGRA32, width, height, size, seed);
    const PlainSquiz plain(picture.definition, size);
    // The last layer takes whole blocks of 4 x 4 pixels only.
    const size_t usable = layers.size() - (size % 4 == 0 ? 0 : 1);
    const ZAV_LAYER& layer = seed % 5 == 0 ? layers[static_cast<size_t>(seed / 5) % usable]
                             : palettized  ? kPal8
                                           : kTrue32;
    SCOPED_TRACE(testing::Message() << width << " x " << height << " in " << size);
    // Readers take blocks of any size; writers only make blocks of 8 x 8.
    const Bytes written = size == 8 ? WriteSquiz(layer, picture.definition) : Bytes();
    if (plain.stored() == 0) {
      ASSERT_TRUE(written.empty());
      continue;
    }
    ++written_ones;
    Bytes file(4 + 46, 0);
    std::copy_n("ZAV\0\4", 5, file.begin());
    std::copy_n(kName, 32, &file[9]);
    StoreLe32(&file[41], static_cast<uint32_t>(width));
    StoreLe32(&file[45], static_cast<uint32_t>(height));
    file[49] = static_cast<uint8_t>(size);
    file.insert(file.end(), plain.records().begin(), plain.records().end());
    const int strip_width = plain.stored() * size;
    const int pitch = palettized ? (strip_width + 3) / 4 * 4 : strip_width * 4;
    Bytes strip = plain.Strip(pitch);
    ZAV_GFXDEF definition = picture.definition;
    definition.pixels = strip.data();
    definition.width = strip_width, definition.height = size, definition.pitch = pitch;
    const Bytes one = WriteOne(layer, definition);
    file.insert(file.end(), one.begin() + 41, one.end());
    StoreLe32(&file[5], static_cast<uint32_t>(file.size()) - 4);
    ASSERT_TRUE(size != 8 || written == file);
    Image image, alone;
    ASSERT_TRUE(ReadOne(image, file));
    alone.dest.format = image.source.format;
    ASSERT_TRUE(ReadOne(alone, one));
    ASSERT_TRUE(plain.IsMadeOf(alone.dest, image.source)) << int{layer.kind};
    // The masks decide: counts and bits after the last block are ignored.
    const size_t row = 8 + static_cast<size_t>((width + size - 1) / size + 7) / 8 * 8;
    for (size_t at = 50; at < 50 + plain.records().size(); at += row) {
      file[at + 4] ^= 0xFF;
      file[at + row - 1] = 1;
    }
    Image again;
    ASSERT_TRUE(ReadOne(again, file));
    ASSERT_TRUE(SamePicture(image.source, again.source));
  }
  EXPECT_GT(written_ones, 300);
}

TEST(Squiz, RefusesRecordsThatTheStripCannotFill) {
  const Picture picture = SpritePicture(ZAV_FMT_BGRA32, 64, 24, 8, 2);
  const Bytes good = WriteSquiz(kTrue32, picture.definition);
  const auto reads = [&](size_t at, int value) {
    Bytes file = good;
    file[at] = static_cast<uint8_t>(value);
    Image image;
    return ReadOne(image, file);
  };
  ASSERT_NE(good[58], 0xFF);
  EXPECT_TRUE(reads(58, good[58] & (good[58] - 1)));
  EXPECT_FALSE(reads(58, 0xFF));  // more cells than there are
  EXPECT_FALSE(reads(49, 0));     // empty blocks
  EXPECT_FALSE(reads(49, 9));     // higher than the strip
}

}  // namespace
}  // namespace zav::test
