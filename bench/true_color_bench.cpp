// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <cstring>
#include <functional>
#include <string>

#include "base/heap.h"
#include "encodings/true_color.h"
#include "encodings/true_color_rows.h"
#include "platform/stream_copy.h"
#include "platform/vector_target.h"
#include "support/pictures.h"
#include "surface/copy.h"
#include "surface/row_walker.h"
#include "surface/surface.h"

#ifdef ZAV_PEER_LIBYUV
#include <libyuv.h>
#endif

// Rows are named TrueColor/kernel/side/implementation. "memcpy" and "streamed" copy half of the
// bytes that the kernel reads and writes, and so move as many. "plain" is the plain twin in the
// same walk.

namespace zav {
namespace {

constexpr int32_t kTiny = 64;     // source and destination together fit the first-level cache
constexpr int32_t kSmall = 256;   // source and destination together fit the second-level cache
constexpr int32_t kLarge = 4096;  // neither fits any cache

using Peer = int (*)(const uint8_t* source, int source_pitch, uint8_t* dest, int dest_pitch,
                     int width, int height);

struct KernelCase {
  const char* name;
  int32_t source_format, dest_format;
  bool (*kernel)(ZAV_CONVERTER& converter);
  Peer peer;
};

/// The library only swaps 24-bit pixels in place; the peer copies.
bool SwapRows24(ZAV_CONVERTER& converter) {
  const TrueColorTables& tables = SelectedTrueColor();
  WalkRows(Rows(converter), tables.rows.swap_red_blue_24, tables.streaming.swap_red_blue_24);
  return true;
}

#ifdef ZAV_PEER_LIBYUV
#define ZAV_LIBYUV(function) libyuv::function
#else
#define ZAV_LIBYUV(function) nullptr
#endif

const KernelCase kCases[] = {
    {"swap_32", ZAV_FMT_RGBA32, ZAV_FMT_BGRA32, SwapRedBlue32, ZAV_LIBYUV(ARGBToABGR)},
    {"swap_24", ZAV_FMT_RGB24, ZAV_FMT_BGR24, SwapRows24, ZAV_LIBYUV(RAWToRGB24)},
    {"narrow_32_to_24", ZAV_FMT_BGRA32, ZAV_FMT_BGR24, Narrow32To24, ZAV_LIBYUV(ARGBToRGB24)},
    {"narrow_32_to_24_swap", ZAV_FMT_BGRA32, ZAV_FMT_RGB24, Narrow32To24Swap,
     ZAV_LIBYUV(ARGBToRAW)},
    {"widen_24_to_32", ZAV_FMT_BGR24, ZAV_FMT_BGRA32, Widen24To32, ZAV_LIBYUV(RGB24ToARGB)},
    {"widen_24_to_32_swap", ZAV_FMT_RGB24, ZAV_FMT_BGRA32, Widen24To32Swap, ZAV_LIBYUV(RAWToARGB)},
    {"lookup_32", ZAV_FMT_PAL8, ZAV_FMT_BGRA32, Pal8ToBgra32, nullptr},
    {"lookup_24", ZAV_FMT_PAL8, ZAV_FMT_BGR24, Pal8ToBgr24, nullptr},
};

/// The buffers that all cases share: noise to read, and written pages to write to.
struct Buffers {
  Buffers() {
    test::Random random(1);
    for (int64_t i = 0; i < kBytes; i += 4) {
      const uint32_t noise = random.Next();
      std::memcpy(source + i, &noise, 4);
    }
    std::memset(dest, 1, kBytes);
    std::memcpy(palette, source, sizeof(palette));
  }

  static constexpr int64_t kBytes = int64_t{kLarge} * kLarge * 4;
  uint8_t* source = AllocateBytes(kBytes);
  uint8_t palette[ZAV_PALETTE_BYTES];
  uint8_t* dest = AllocateBytes(kBytes);
};

Buffers& SharedBuffers() {
  static Buffers buffers;
  return buffers;
}

void Run(benchmark::State& state, size_t moved, const std::function<void()>& body) {
  for (auto _ : state) {
    body();
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(moved));
}

ZAV_CONVERTER Prepare(const KernelCase& c, int32_t side) {
  ZAV_CONVERTER converter{};
  SetDefinition(converter.source, side, side, c.source_format);
  SetDefinition(converter.dest, side, side, c.dest_format);
  converter.source.pixels = SharedBuffers().source;
  converter.source.palette = SharedBuffers().palette;
  converter.dest.pixels = SharedBuffers().dest;
  return converter;
}

void RunKernel(benchmark::State& state, const KernelCase& c, int32_t side, size_t moved) {
  ZAV_CONVERTER converter = Prepare(c, side);
  Run(state, moved, [&] { c.kernel(converter); });
}

template <typename Body>
void Register(const KernelCase& c, int32_t side, const char* implementation, Body body) {
  const auto name =
      std::string("TrueColor/") + c.name + "/" + std::to_string(side) + "/" + implementation;
  const auto pixels = static_cast<size_t>(side) * static_cast<size_t>(side);
  const size_t moved =
      pixels * static_cast<size_t>(BytesPerPixel(c.source_format) + BytesPerPixel(c.dest_format));
  benchmark::RegisterBenchmark(name.c_str(),
                               [=, &c](benchmark::State& state) { body(state, c, side, moved); });
}

void RegisterCase(const KernelCase& c, int32_t side) {
  Register(c, side, "zav", RunKernel);
  Register(c, side, "plain", [](benchmark::State& state, auto&... rest) {
    ForceVectorTarget({0, "plain"});
    RunKernel(state, rest...);
    RestoreVectorTarget();
  });
  Register(c, side, "memcpy", [](benchmark::State& state, auto&, auto, size_t moved) {
    Run(state, moved,
        [=] { std::memcpy(SharedBuffers().dest, SharedBuffers().source, moved / 2); });
  });
  if (side == kLarge) {
    Register(c, side, "streamed", [](benchmark::State& state, auto&, auto, size_t moved) {
      Run(state, moved, [=] {
        StreamCopy(SharedBuffers().dest, SharedBuffers().source, moved / 2);
        StreamFence();
      });
    });
  }
  if (c.peer == nullptr) return;
  Register(c, side, "libyuv", [](benchmark::State& state, auto& peer_case, auto s, size_t moved) {
    const ZAV_CONVERTER converter = Prepare(peer_case, s);
    Run(state, moved, [&] {
      peer_case.peer(converter.source.pixels, converter.source.pitch, converter.dest.pixels,
                     converter.dest.pitch, s, s);
    });
  });
}

/// A copy of a large picture into rows with padding.
void CopyPadded(benchmark::State& state, bool library) {
  constexpr int64_t kRow = kLarge * 3, kPitch = kRow + 64;
  const Buffers& buffers = SharedBuffers();
  Run(state, size_t{2} * kLarge * kRow, [&] {
    if (library) {
      CopyRows(buffers.dest, buffers.source, kRow, kLarge, kPitch, kRow);
      return;
    }
    for (int64_t y = 0; y < kLarge; ++y) {
      std::memcpy(buffers.dest + y * kPitch, buffers.source + y * kRow, kRow);
    }
  });
}

const bool kRegistered = [] {
  for (const KernelCase& c : kCases) {
    RegisterCase(c, kTiny);
    RegisterCase(c, kSmall);
    RegisterCase(c, kLarge);
  }
  benchmark::RegisterBenchmark("Copy/padded_rows/4096/zav", CopyPadded, true);
  benchmark::RegisterBenchmark("Copy/padded_rows/4096/memcpy", CopyPadded, false);
  return true;
}();

}  // namespace
}  // namespace zav
