// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "encodings/planes.h"
#include "support/pictures.h"

#ifdef ZAV_PEER_LIBYUV
#include <libyuv.h>
#endif

// Rows are named Planes/kernel/pixels/implementation. "memcpy" copies the bytes of the pixels.

namespace zav {
namespace {

/// Pixels and their planes, of noise.
struct Buffers {
  explicit Buffers(size_t pixel_count)
      : count(pixel_count),
        pixels(test::NoiseBytes(4 * count, 1)),
        plane_bytes(test::NoiseBytes(4 * count, 2)) {
    for (size_t c = 0; c < 4; ++c) planes[c] = plane_bytes.data() + c * count;
  }
  size_t count;
  std::vector<uint8_t> pixels, plane_bytes;
  uint8_t* planes[4];
};

using Body = void (*)(Buffers& buffers);

template <const PlaneRows& (*kRows)(), InterleaveRow PlaneRows::*kInterleave>
void Interleave(Buffers& buffers) {
  (kRows().*kInterleave)(buffers.planes, buffers.pixels.data(), buffers.count);
}

template <const PlaneRows& (*kRows)()>
void Split(Buffers& buffers) {
  kRows().split4(buffers.pixels.data(), buffers.planes, buffers.count);
}

template <size_t kPixelBytes>
void Copy(Buffers& buffers) {
  std::memcpy(buffers.pixels.data(), buffers.plane_bytes.data(), kPixelBytes * buffers.count);
}

#ifdef ZAV_PEER_LIBYUV
void PeerInterleave3(Buffers& b) {
  const auto width = static_cast<int>(b.count);
  libyuv::MergeRGBPlane(b.planes[0], width, b.planes[1], width, b.planes[2], width, b.pixels.data(),
                        3 * width, width, 1);
}
// The peer's pixels are blue, green, red, alpha; its planes red, green, blue, alpha.
void PeerInterleave4(Buffers& b) {
  const auto width = static_cast<int>(b.count);
  libyuv::MergeARGBPlane(b.planes[2], width, b.planes[1], width, b.planes[0], width, b.planes[3],
                         width, b.pixels.data(), 4 * width, width, 1);
}
void PeerSplit4(Buffers& b) {
  const auto width = static_cast<int>(b.count);
  libyuv::SplitARGBPlane(b.pixels.data(), 4 * width, b.planes[2], width, b.planes[1], width,
                         b.planes[0], width, b.planes[3], width, width, 1);
}
#endif

struct Row {
  const char* kernel;
  const char* implementation;
  size_t pixel_bytes;
  Body body;
};

const Row kRows[] = {
    {"interleave3", "zav", 3, Interleave<SelectedPlaneRows, &PlaneRows::interleave3>},
    {"interleave3", "plain", 3, Interleave<PlainPlaneRows, &PlaneRows::interleave3>},
    {"interleave3", "memcpy", 3, Copy<3>},
    {"interleave4", "zav", 4, Interleave<SelectedPlaneRows, &PlaneRows::interleave4>},
    {"interleave4", "plain", 4, Interleave<PlainPlaneRows, &PlaneRows::interleave4>},
    {"interleave4", "memcpy", 4, Copy<4>},
    {"split4", "zav", 4, Split<SelectedPlaneRows>},
    {"split4", "plain", 4, Split<PlainPlaneRows>},
    {"split4", "memcpy", 4, Copy<4>},
#ifdef ZAV_PEER_LIBYUV
    {"interleave3", "libyuv", 3, PeerInterleave3},
    {"interleave4", "libyuv", 4, PeerInterleave4},
    {"split4", "libyuv", 4, PeerSplit4},
#endif
};

const bool kRegistered = [] {
  for (const Row& row : kRows) {
    for (const size_t count : {size_t{1024}, size_t{65536}}) {
      const std::string name = std::string("Planes/") + row.kernel + "/" + std::to_string(count) +
                               "/" + row.implementation;
      benchmark::RegisterBenchmark(name.c_str(), [&row, count](benchmark::State& state) {
        Buffers buffers(count);
        for (auto _ : state) {
          row.body(buffers);
          benchmark::ClobberMemory();
        }
        state.SetBytesProcessed(state.iterations() *
                                static_cast<int64_t>(2 * row.pixel_bytes * count));
      });
    }
  }
  return true;
}();

}  // namespace
}  // namespace zav
