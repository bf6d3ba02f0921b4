// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// JPEG data, compared with direct calls of the codec for the same work. Rows are called
// Jpeg/<decode or encode>_<what>/<side>/<who>. For four channels the direct calls use the codec's
// conversion for inks, and invert those in a loop over each row.

#ifdef ZAV_HAVE_JPEG

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include <jpeglib.h>

#include "base/byte_buffer.h"
#include "base/heap.h"
#include "codecs/jpeg_codec.h"
#include "support/pictures.h"
#include "zav.h"

namespace {

using Bytes = std::vector<uint8_t>;

/// Soft slopes under the noise of a sensor.
Bytes Photo(int side, int pixel_bytes) {
  zav::test::Random random(3);
  Bytes pixels;
  for (int y = 0; y < side; ++y) {
    for (int x = 0; x < side; ++x) {
      const int noise = static_cast<int>(random.Below(12));
      const int values[] = {x * 200 / side + noise, y * 180 / side + noise, (x ^ y) % 97 + noise,
                            (x + y) * 120 / side};
      for (int k = 0; k < pixel_bytes; ++k) pixels.push_back(static_cast<uint8_t>(values[k]));
    }
  }
  return pixels;
}

/// Between B, G, R, A and the codec's inks and alpha.
void TurnRound(const uint8_t* from, uint8_t* to, size_t width) {
  for (size_t x = 0; x < width * 4; x += 4) {
    const uint8_t pixel[] = {from[x], from[x + 1], from[x + 2], from[x + 3]};
    to[x] = static_cast<uint8_t>(255 - pixel[2]);
    to[x + 1] = static_cast<uint8_t>(255 - pixel[1]);
    to[x + 2] = static_cast<uint8_t>(255 - pixel[0]);
    to[x + 3] = pixel[3];
  }
}

struct Work {
  const char* name;
  int channels;
  int rows_per_chroma;
  bool progressive;
};
constexpr int kQuality = 85;

Bytes EncodeDirectly(const Work& work, const Bytes& pixels, int side) {
  jpeg_compress_struct codec;
  jpeg_error_mgr errors;
  codec.err = jpeg_std_error(&errors);
  jpeg_create_compress(&codec);
  unsigned char* out = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&codec, &out, &size);
  codec.image_width = codec.image_height = static_cast<JDIMENSION>(side);
  codec.input_components = work.channels;
  codec.in_color_space = work.channels == 4 ? JCS_CMYK : JCS_EXT_BGR;
  jpeg_set_defaults(&codec);
  if (work.channels == 4) {
    jpeg_set_colorspace(&codec, JCS_YCCK);
    codec.write_Adobe_marker = FALSE;
    codec.comp_info[3].h_samp_factor = 2;
  }
  codec.comp_info[0].h_samp_factor = 2;
  codec.comp_info[0].v_samp_factor = work.rows_per_chroma;
  if (work.channels == 4) codec.comp_info[3].v_samp_factor = work.rows_per_chroma;
  jpeg_set_quality(&codec, kQuality, TRUE);
  if (work.progressive) jpeg_simple_progression(&codec);
  jpeg_start_compress(&codec, TRUE);
  Bytes inks(static_cast<size_t>(side) * 4);
  while (codec.next_scanline < codec.image_height) {
    auto* row = const_cast<JSAMPROW>(
        &pixels[size_t{codec.next_scanline} * static_cast<size_t>(side * work.channels)]);
    if (work.channels == 4) {
      TurnRound(row, inks.data(), static_cast<size_t>(side));
      row = inks.data();
    }
    jpeg_write_scanlines(&codec, &row, 1);
  }
  jpeg_finish_compress(&codec);
  jpeg_destroy_compress(&codec);
  Bytes file(out, out + size);
  std::free(out);
  return file;
}

void DecodeDirectly(const Bytes& file, int channels) {
  jpeg_decompress_struct codec;
  jpeg_error_mgr errors;
  codec.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&codec);
  jpeg_mem_src(&codec, file.data(), static_cast<unsigned long>(file.size()));
  jpeg_read_header(&codec, TRUE);
  if (channels == 4) codec.jpeg_color_space = JCS_YCCK;
  codec.out_color_space = channels == 4 ? JCS_CMYK : JCS_EXT_BGRA;
  jpeg_start_decompress(&codec);
  const size_t pitch = size_t{codec.output_width} * 4;
  // As the library does it; the cost of fresh memory is measured elsewhere.
  uint8_t* pixels = zav::AllocateBytes(static_cast<int64_t>(pitch * codec.output_height));
  while (codec.output_scanline < codec.output_height) {
    JSAMPROW row = pixels + codec.output_scanline * pitch;
    jpeg_read_scanlines(&codec, &row, 1);
    if (channels == 4) TurnRound(row, row, codec.output_width);
  }
  benchmark::DoNotOptimize(pixels);
  zav::FreeBytes(pixels);
  jpeg_finish_decompress(&codec);
  jpeg_destroy_decompress(&codec);
}

bool DecodeZav(const Bytes& file) {
  ZAV_IMAGE image;
  ZAV_INIT(&image);
  image.dest.format = ZAV_FMT_BGRA32;
  const bool done = ZAV_CONVERT_MEMFILE(&image, "jpg", const_cast<uint8_t*>(file.data()),
                                        static_cast<long>(file.size())) == 1;
  benchmark::DoNotOptimize(image.dest.pixels);
  ZAV_FREE(&image);
  return done;
}

bool EncodeZav(const Work& work, const Bytes& pixels, int side) {
  zav::ByteBuffer file;
  const auto order = work.channels == 4 ? zav::JpegOrder::kBgra : zav::JpegOrder::kBgr;
  return zav::EncodeJpeg(
      {pixels.data(), side, side, int64_t{side} * work.channels, order},
      work.rows_per_chroma == 2 ? zav::JpegSampling::k2x2 : zav::JpegSampling::k2x1, kQuality,
      {[](void* to, const uint8_t* bytes, int64_t count) {
         return static_cast<zav::ByteBuffer*>(to)->Append(bytes, count);
       },
       &file});
}

template <typename Run>
void Register(const std::string& row, int side, Run run) {
  benchmark::RegisterBenchmark(row.c_str(), [=](benchmark::State& state) {
    for (auto _ : state) {
      if (!run()) state.SkipWithError("refused");
    }
    state.SetBytesProcessed(state.iterations() * side * side * 4);
  });
}

const int registered = [] {
  static constexpr Work kWorks[] = {{"422", 3, 1, false},
                                    {"420", 3, 2, false},
                                    {"progressive", 3, 2, true},
                                    {"four", 4, 1, false}};
  for (const Work& work : kWorks) {
    for (const int side : {512, 2048}) {
      const Bytes pixels = Photo(side, work.channels);
      const Bytes file = EncodeDirectly(work, pixels, side);
      const auto row = [&](const char* what, const char* who) {
        return std::string("Jpeg/") + what + work.name + "/" + std::to_string(side) + "/" + who;
      };
      Register(row("decode_", "zav"), side, [=] { return DecodeZav(file); });
      Register(row("decode_", "libjpeg-turbo"), side,
               [=, &work] { return DecodeDirectly(file, work.channels), true; });
      if (work.progressive) continue;
      Register(row("encode_", "zav"), side, [=, &work] { return EncodeZav(work, pixels, side); });
      Register(row("encode_", "libjpeg-turbo"), side,
               [=, &work] { return !EncodeDirectly(work, pixels, side).empty(); });
    }
  }
  return 0;
}();

}  // namespace

#endif  // ZAV_HAVE_JPEG
