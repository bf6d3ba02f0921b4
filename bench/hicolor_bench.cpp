// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "convert/pipeline.h"
#include "encodings/hicolor.h"
#include "platform/processor.h"
#include "platform/vector_target.h"
#include "support/pictures.h"
#include "surface/surface.h"

#ifdef ZAV_PEER_LIBYUV
#include <libyuv.h>
#endif
#ifdef ZAV_PEER_PIXMAN
#include <pixman.h>
#endif
#ifdef ZAV_PEER_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

// Hicolor/<kernel>/<size>/<implementation>: both pictures of 64 x 64 stay in the first-level cache,
// those of 256 x 256 in the second-level cache, those of 4096 x 4096 in none.

namespace zav::test {
namespace {

/// Source and destination bytes of one conversion, both warm.
struct Buffers {
  Buffers(int32_t size, int32_t source, int32_t dest)
      : side(size),
        from(Aligned(NoisePicture(source, size, size, 0, 1))),
        to(Aligned(NoisePicture(dest, size, size, 0, 2))) {
    converter.source.definition() = from;
    converter.dest.definition() = to;
  }
  Buffers(const Buffers&) = delete;
  Buffers& operator=(const Buffers&) = delete;
  ~Buffers() {
    std::free(from.pixels);
    std::free(to.pixels);
  }

  /// In separate memory at the start of a cache line, so that no implementation depends on where an
  /// allocation happens to be.
  static ZAV_GFXDEF Aligned(const Picture& picture) {
    ZAV_GFXDEF definition = picture.definition;
    definition.pixels = static_cast<uint8_t*>(std::aligned_alloc(4096, picture.pixels.size()));
    std::memcpy(definition.pixels, picture.pixels.data(), picture.pixels.size());
    return definition;
  }

  const uint8_t* source() const { return from.pixels; }
  uint8_t* dest() { return to.pixels; }
  int source_pitch() const { return from.pitch; }
  int dest_pitch() const { return to.pitch; }

  int side;
  ZAV_GFXDEF from;
  ZAV_GFXDEF to;
  ZAV_CONVERTER converter{};
};

using Conversion = std::function<void(Buffers&)>;

void Convert(Buffers& buffers) { ConvertSurface(buffers.converter); }

void Register(const std::string& kernel, const char* implementation, int32_t source, int32_t dest,
              const Conversion& conversion, bool plain = false) {
  for (const int32_t side : {64, 256, 4096}) {
    const std::string name =
        "Hicolor/" + kernel + "/" + std::to_string(side) + "/" + implementation;
    benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) {
      Buffers buffers(side, source, dest);
      SelectHicolorVariant(kProcessorMmx | kProcessorSse);
      if (plain) ForceVectorTarget({0, "plain"});
      for (auto _ : state) {
        conversion(buffers);
        benchmark::ClobberMemory();
      }
      RestoreVectorTarget();
      state.SetItemsProcessed(int64_t{side} * side * state.iterations());
    });
  }
}

#ifdef ZAV_PEER_LIBYUV
using LibyuvRow = int (*)(const uint8_t*, int, uint8_t*, int, int, int);

void RegisterLibyuv(const char* kernel, int32_t source, int32_t dest, LibyuvRow convert) {
  Register(kernel, "libyuv", source, dest, [=](Buffers& b) {
    convert(b.source(), b.source_pitch(), b.dest(), b.dest_pitch(), b.side, b.side);
  });
}

/// There is no direct conversion: two steps with a row of 32-bit pixels between them.
int Rgb24ToRgb565(const uint8_t* source, int source_pitch, uint8_t* dest, int dest_pitch, int width,
                  int height) {
  std::vector<uint8_t> row(static_cast<size_t>(width) * 4);
  for (int y = 0; y < height; ++y) {
    libyuv::RGB24ToARGB(source + int64_t{y} * source_pitch, source_pitch, row.data(), width * 4,
                        width, 1);
    libyuv::ARGBToRGB565(row.data(), width * 4, dest + int64_t{y} * dest_pitch, dest_pitch, width,
                         1);
  }
  return 0;
}
#endif

