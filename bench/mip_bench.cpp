// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "scaling/mip_filter.h"
#include "support/pictures.h"
#include "surface/surface.h"

#ifdef ZAV_PEER_LIBYUV
#include <libyuv/scale_argb.h>
#endif

namespace zav::test {
namespace {

/// Noise and its level, in buffers of the library.
struct Level {
  explicit Level(int32_t side, bool opaque = false) : half(side / 2) {
    AllocSurface(surfaces.source, side, side, ZAV_FMT_BGRA32);
    AllocSurface(surfaces.dest, half, half, ZAV_FMT_BGRA32);
    Random random(1);
    const int64_t bytes = ImageBytes(surfaces.source);
    for (int64_t i = 0; i < bytes; ++i) {
      surfaces.source.pixels[i] = opaque && i % 4 == 3 ? 255 : random.Byte();
    }
    std::memset(surfaces.dest.pixels, 0, static_cast<size_t>(ImageBytes(surfaces.dest)));
  }
  void Finish(benchmark::State& state) const {
    state.SetItemsProcessed(state.iterations() * half * half);
    state.SetBytesProcessed(state.iterations() * int64_t{half} * half * 20);
  }

  int32_t half;
  ScopedConverter surfaces;
};

void Zav(benchmark::State& state, int32_t side, bool opaque) {
  Level level(side, opaque);
  for (auto _ : state) {
    FilterMipLevel(level.surfaces.source, level.surfaces.dest);
    benchmark::ClobberMemory();
  }
  level.Finish(state);
}

void Plain(benchmark::State& state, int32_t side, bool opaque) {
  Level level(side, opaque);
  const ZAV_SURFACE& source = level.surfaces.source;
  const ZAV_SURFACE& dest = level.surfaces.dest;
  for (auto _ : state) {
    for (int32_t y = 0; y < level.half; ++y) {
      const uint8_t* upper = source.pixels + int64_t{2} * y * source.pitch;
      PlainMipFilter().weighted(upper, upper + source.pitch, dest.pixels + int64_t{y} * dest.pitch,
                                static_cast<size_t>(level.half));
    }
    benchmark::ClobberMemory();
  }
  level.Finish(state);
}

#ifdef ZAV_PEER_LIBYUV
/// Its box filter has no weights, so this is only for orientation.
void Libyuv(benchmark::State& state, int32_t side, bool opaque) {
  Level level(side, opaque);
  const ZAV_SURFACE& source = level.surfaces.source;
  const ZAV_SURFACE& dest = level.surfaces.dest;
  for (auto _ : state) {
    libyuv::ARGBScale(source.pixels, source.pitch, side, side, dest.pixels, dest.pitch, level.half,
                      level.half, libyuv::kFilterBox);
    benchmark::ClobberMemory();
  }
  level.Finish(state);
}
#endif

const int kRegistered = [] {
  for (const auto& [kernel, side] : {std::pair{"weighted", 256}, std::pair{"weighted", 4096},
                                     std::pair{"opaque", 256}, std::pair{"opaque", 4096}}) {
    const bool opaque = kernel[0] == 'o';
    const std::string group = std::string("Mip/") + kernel + "/" + std::to_string(side) + "/";
    const auto add = [&, size = side](const char* implementation, auto body) {
      benchmark::RegisterBenchmark((group + implementation).c_str(), body, size, opaque);
    };
    add("zav", Zav);
    add("plain", Plain);
#ifdef ZAV_PEER_LIBYUV
    add("libyuv", Libyuv);
#endif
  }
  return 0;
}();

}  // namespace
}  // namespace zav::test
