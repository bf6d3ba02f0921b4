// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>

#include "base/endian.h"
#include "formats/targa_packets.h"
#include "support/page_end_buffer.h"
#include "support/picture_files.h"
#include "support/pictures.h"

namespace zav::test {
namespace {

/// The stream reader in its plainest form: one packet in a buffer, byte by byte.
struct PlainReader {
  const uint8_t* data;
  int64_t position, end;
  bool run_length;
  bool is_run = false;
  int64_t count = 0, cursor = 0;  // pixels that are pending, the next of them in the buffer
  uint8_t buffer[512] = {};

  /// Returns how many of the n bytes were written.
  int64_t Read(uint8_t* dest, int64_t n, int64_t p) {
    if (!run_length) {
      const bool whole = position + n <= end;
      if (whole) std::copy_n(data + position, n, dest);
      position = whole ? position + n : end;
      return whole ? n : 0;
    }
    for (int64_t done = 0; done < n; done += p) {
      if (count == 0) {
        if (position >= end) return done;
        const uint8_t header = data[position++];
        is_run = header >= 128;
        const int64_t pixels = (header & 127) + 1, bytes = is_run ? p : pixels * p;
        if (position + bytes > end) {
          position = end;
          return done;
        }
        std::copy_n(data + position, bytes, buffer);
        position += bytes;
        count = pixels;
        cursor = 0;
      }
      std::copy_n(buffer + cursor, p, dest + done);
      if (!is_run) cursor += p;
      --count;
    }
    return n;
  }
};

TEST(TargaPackets, EqualThePlainReaderAtEveryCut) {
  for (int32_t p = 1; p <= 4; ++p) {
    for (int64_t row : {1, 2, 3, 7, 33, 200}) {
      const int64_t rows = 260 / row + 2;
      const Bytes stream = NoisePackets(p, row * rows - 3, static_cast<uint64_t>(p * 1000 + row));
      for (size_t cut = 0; cut <= stream.size(); ++cut) {
        PageEndBuffer data(stream.data(), cut);
        for (auto overrun :
             {TgaPacketReader::Overrun::kForbidden, TgaPacketReader::Overrun::kAllowed}) {
          const auto end = static_cast<int64_t>(cut);
          PlainReader plain{stream.data(), 0, end, true};
          ByteReader file(data.data(), end);
          TgaPacketReader reader(file, p, overrun);
          PageEndBuffer dest(static_cast<size_t>(row * p));
          Bytes expected(dest.size());
          for (int64_t y = 0; y < rows; ++y) {
            std::fill_n(dest.data(), dest.size(), uint8_t{0xA5});
            std::fill(expected.begin(), expected.end(), uint8_t{0xA5});
            const int64_t written = plain.Read(expected.data(), row * p, p);
            ASSERT_EQ(reader.Read(dest.data(), row) * p, written);
            const bool exact = overrun == TgaPacketReader::Overrun::kForbidden;
            ASSERT_EQ(std::memcmp(dest.data(), expected.data(),
                                  exact ? dest.size() : static_cast<size_t>(written)),
                      0)
                << p << " bytes, row " << y << " of " << row << ", cut " << cut;
            ASSERT_EQ(file.position(), plain.position);
            ASSERT_EQ(reader.pending(), plain.count);
          }
        }
      }
    }
  }
}

/// What the whole picture must be, in a buffer that held `background`.
Bytes Expected(const Bytes& file, size_t start, const ZAV_GFXDEF& picture, bool run_length,
               bool top_down, uint8_t background) {
  PlainReader plain{file.data(), static_cast<int64_t>(std::min(start, file.size())),
                    static_cast<int64_t>(file.size()), run_length};
  const int64_t row_bytes = int64_t{picture.width} * picture.bytes_per_pixel;
  Bytes pixels(static_cast<size_t>(row_bytes * picture.height), background);
  for (int64_t y = 0; y < picture.height; ++y) {
    plain.Read(pixels.data() + (top_down ? y : picture.height - 1 - y) * row_bytes, row_bytes,
               picture.bytes_per_pixel);
  }
  return pixels;
}

TEST(Targa, EveryKindOfFileCutAnywhere) {
  for (uint32_t type : {1u, 2u, 9u, 10u}) {
    for (uint32_t depth : {8u, 16u, 24u, 32u}) {
      for (uint32_t descriptor : {0x00u, 0x28u}) {
        const auto p = static_cast<int32_t>(depth / 8);
        Bytes whole = TgaStart(type, depth, 19, 9, descriptor, depth == 8 ? 3 : 0, 24);
        const size_t start = whole.size();
        Append(whole,
               type > 2 ? NoisePackets(p, 180, depth) : Bytes(static_cast<size_t>(p * 171), 9));
        for (size_t size = 10; size <= whole.size(); ++size) {
          SCOPED_TRACE(testing::Message()
                       << type << ", " << depth << " bits, " << descriptor << ", size " << size);
          const Bytes file(whole.data(), whole.data() + size);
          Image image, own;
          Bytes buffer(static_cast<size_t>(p * 171), 0xA5);
          own.source.pixels = buffer.data();
          ASSERT_EQ(image.Read("x.tga", file), size >= 18);
          ASSERT_EQ(own.Read("x.tga", file), size >= 18);
          if (size < 18) continue;
          ASSERT_EQ(image.source.pitch, 19 * p);
          const bool top_down = depth > 8 && descriptor != 0;
          const Bytes expected = Expected(file, start, image.source, type > 2, top_down, 0);
          ASSERT_EQ(std::memcmp(image.source.pixels, expected.data(), expected.size()), 0);
          ASSERT_EQ(buffer, Expected(file, start, own.source, type > 2, top_down, 0xA5));
        }
        ZAV_GFXDEF probed{};
        EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(&probed, "x.Tga", whole.data(), 18), type < 3);
        EXPECT_EQ(probed.pitch, type < 3 ? 19 * p : 0);
        EXPECT_EQ(ZAV_GETFILEFORMAT_FROMMEM(&probed, "x.tga", whole.data(), 17), 0);
      }
    }
  }
}

TEST(Targa, ColourMaps) {
  for (uint32_t bits : {15u, 16u, 24u, 32u}) {
    for (uint32_t length : {0u, 1u, 16u, 256u, 300u}) {
      SCOPED_TRACE(testing::Message() << bits << " bits, " << length << " entries");
      Bytes file = TgaStart(1, 8, 1, 1, 0, length, bits);
      file.push_back(42);
      const bool known = bits == 16 || bits == 24;
      Image image;
      ASSERT_TRUE(image.Read("x.tga", file));
      EXPECT_EQ(image.source.pixels[0], known ? 42 : file[23]);
      for (uint32_t i = 0; i < 256; ++i) {
        uint32_t color = i < length ? 0xFF000000 : 0xFFFFFFFF;
        if (i < length && bits == 24) {
          color |= LoadLe32(&file[22 + i * 3]) >> 8;
        } else if (i < length && bits == 16) {
          const uint32_t v = LoadLe16(&file[23 + i * 2]);
          color |= (v & 0x1F) << 3 | ((v >> 2) & 0xF8) << 8 | ((v >> 7) & 0xF8) << 16;
        }
        ASSERT_EQ(LoadLe32(image.source.palette + i * 4), color) << i;
      }
    }
  }
}

// A header alone may announce two gigabytes. That is a picture of zeros, but not one that is paid
// for before somebody looks at it.
TEST(Targa, AnnouncedPixelsCostNothing) {
  Image image;
  ASSERT_TRUE(image.Read("x.tga", TgaStart(10, 32, 32767, 16384, 0)));
  EXPECT_EQ(image.source.pixels[int64_t{32767} * 16384 * 4 - 1], 0);
  EXPECT_FALSE(image.Read("x.tga", TgaStart(10, 32, 65535, 65535, 0)));
  EXPECT_FALSE(image.Read("x.tga", TgaStart(2, 24, 0, 1, 0)));
}

TEST(Targa, SwapsInPlaceForTheOtherChannelOrder) {
  for (int32_t p : {3, 4}) {
    Bytes file = TgaStart(10, static_cast<uint32_t>(p * 8), 5, 3, 0x20);
    const size_t start = file.size();
    Append(file, NoisePackets(p, 15, 5));
    Image image;
    image.dest.format = p == 3 ? ZAV_FMT_RGB24 : ZAV_FMT_RGBA32;
    ASSERT_TRUE(image.Read("x.tga", file));
    const Bytes expected = Expected(file, start, image.dest, true, true, 0);
    for (size_t i = 0; i < expected.size(); ++i) {
      const size_t byte = i % static_cast<size_t>(p);
      ASSERT_EQ(image.dest.pixels[i], expected[byte < 3 ? i - byte + 2 - byte : i]) << i;
    }
    EXPECT_EQ(image.dest.pitch, 5 * p);
    EXPECT_EQ(image.source.pixels, image.dest.pixels);
  }
}

}  // namespace
}  // namespace zav::test
