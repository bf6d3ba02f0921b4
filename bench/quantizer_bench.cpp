// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <stdlib.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "encodings/quantizer.h"
#include "support/plain_quantizer.h"

namespace zav::test {
namespace {

void SetPixels(benchmark::State& state, int32_t side) {
  state.SetItemsProcessed(state.iterations() * side * side);
}

void Zav(benchmark::State& state, const ColorPicture& colors, int32_t side) {
  Picture picture = MakeColorPicture(colors, side, side);
  std::vector<uint8_t> dest(static_cast<size_t>(side) * static_cast<size_t>(side));
  std::array<uint8_t, ZAV_PALETTE_BYTES> palette;
  ZAV_CONVERTER converter{};
  converter.source.definition() = picture.definition;
  converter.dest.definition() = picture.definition;
  converter.dest.format = ZAV_FMT_PAL8;
  converter.dest.pixels = dest.data();
  converter.dest.palette = palette.data();
  converter.dest.pitch = side;
  for (auto _ : state) {
    if (!QuantizeToPal8(converter)) state.SkipWithError("failed");
    benchmark::ClobberMemory();
  }
  SetPixels(state, side);
}

void Plain(benchmark::State& state, const ColorPicture& colors, int32_t side) {
  Picture picture = MakeColorPicture(colors, side, side);
  std::vector<uint8_t> dest(static_cast<size_t>(side) * static_cast<size_t>(side));
  std::array<uint8_t, ZAV_PALETTE_BYTES> palette;
  for (auto _ : state) {
    QuantizePlain(picture.definition, dest.data(), side, palette.data());
    benchmark::ClobberMemory();
  }
  SetPixels(state, side);
}

/// PIL measures itself on the same pixels, passed as a file. One iteration is the least of several
/// runs, so the interpreter's start and first use are not included.
void Pil(benchmark::State& state, const ColorPicture& colors, int32_t side) {
  Picture picture = MakeColorPicture(colors, side, side);
  std::string path = "/tmp/zav_quantizer_XXXXXX";
  const int file = mkstemp(path.data());
  const auto size = static_cast<ssize_t>(picture.pixels.size());
  const bool written =
      file >= 0 && write(file, picture.pixels.data(), picture.pixels.size()) == size;
  if (file >= 0) close(file);
  std::string sides = " ";
  sides.append(std::to_string(side)).append(" ").append(std::to_string(side));
  const std::string command =
      "/usr/bin/python3 " ZAV_BENCH_DIR "/pil_quantize.py " + path + sides + " 7 2>/dev/null";
  for (auto _ : state) {
    double seconds = 0;
    std::FILE* output = written ? popen(command.c_str(), "r") : nullptr;
    const bool measured = output != nullptr && std::fscanf(output, "%lf", &seconds) == 1;
    if (output != nullptr) pclose(output);
    if (!measured) {
      state.SkipWithError("PIL is not installed");
      break;
    }
    state.SetIterationTime(seconds);
  }
  unlink(path.c_str());
  SetPixels(state, side);
}

const int kRegistered = [] {
  for (const ColorPicture& colors : ColorPictures()) {
    for (const int32_t side : {64, 512, 2048}) {
      const std::string name =
          "Quantizer/" + std::string(colors.name) + "/" + std::to_string(side) + "/";
      const auto add = [&](const char* implementation, auto body) {
        return benchmark::RegisterBenchmark((name + implementation).c_str(), body, colors, side);
      };
      add("zav", Zav);
      add("plain", Plain);
      add("pil", Pil)->UseManualTime()->Iterations(1);
    }
  }
  return 0;
}();

}  // namespace
}  // namespace zav::test
