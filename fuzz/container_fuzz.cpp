// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Reads containers. The mutator starts from containers that the library wrote, joins them, and
// changes many of them in place, so that the readers get past the headers.

#include <algorithm>

#include "support/container_files.h"
#include "support/pictures.h"

// Defined by libFuzzer; absent when files are replayed.
extern "C" __attribute__((weak)) size_t LLVMFuzzerMutate(uint8_t* data, size_t size, size_t limit);

namespace {

using zav::test::Bytes;

/// A container for every kind of image and layer, with pictures below and above the size of a
/// chunk.
const std::vector<Bytes>& Seeds() {
  static const std::vector<Bytes> seeds = [] {
    std::vector<Bytes> written;
    std::vector<ZAV_LAYER> layers = zav::test::EveryLayer();
    for (int kind = ZAV_LAYER_DXT1; kind <= ZAV_LAYER_DXT5; ++kind) {
      for (const int packed : {0, 1}) layers.push_back(zav::test::Layer(kind, {packed}));
    }
    for (const int kind : {ZAV_LAYER_JPEG32, ZAV_LAYER_JPEG24, ZAV_LAYER_JPEGMASK}) {
      layers.push_back(zav::test::Layer(kind, {2, 30}));
    }
    for (const int32_t format : {ZAV_FMT_PAL8, ZAV_FMT_BGRA32}) {
      for (const int32_t side : {3, 40, 131}) {
        zav::test::Picture picture = zav::test::NoisePicture(format, side, side, 0, 1);
        for (uint8_t& byte : picture.pixels) byte &= 0x11;
        for (ZAV_LAYER layer : layers) {
          written.push_back(zav::test::WriteOne(layer, picture.definition));
        }
      }
      // A few blocks, tiles and levels.
      const int32_t sizes[][3] = {{ZAV_REC_SQUIZ, 37, 21},
                                  {ZAV_REC_TILED, 300, 6},
                                  {ZAV_REC_TILED, 3, 520},
                                  {ZAV_REC_MIPMAP, 8, 16}};
      for (const auto& size : sizes) {
        const auto picture = zav::test::SpritePicture(format, size[1], size[2], 8, 1);
        for (ZAV_LAYER layer : layers) {
          written.push_back(zav::test::WriteOne(layer, picture.definition, nullptr, size[0]));
        }
      }
    }
    return written;
  }();
  return seeds;
}

}  // namespace

extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* data, size_t size, size_t limit,
                                          unsigned int seed) {
  zav::test::Random random(seed);
  const Bytes& fresh = Seeds()[random.Below(static_cast<uint32_t>(Seeds().size()))];
  if (size < 60 || random.Below(50) == 0) {
    size = std::min(fresh.size(), limit);
    std::copy_n(fresh.begin(), size, data);
  } else if (random.Below(20) == 0) {
    const size_t joined = std::min(fresh.size() - 4, limit - size);
    std::copy_n(fresh.begin() + 4, joined, data + size);
    size += joined;
  }
  // In place, among the header fields or anywhere, or with another size.
  const size_t header = std::min<size_t>(size, 4 + 49 + 22);
  switch (random.Below(3)) {
    case 0:
      LLVMFuzzerMutate(data + 4, header - 4, header - 4);
      break;
    case 1:
      LLVMFuzzerMutate(data + 4, size - 4, size - 4);
      break;
    default:
      size = LLVMFuzzerMutate(data, size, limit);
  }
  if (random.Below(4) != 0 && size > 4) std::copy_n("ZAV", 4, data);
  return size;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // An exact copy: the sanitizer guards its ends. No reader may change it.
  Bytes block(data, data + size);
  block.shrink_to_fit();
  // A few bytes may be a valid large picture that is all background, which takes too long.
  ZAV_GFXDEF first;
  if (ZAV_GETFILEFORMAT_FROMMEM(&first, "zav", block.data(), static_cast<long>(size)) == 1 &&
      int64_t{first.width} * first.height > 1 << 22) {
    return 0;
  }
  zav::test::Walk(block.data(), size);
  zav::test::Require(std::equal(block.begin(), block.end(), data));
  return 0;
}
