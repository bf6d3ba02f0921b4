// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Scale/<method>_<bytes>_<ratio>/<size>/<implementation>: the loops alone, on prepared surfaces.
// Every implementation makes as many destination pixels; the peers map positions differently.

#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "scaling/scale.h"
#include "support/pictures.h"
#include "support/vector_targets.h"
#include "surface/format_table.h"

#ifdef ZAV_PEER_LIBYUV
#include <libyuv.h>
#endif
#ifdef ZAV_PEER_PIXMAN
#include <pixman.h>
#endif

namespace zav::bench {
namespace {

struct Size {
  const char* name;
  int32_t width;  // of the larger of the two pictures
  int32_t height;
};

// Source and destination in the second-level cache, or both well beyond the last level.
constexpr Size kSizes[] = {{"cache", 240, 180}, {"memory", 4800, 3600}};

// Sides as parts of the larger picture's. The odd ratios have no simple step in either direction.
struct Ratio {
  const char* name;
  int32_t source_part, dest_part, whole;
};

constexpr Ratio kRatios[] = {{"double", 60, 120, 120},      {"half", 120, 60, 120},
                             {"quarter", 120, 30, 120},     {"odd_up_1.53", 78, 120, 120},
                             {"odd_up_3.6", 33, 120, 120},  {"odd_down_1.53", 120, 78, 120},
                             {"odd_down_3.6", 120, 33, 120}};

struct Pictures {
  ZAV_SURFACE source{};
  ZAV_SURFACE dest{};
  std::vector<uint8_t> source_pixels, dest_pixels;

  Pictures(int32_t format, const Size& size, const Ratio& ratio) {
    Fill(source, source_pixels, format, size, ratio.source_part, ratio.whole);
    Fill(dest, dest_pixels, format, size, ratio.dest_part, ratio.whole);
    test::Random random(1);
    for (uint8_t& byte : source_pixels) byte = random.Byte();
  }

  static void Fill(ZAV_SURFACE& surface, std::vector<uint8_t>& pixels, int32_t format,
                   const Size& size, int32_t part, int32_t whole) {
    surface.format = format;
    surface.bytes_per_pixel = BytesPerPixel(format);
    surface.width = static_cast<int32_t>(int64_t{size.width} * part / whole);
    surface.height = static_cast<int32_t>(int64_t{size.height} * part / whole);
    surface.pitch = static_cast<int32_t>(MinPitch(surface.width, surface.height, format));
    pixels.resize(static_cast<size_t>(int64_t{surface.pitch} * surface.height));
    surface.pixels = pixels.data();
  }
};

using Scaling = void (*)(const Pictures& pictures);

void Point(const Pictures& p) { ResamplePoint(p.source, p.dest); }
void Bilinear(const Pictures& p) { ResampleBilinear(p.source, p.dest); }

#ifdef ZAV_PEER_LIBYUV
template <libyuv::FilterMode kMode>
void Libyuv(const Pictures& p) {
  libyuv::ARGBScale(p.source.pixels, p.source.pitch, p.source.width, p.source.height, p.dest.pixels,
                    p.dest.pitch, p.dest.width, p.dest.height, kMode);
}
#endif

#ifdef ZAV_PEER_PIXMAN
template <pixman_filter_t kFilter>
void Pixman(const Pictures& p) {
  const auto image = [](const ZAV_SURFACE& s) {
    return pixman_image_create_bits(PIXMAN_a8r8g8b8, s.width, s.height,
                                    reinterpret_cast<uint32_t*>(s.pixels), s.pitch);
  };
  pixman_image_t* source = image(p.source);
  pixman_image_t* dest = image(p.dest);
  pixman_transform_t transform;
  pixman_transform_init_scale(&transform, (p.source.width << 16) / p.dest.width,
                              (p.source.height << 16) / p.dest.height);
  pixman_image_set_transform(source, &transform);
  pixman_image_set_filter(source, kFilter, nullptr, 0);
  pixman_image_set_repeat(source, PIXMAN_REPEAT_PAD);
  pixman_image_composite32(PIXMAN_OP_SRC, source, nullptr, dest, 0, 0, 0, 0, 0, 0, p.dest.width,
                           p.dest.height);
  pixman_image_unref(source);
  pixman_image_unref(dest);
}
#endif

struct Method {
  const char* name;
  Scaling ours, libyuv, pixman;
};

constexpr Method kMethods[] = {{"point", Point,
#ifdef ZAV_PEER_LIBYUV
                                Libyuv<libyuv::kFilterNone>,
#else
                                nullptr,
#endif
#ifdef ZAV_PEER_PIXMAN
                                Pixman<PIXMAN_FILTER_NEAREST>
#else
                                nullptr
#endif
                               },
                               {"bilinear", Bilinear,
#ifdef ZAV_PEER_LIBYUV
                                Libyuv<libyuv::kFilterBilinear>,
#else
                                nullptr,
#endif
#ifdef ZAV_PEER_PIXMAN
                                Pixman<PIXMAN_FILTER_BILINEAR>
#else
                                nullptr
#endif
                               }};

void Run(benchmark::State& state, Scaling scaling, bool plain, int32_t format, const Size& size,
         const Ratio& ratio) {
  const Pictures pictures(format, size, ratio);
  if (plain) ForceVectorTarget({0, "plain"});
  for (auto _ : state) {
    scaling(pictures);
    benchmark::DoNotOptimize(pictures.dest.pixels);
    benchmark::ClobberMemory();
  }
  if (plain) RestoreVectorTarget();
  state.SetItemsProcessed(static_cast<int64_t>(state.iterations()) * pictures.dest.width *
                          pictures.dest.height);
}

void Register(const Method& method, int32_t format, const Size& size, const Ratio& ratio) {
  const std::string name = std::string("Scale/") + method.name + "_" +
                           std::to_string(BytesPerPixel(format)) + "_" + ratio.name + "/" +
                           size.name + "/";
  const auto add = [&](const char* implementation, Scaling scaling, bool plain) {
    if (scaling == nullptr) return;
    benchmark::RegisterBenchmark((name + implementation).c_str(), [=](benchmark::State& state) {
      Run(state, scaling, plain, format, size, ratio);
    });
  };
  add("zav", method.ours, false);
  add("plain", method.ours, true);
  if (BytesPerPixel(format) != 4) return;
  add("libyuv", method.libyuv, false);
  add("pixman", method.pixman, false);
}

const bool g_registered = [] {
  for (const Method& method : kMethods) {
    for (const int32_t format : {ZAV_FMT_BGRA32, ZAV_FMT_BGR24, ZAV_FMT_RGB565, ZAV_FMT_PAL8}) {
      if (method.ours == Bilinear && BytesPerPixel(format) < 3) continue;
      for (const Size& size : kSizes) {
        for (const Ratio& ratio : kRatios) Register(method, format, size, ratio);
      }
    }
  }
  return true;
}();

}  // namespace
}  // namespace zav::bench
