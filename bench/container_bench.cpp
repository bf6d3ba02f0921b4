// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include "platform/mapped_file.h"
#include "support/container_files.h"
#include "support/pictures.h"

namespace {

using zav::test::Image;
using zav::test::Layer;
using zav::test::Picture;
using zav::test::TemporaryFile;

constexpr int32_t kSide = 4096;
constexpr int64_t kBytes = int64_t{kSide} * kSide * 4;

/// Gradients with a little noise in every channel, as photographs have.
Picture& Photograph() {
  static Picture picture = [] {
    Picture made = zav::test::AsymmetricPicture(kSide, kSide);
    zav::test::Random random(1);
    for (int32_t y = 0; y < kSide; ++y) {
      for (int32_t x = 0; x < kSide * 4; ++x) {
        made.Row(y)[x] = static_cast<uint8_t>((x / 4 + y) / 16 + static_cast<int>(random.Below(4)));
      }
    }
    return made;
  }();
  return picture;
}

void WriteFile(const TemporaryFile& file, ZAV_LAYER layer) {
  void* stream = ZAV_OPEN_WRITE(file.path());
  ZAV_WRITE_IMAGE(stream, nullptr, &layer, &Photograph().definition);
  ZAV_CLOSE(stream);
}

void Write(benchmark::State& state, ZAV_LAYER layer) {
  const TemporaryFile file;
  WriteFile(file, layer);  // every round truncates a file of the same size
  for (auto _ : state) WriteFile(file, layer);
  state.SetBytesProcessed(state.iterations() * kBytes);
  const zav::MappedFile written(file.path());
  state.counters["ratio"] = static_cast<double>(written.Size()) / static_cast<double>(kBytes);
}

void BareWrite(benchmark::State& state) {
  const TemporaryFile file;
  const uint8_t* pixels = Photograph().pixels.data();
  WriteFile(file, Layer(ZAV_LAYER_TRUE32, {2}));
  for (auto _ : state) {
    const int descriptor = open(file.path(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    benchmark::DoNotOptimize(write(descriptor, pixels, kBytes));
    close(descriptor);
  }
  state.SetBytesProcessed(state.iterations() * kBytes);
}

/// Reads one byte of every page, the least that any use of the pixels does.
uint32_t WalkPages(const uint8_t* bytes) {
  uint32_t sum = 0;
  for (int64_t i = 0; i < kBytes; i += 4096) sum += bytes[i];
  return sum;
}

void Read(benchmark::State& state, ZAV_LAYER layer) {
  const TemporaryFile file;
  WriteFile(file, layer);
  for (auto _ : state) {
    const zav::MappedFile mapped(file.path());
    void* stream = ZAV_OPEN_READ(mapped.Data(), static_cast<int>(mapped.Size()));
    ZAV_LAYER header = Layer(ZAV_REC_IMAGE);
    Image image;
    ZAV_READ_LAYER(stream, &header);
    if (ZAV_DECODE_BITMAP(stream, &image) != 0) state.SkipWithError("not read");
    benchmark::DoNotOptimize(WalkPages(image.source.pixels));
    ZAV_CLOSE(stream);
  }
  state.SetBytesProcessed(state.iterations() * kBytes);
}

void PageWalk(benchmark::State& state) {
  const TemporaryFile file;
  WriteFile(file, Layer(ZAV_LAYER_TRUE32, {2}));
  for (auto _ : state) {
    const zav::MappedFile mapped(file.path());
    benchmark::DoNotOptimize(WalkPages(mapped.Data()));
  }
  state.SetBytesProcessed(state.iterations() * kBytes);
}

// Most of the cost is the system's, so the clock counts.
void Register(const char* name, void (*run)(benchmark::State& state)) {
  benchmark::RegisterBenchmark(name, run)->UseRealTime()->Unit(benchmark::kMillisecond);
}

const ZAV_LAYER kPlain = Layer(ZAV_LAYER_TRUE32, {2});
const ZAV_LAYER kPlanes = Layer(ZAV_LAYER_PACKED32, {2, 8, 8, 8, 8});
const ZAV_LAYER kInterleaved = Layer(ZAV_LAYER_PACKED32, {2 + 4, 8, 8, 8, 8});

[[maybe_unused]] const bool g_registered = [] {
  using benchmark::State;
  Register("Container/write_plain/4096/zav", [](State& state) { Write(state, kPlain); });
  Register("Container/write_plain/4096/bare_write", BareWrite);
  Register("Container/read_plain/4096/zav", [](State& state) { Read(state, kPlain); });
  Register("Container/read_plain/4096/page_walk", PageWalk);
  Register("Container/write_planes/4096/zav", [](State& state) { Write(state, kPlanes); });
  Register("Container/read_planes/4096/zav", [](State& state) { Read(state, kPlanes); });
  Register("Container/write_packed/4096/zav", [](State& state) { Write(state, kInterleaved); });
  Register("Container/read_packed/4096/zav", [](State& state) { Read(state, kInterleaved); });
  return true;
}();

}  // namespace
