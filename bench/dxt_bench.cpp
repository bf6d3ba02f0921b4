// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// DXT decoding, and encoding by the vector and the plain code. dxt_quality measures quality and the
// encoders of others.

#include <benchmark/benchmark.h>

#include <vector>

#include "codecs/dxt_encoder.h"
#include "encodings/dxt.h"
#include "platform/vector_target.h"
#include "support/pictures.h"

#ifdef ZAV_PEER_SQUISH
#include <squish.h>
#endif

namespace {

constexpr int kSide = 512;

/// Blocks of a picture with some of everything.
std::vector<uint8_t> MakeBlocks(int variant) {
  const zav::test::Picture picture = zav::test::AsymmetricPicture(kSide, kSide);
  std::vector<uint8_t> blocks(static_cast<size_t>(zav::DxtBlockBytes(variant, kSide, kSide)));
  zav::EncodeDxt(variant, picture.pixels.data(), kSide, kSide, kSide * 4, blocks.data());
  return blocks;
}

void Decode(benchmark::State& state, int variant, bool plain) {
  if (plain) zav::ForceVectorTarget({0, "plain"});
  std::vector<uint8_t> blocks = MakeBlocks(variant);
  std::vector<uint8_t> pixels(kSide * kSide * 4);
  zav::DxtJob job;
  job.width = job.height = kSide;
  job.pitch = kSide * 4;
  job.blocks = blocks.data();
  job.pixels = pixels.data();
  for (auto _ : state) {
    variant == 1   ? zav::DecodeDXT1(job)
    : variant == 3 ? zav::DecodeDXT3(job)
                   : zav::DecodeDXT5(job);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kSide * kSide);
  zav::RestoreVectorTarget();
}

void Encode(benchmark::State& state, int variant, bool plain) {
  if (plain) zav::ForceVectorTarget({0, "plain"});
  const zav::test::Picture picture = zav::test::AsymmetricPicture(kSide, kSide);
  std::vector<uint8_t> blocks(static_cast<size_t>(zav::DxtBlockBytes(variant, kSide, kSide)));
  for (auto _ : state) {
    zav::EncodeDxt(variant, picture.pixels.data(), kSide, kSide, kSide * 4, blocks.data());
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kSide * kSide);
  zav::RestoreVectorTarget();
}

#ifdef ZAV_PEER_SQUISH
void DecodeSquish(benchmark::State& state, int variant) {
  const std::vector<uint8_t> blocks = MakeBlocks(variant);
  std::vector<uint8_t> pixels(kSide * kSide * 4);
  const int flags = variant == 1 ? squish::kDxt1 : variant == 3 ? squish::kDxt3 : squish::kDxt5;
  for (auto _ : state) {
    squish::DecompressImage(pixels.data(), kSide, kSide, blocks.data(), flags);
    benchmark::ClobberMemory();
  }
  state.SetItemsProcessed(state.iterations() * kSide * kSide);
}
#endif

[[maybe_unused]] const bool kRegistered = [] {
  for (const int variant : {1, 3, 5}) {
    const std::string kind = "dxt" + std::to_string(variant) + "/512/";
    benchmark::RegisterBenchmark(("Dxt/decode_" + kind + "zav").c_str(), Decode, variant, false);
    benchmark::RegisterBenchmark(("Dxt/decode_" + kind + "plain").c_str(), Decode, variant, true);
#ifdef ZAV_PEER_SQUISH
    benchmark::RegisterBenchmark(("Dxt/decode_" + kind + "squish").c_str(), DecodeSquish, variant);
#endif
    benchmark::RegisterBenchmark(("Dxt/encode_" + kind + "zav").c_str(), Encode, variant, false);
    benchmark::RegisterBenchmark(("Dxt/encode_" + kind + "plain").c_str(), Encode, variant, true);
  }
  return true;
}();

}  // namespace