#ifdef ZAV_PEER_PIXMAN
void RegisterPixman(const char* kernel, int32_t source, int32_t dest, pixman_format_code_t from,
                    pixman_format_code_t to) {
  Register(kernel, "pixman", source, dest, [=](Buffers& b) {
    auto* source_bits = const_cast<uint32_t*>(reinterpret_cast<const uint32_t*>(b.source()));
    auto* dest_bits = reinterpret_cast<uint32_t*>(b.dest());
    pixman_image_t* source_image =
        pixman_image_create_bits(from, b.side, b.side, source_bits, b.source_pitch());
    pixman_image_t* dest_image =
        pixman_image_create_bits(to, b.side, b.side, dest_bits, b.dest_pitch());
    pixman_image_composite32(PIXMAN_OP_SRC, source_image, nullptr, dest_image, 0, 0, 0, 0, 0, 0,
                             b.side, b.side);
    pixman_image_unref(source_image);
    pixman_image_unref(dest_image);
  });
}
#endif

#ifdef ZAV_PEER_OPENCV
void RegisterOpencv(const char* kernel, int32_t source, int32_t dest, int code) {
  Register(kernel, "opencv", source, dest, [=](Buffers& b) {
    const cv::Mat from(b.side, b.side, CV_8UC(BytesPerPixel(source)),
                       const_cast<uint8_t*>(b.source()), static_cast<size_t>(b.source_pitch()));
    cv::Mat to(b.side, b.side, CV_8UC(BytesPerPixel(dest)), b.dest(),
               static_cast<size_t>(b.dest_pitch()));
    cv::cvtColor(from, to, code, BytesPerPixel(dest));
  });
}
#endif

/// Reads and writes as many bytes in total as the conversion.
void Copy(Buffers& b) {
  const size_t side = static_cast<size_t>(b.side);
  const auto pixel = static_cast<size_t>(BytesPerPixel(b.from.format) + BytesPerPixel(b.to.format));
  const bool widens = b.to.pitch > b.from.pitch;
  // Within the larger buffer, so that the same amount of memory is used.
  uint8_t* const larger = widens ? b.to.pixels : b.from.pixels;
  const size_t half = side * side * pixel / 2;
  const size_t larger_bytes = side * static_cast<size_t>(widens ? b.to.pitch : b.from.pitch);
  std::memcpy(larger + larger_bytes / 2, larger, std::min(half, larger_bytes / 2));
  if (half > larger_bytes / 2) {
    uint8_t* const smaller = widens ? b.from.pixels : b.to.pixels;
    std::memcpy(smaller, larger, half - larger_bytes / 2);
  }
}

void RegisterOurs(const char* kernel, int32_t source, int32_t dest) {
  Register(kernel, "zav", source, dest, Convert);
  Register(kernel, "copy", source, dest, Copy);
  Register(kernel, "plain", source, dest, Convert, true);
}

