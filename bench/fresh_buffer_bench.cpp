// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "zav.h"

// A host's whole conversion into a new buffer that is freed afterwards: "zav" lets the library
// allocate, "malloc" supplies a buffer from malloc, "warm" the same buffer every time, so zav /
// warm shows the cost of fresh memory. The counter has the page faults of a conversion.

namespace {

enum class Buffer { kLibrary, kMalloc, kWarm };

long PageFaults() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_minflt;
}

void ConvertFresh(benchmark::State& state, int32_t width, int32_t height, Buffer buffer) {
  const auto pixels = static_cast<size_t>(width) * static_cast<size_t>(height);
  std::vector<unsigned char> source(pixels * 3, 7);
  std::vector<unsigned char> warm(buffer == Buffer::kWarm ? pixels * 4 : 0, 1);
  ZAV_IMAGE image{};
  ZAV_INIT(&image);
  const long faults = PageFaults();
  for (auto _ : state) {
    image.source = ZAV_GFXDEF{};
    image.source.pixels = source.data();
    image.source.width = width;
    image.source.height = height;
    image.source.format = ZAV_FMT_BGR24;
    image.dest = ZAV_GFXDEF{};
    image.dest.format = ZAV_FMT_BGRA32;
    if (buffer == Buffer::kMalloc) {
      image.dest.pixels = static_cast<unsigned char*>(std::malloc(pixels * 4));
    } else if (buffer == Buffer::kWarm) {
      image.dest.pixels = warm.data();
    }
    if (image.dest.pixels != nullptr) image.dest.pitch = width * 4;
    if (ZAV_CONVERT_RAW(&image) != 1) state.SkipWithError("the conversion failed");
    benchmark::DoNotOptimize(image.dest.pixels[pixels * 4 - 1]);
    if (buffer == Buffer::kLibrary) {
      ZAV_DETACH(&image);
    }
    if (buffer != Buffer::kWarm) std::free(image.dest.pixels);
  }
  state.counters["faults"] =
      static_cast<double>(PageFaults() - faults) / static_cast<double>(state.iterations());
  image.dest.pixels = nullptr;
  ZAV_FREE(&image);
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(pixels * 7));
}

const bool kRegistered = [] {
  struct Size {
    int32_t width, height;
  };
  for (const Size size :
       {Size{640, 480}, Size{1024, 768}, Size{1024, 1024}, Size{1920, 1080}, Size{4096, 4096}}) {
    const std::string name = "FreshBuffer/widen_24_to_32/" + std::to_string(size.width) + "x" +
                             std::to_string(size.height) + "/";
    const auto add = [&](const char* implementation, Buffer buffer) {
      benchmark::RegisterBenchmark((name + implementation).c_str(), ConvertFresh, size.width,
                                   size.height, buffer);
    };
    add("zav", Buffer::kLibrary);
    add("malloc", Buffer::kMalloc);
    add("warm", Buffer::kWarm);
  }
  return true;
}();

}  // namespace
