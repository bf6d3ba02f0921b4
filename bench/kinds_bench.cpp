// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <cstring>

#include "packer_content.h"
#include "platform/mapped_file.h"
#include "support/container_files.h"
#include "support/pictures.h"

namespace {

using zav::test::Image;
using zav::test::Layer;
using zav::test::PackerContent;
using zav::test::Picture;
using zav::test::TemporaryFile;

constexpr int32_t kSide = 2048;
constexpr int32_t kCell = 128;
constexpr int64_t kBytes = int64_t{kSide} * kSide * 4;

/// A sheet of 16 x 16 sprites: round ones of different sizes with the grain of photographs, on
/// transparent ground.
Picture& SpriteSheet() {
  static Picture picture = [] {
    Picture made = zav::test::NoisePicture(ZAV_FMT_BGRA32, kSide, kSide, 0, 1);
    // 32 sprites before one repeats, further away than the packer searches.
    const auto photo = zav::test::MakePackerContent(PackerContent::kInterleaved, 256 * 2048 * 4);
    for (int32_t y = 0; y < kSide; ++y) {
      for (int32_t x = 0; x < kSide; ++x) {
        const int32_t cell = y / kCell * (kSide / kCell) + x / kCell;
        const int32_t dx = x % kCell - kCell / 2, dy = y % kCell - kCell / 2;
        const int32_t radius = 20 + cell * 7 % 40;
        const int32_t at =
            (cell % 16 * kCell + y % kCell) * 256 + cell / 16 % 2 * kCell + x % kCell;
        uint8_t* pixel = made.Row(y) + x * 4;
        const bool inside = dx * dx + dy * dy < radius * radius;
        std::memset(pixel, 0, 4);
        if (inside) std::memcpy(pixel, &photo[static_cast<size_t>(at) * 4], 4);
      }
    }
    return made;
  }();
  return picture;
}

void WriteFile(const TemporaryFile& file, int kind, ZAV_LAYER layer) {
  void* stream = ZAV_OPEN_WRITE(file.path());
  zav::test::WriteImageOf(kind, stream, nullptr, &layer, &SpriteSheet().definition);
  ZAV_CLOSE(stream);
}

void Count(benchmark::State& state, const TemporaryFile& file) {
  state.SetBytesProcessed(state.iterations() * kBytes);
  const zav::MappedFile written(file.path());
  state.counters["bytes"] = static_cast<double>(written.Size());
}

void Write(benchmark::State& state, int kind, const ZAV_LAYER& layer) {
  const TemporaryFile file;
  WriteFile(file, kind, layer);  // every round truncates a file of the same size
  for (auto _ : state) WriteFile(file, kind, layer);
  Count(state, file);
}

void Read(benchmark::State& state, int kind, const ZAV_LAYER& layer) {
  const TemporaryFile file;
  WriteFile(file, kind, layer);
  for (auto _ : state) {
    Image image;
    if (ZAV_CONVERT_FILE(&image, file.path()) != 1) state.SkipWithError("not read");
    benchmark::DoNotOptimize(image.source.pixels);
  }
  Count(state, file);
}

const ZAV_LAYER kPlain = Layer(ZAV_LAYER_TRUE32, {2});
const ZAV_LAYER kPacked = Layer(ZAV_LAYER_PACKED32, {2, 8, 8, 8, 8});

// Most of the cost of plain layers is the system's, so the clock counts.
[[maybe_unused]] const bool g_registered = [] {
  const std::pair<const char*, int> kinds[] = {{"image", ZAV_REC_IMAGE},
                                               {"squiz", ZAV_REC_SQUIZ},
                                               {"tiled", ZAV_REC_TILED},
                                               {"mipmap", ZAV_REC_MIPMAP}};
  for (const auto& row : kinds) {
    const int kind = row.second;
    for (const bool packed : {false, true}) {
      const std::string end = std::string(row.first) + (packed ? "/2048/zav" : "_plain/2048/zav");
      const auto add = [&](const std::string& start, auto run) {
        benchmark::RegisterBenchmark(
            (start + end).c_str(),
            [=](benchmark::State& state) { run(state, kind, packed ? kPacked : kPlain); })
            ->UseRealTime()
            ->Unit(benchmark::kMillisecond);
      };
      add("Kinds/write_", Write);
      if (kind != ZAV_REC_MIPMAP) add("Kinds/read_", Read);
    }
  }
  return true;
}();

}  // namespace