bool RegisterAll() {
  RegisterOurs("BGRA32ToRGB565", ZAV_FMT_BGRA32, ZAV_FMT_RGB565);
  RegisterOurs("BGRA32ToRGB555", ZAV_FMT_BGRA32, ZAV_FMT_RGB555);
  RegisterOurs("BGRA32ToARGB4444", ZAV_FMT_BGRA32, ZAV_FMT_ARGB4444);
  RegisterOurs("BGRA32ToARGB1555", ZAV_FMT_BGRA32, ZAV_FMT_ARGB1555);
  RegisterOurs("RGBA32ToRGB565", ZAV_FMT_RGBA32, ZAV_FMT_RGB565);
  RegisterOurs("BGR24ToRGB565", ZAV_FMT_BGR24, ZAV_FMT_RGB565);
  RegisterOurs("RGB24ToRGB565", ZAV_FMT_RGB24, ZAV_FMT_RGB565);
  RegisterOurs("RGB565ToBGRA32", ZAV_FMT_RGB565, ZAV_FMT_BGRA32);
  RegisterOurs("RGB555ToBGRA32", ZAV_FMT_RGB555, ZAV_FMT_BGRA32);
  RegisterOurs("ARGB4444ToBGRA32", ZAV_FMT_ARGB4444, ZAV_FMT_BGRA32);
  RegisterOurs("ARGB1555ToBGRA32", ZAV_FMT_ARGB1555, ZAV_FMT_BGRA32);
#ifdef ZAV_PEER_LIBYUV
  RegisterLibyuv("BGRA32ToRGB565", ZAV_FMT_BGRA32, ZAV_FMT_RGB565, libyuv::ARGBToRGB565);
  RegisterLibyuv("BGRA32ToARGB4444", ZAV_FMT_BGRA32, ZAV_FMT_ARGB4444, libyuv::ARGBToARGB4444);
  RegisterLibyuv("BGRA32ToARGB1555", ZAV_FMT_BGRA32, ZAV_FMT_ARGB1555, libyuv::ARGBToARGB1555);
  RegisterLibyuv("BGR24ToRGB565", ZAV_FMT_BGR24, ZAV_FMT_RGB565, Rgb24ToRgb565);
  RegisterLibyuv("RGB565ToBGRA32", ZAV_FMT_RGB565, ZAV_FMT_BGRA32, libyuv::RGB565ToARGB);
  RegisterLibyuv("ARGB4444ToBGRA32", ZAV_FMT_ARGB4444, ZAV_FMT_BGRA32, libyuv::ARGB4444ToARGB);
  RegisterLibyuv("ARGB1555ToBGRA32", ZAV_FMT_ARGB1555, ZAV_FMT_BGRA32, libyuv::ARGB1555ToARGB);
#endif
#ifdef ZAV_PEER_PIXMAN
  const struct {
    const char* name;
    int32_t format;
    pixman_format_code_t code;
  } kLayouts[] = {{"RGB565", ZAV_FMT_RGB565, PIXMAN_r5g6b5},
                  {"RGB555", ZAV_FMT_RGB555, PIXMAN_x1r5g5b5},
                  {"ARGB4444", ZAV_FMT_ARGB4444, PIXMAN_a4r4g4b4},
                  {"ARGB1555", ZAV_FMT_ARGB1555, PIXMAN_a1r5g5b5}};
  for (const auto& layout : kLayouts) {
    RegisterPixman(("BGRA32To" + std::string(layout.name)).c_str(), ZAV_FMT_BGRA32, layout.format,
                   PIXMAN_a8r8g8b8, layout.code);
    RegisterPixman((std::string(layout.name) + "ToBGRA32").c_str(), layout.format, ZAV_FMT_BGRA32,
                   layout.code, PIXMAN_a8r8g8b8);
  }
  RegisterPixman("RGBA32ToRGB565", ZAV_FMT_RGBA32, ZAV_FMT_RGB565, PIXMAN_a8b8g8r8, PIXMAN_r5g6b5);
  RegisterPixman("BGR24ToRGB565", ZAV_FMT_BGR24, ZAV_FMT_RGB565, PIXMAN_r8g8b8, PIXMAN_r5g6b5);
#endif
#ifdef ZAV_PEER_OPENCV
  RegisterOpencv("BGRA32ToRGB565", ZAV_FMT_BGRA32, ZAV_FMT_RGB565, cv::COLOR_BGRA2BGR565);
  RegisterOpencv("BGRA32ToRGB555", ZAV_FMT_BGRA32, ZAV_FMT_RGB555, cv::COLOR_BGRA2BGR555);
  RegisterOpencv("RGBA32ToRGB565", ZAV_FMT_RGBA32, ZAV_FMT_RGB565, cv::COLOR_RGBA2BGR565);
  RegisterOpencv("BGR24ToRGB565", ZAV_FMT_BGR24, ZAV_FMT_RGB565, cv::COLOR_BGR2BGR565);
  RegisterOpencv("RGB24ToRGB565", ZAV_FMT_RGB24, ZAV_FMT_RGB565, cv::COLOR_RGB2BGR565);
  RegisterOpencv("RGB565ToBGRA32", ZAV_FMT_RGB565, ZAV_FMT_BGRA32, cv::COLOR_BGR5652BGRA);
  RegisterOpencv("RGB555ToBGRA32", ZAV_FMT_RGB555, ZAV_FMT_BGRA32, cv::COLOR_BGR5552BGRA);
  cv::setNumThreads(1);
#endif
  return true;
}

[[maybe_unused]] const bool g_registered = RegisterAll();

}  // namespace
}  // namespace zav::test
