// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// dxt_quality TEXTURES: how close DXT blocks come to their pictures and how fast they are encoded,
// by this library and its peers, on the textures picked by dxt_textures.py. Single-threaded; the
// best of several runs, with every peer in each run. Colors are measured in DXT1 with opaque
// pixels, alpha in DXT5. PSNR is given over all textures together ("pooled") and as the mean over
// textures; "shown" decodes as hardware does, "own" as the library does.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>
#include <vector>

#include "base/endian.h"
#include "codecs/dxt_encoder.h"
#include "encodings/dxt.h"

#ifdef ZAV_PEER_STB_DXT
#define STB_DXT_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wall"
#pragma GCC diagnostic ignored "-Wextra"
#pragma GCC diagnostic ignored "-Wconversion"
#include <stb_dxt.h>
#pragma GCC diagnostic pop
#endif
#ifdef ZAV_PEER_SQUISH
#include <squish.h>
#endif

namespace {

using Bytes = std::vector<uint8_t>;

struct Texture {
  int width, height;
  Bytes bgra, rgba;
};

std::vector<Texture> Load(const std::string& directory, const std::string& prefix, bool opaque) {
  std::vector<std::string> paths;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    const std::string name = entry.path().filename();
    if (name.rfind(prefix, 0) == 0 && name.ends_with(".bgra")) paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  std::vector<Texture> textures;
  for (const std::string& path : paths) {
    std::ifstream file(path, std::ios::binary);
    const Bytes bytes((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    Texture texture{static_cast<int>(zav::LoadLe32(bytes.data())),
                    static_cast<int>(zav::LoadLe32(&bytes[4])),
                    Bytes(bytes.begin() + 8, bytes.end()),
                    {}};
    for (size_t i = 3; opaque && i < texture.bgra.size(); i += 4) texture.bgra[i] = 255;
    texture.rgba = texture.bgra;
    for (size_t i = 0; i < texture.rgba.size(); i += 4)
      std::swap(texture.rgba[i], texture.rgba[i + 2]);
    textures.push_back(std::move(texture));
  }
  return textures;
}

// ---- standard decoding --------------------------------------------------------------------------

void ShowColors(const uint8_t* block, bool dxt1, uint8_t* out, int pitch) {
  const uint32_t words[2] = {zav::LoadLe16(block), zav::LoadLe16(block + 2)};
  const bool four = !dxt1 || words[0] > words[1];
  int colors[4][4] = {};
  for (int i = 0; i < 2; ++i) {
    const int red = words[i] >> 11, green = words[i] >> 5 & 63, blue = words[i] & 31;
    colors[i][0] = blue << 3 | blue >> 2;
    colors[i][1] = green << 2 | green >> 4;
    colors[i][2] = red << 3 | red >> 2;
  }
  for (int k = 0; k < 3; ++k) {
    const int a = colors[0][k], b = colors[1][k];
    colors[2][k] = four ? (2 * a + b) / 3 : (a + b) / 2;
    colors[3][k] = four ? (a + 2 * b) / 3 : 0;
  }
  for (int i = 0; i < 16; ++i) {
    const int* color = colors[block[4 + i / 4] >> i % 4 * 2 & 3];
    for (int k = 0; k < 3; ++k) out[i / 4 * pitch + i % 4 * 4 + k] = static_cast<uint8_t>(color[k]);
  }
}

Bytes Show(const Bytes& blocks, const Texture& texture, int variant) {
  Bytes out(texture.bgra.size());
  const int pitch = texture.width * 4;
  if (variant == 5) {  // alpha is decoded alike everywhere
    zav::DxtJob job;
    job.width = texture.width, job.height = texture.height, job.pitch = pitch;
    job.blocks = const_cast<uint8_t*>(blocks.data());
    job.pixels = out.data();
    zav::DecodeDXT5(job);
  }
  const uint8_t* block = blocks.data();
  for (int y = 0; y < texture.height; y += 4) {
    for (int x = 0; x < texture.width; x += 4, block += variant == 1 ? 8 : 16) {
      ShowColors(variant == 1 ? block : block + 8, variant == 1,
                 &out[static_cast<size_t>(y * pitch + x * 4)], pitch);
    }
  }
  return out;
}

Bytes DecodeOwn(const Bytes& blocks, const Texture& texture, int variant) {
  Bytes out(texture.bgra.size());
  zav::DxtJob job;
  job.width = texture.width, job.height = texture.height, job.pitch = texture.width * 4;
  job.blocks = const_cast<uint8_t*>(blocks.data());
  job.pixels = out.data();
  variant == 1 ? zav::DecodeDXT1(job) : zav::DecodeDXT5(job);
  return out;
}

// ---- measuring ----------------------------------------------------------------------------------

/// Squared differences and their count.
struct Errors {
  double sum = 0;
  double count = 0;
  double Psnr() const {
    return sum > 0 ? std::min(60.0, 10 * std::log10(65025 * count / sum)) : 60;
  }
  void Add(const Errors& other) { sum += other.sum, count += other.count; }
};

Errors Compare(const Bytes& a, const Bytes& b, bool alpha) {
  Errors errors;
  for (size_t i = 0; i < a.size(); ++i) {
    if ((i % 4 == 3) != alpha) continue;
    const double d = double{1} * a[i] - b[i];
    errors.sum += d * d;
    errors.count += 1;
  }
  return errors;
}

using Encode = std::function<void(const Texture& texture, uint8_t* blocks)>;

struct Peer {
  std::string name;
  int runs;
  Encode encode;
};

#ifdef ZAV_PEER_STB_DXT
Encode StbEncode(int variant, int mode) {
  return [=](const Texture& texture, uint8_t* blocks) {
    for (int y = 0; y < texture.height; y += 4) {
      for (int x = 0; x < texture.width; x += 4, blocks += variant == 1 ? 8 : 16) {
        uint8_t block[64];
        for (int row = 0; row < 4; ++row) {
          std::memcpy(block + row * 16,
                      &texture.rgba[static_cast<size_t>(((y + row) * texture.width + x) * 4)], 16);
        }
        stb_compress_dxt_block(blocks, block, variant == 5, mode);
      }
    }
  };
}
#endif

std::vector<Peer> Peers(int variant) {
  std::vector<Peer> peers;
  peers.push_back({"zav", 15, [=](const Texture& t, uint8_t* blocks) {
                     zav::EncodeDxt(variant, t.bgra.data(), t.width, t.height, t.width * 4, blocks);
                   }});
#ifdef ZAV_PEER_STB_DXT
  peers.push_back({"stb normal", 15, StbEncode(variant, STB_DXT_NORMAL)});
  peers.push_back({"stb high quality", 15, StbEncode(variant, STB_DXT_HIGHQUAL)});
#endif
#ifdef ZAV_PEER_SQUISH
  for (const auto& [name, fit] : {std::pair{"squish range fit", squish::kColourRangeFit},
                                  std::pair{"squish cluster fit", squish::kColourClusterFit}}) {
    const int flags = (variant == 1 ? squish::kDxt1 : squish::kDxt5) | fit;
    peers.push_back({name, 1, [flags](const Texture& t, uint8_t* blocks) {
                       squish::CompressImage(t.rgba.data(), t.width, t.height, blocks, flags);
                     }});
  }
#endif
  return peers;
}

void Measure(const std::vector<Texture>& textures, int variant, bool alpha) {
  std::printf("\nDXT%d, %s, %zu textures\n%-20s %14s %12s %14s %8s %s\n", variant,
              alpha ? "alpha" : "colors", textures.size(), "", "shown: pooled", "mean",
              "own: pooled", "MP/s", "time against zav");
  double zav_seconds = 0;
  for (const Peer& peer : Peers(variant)) {
    Errors shown, own;
    double seconds = 0, pixels = 0, mean = 0;
    for (const Texture& texture : textures) {
      Bytes blocks(texture.bgra.size() / (variant == 1 ? 8 : 4));
      double best = 1e9;
      for (int run = 0; run < peer.runs; ++run) {
        const auto start = std::chrono::steady_clock::now();
        peer.encode(texture, blocks.data());
        const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
        best = std::min(best, taken.count());
      }
      seconds += best;
      pixels += texture.width * texture.height;
      const Errors errors = Compare(Show(blocks, texture, variant), texture.bgra, alpha);
      shown.Add(errors);
      mean += errors.Psnr() / static_cast<double>(textures.size());
      own.Add(Compare(DecodeOwn(blocks, texture, variant), texture.bgra, alpha));
    }
    if (zav_seconds == 0) zav_seconds = seconds;
    std::printf("%-20s %11.2f dB %9.2f dB %11.2f dB %8.1f %.2f\n", peer.name.c_str(), shown.Psnr(),
                mean, own.Psnr(), pixels / seconds / 1e6, seconds / zav_seconds);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) {
    std::fprintf(stderr, "usage: dxt_quality DIRECTORY (made by dxt_textures.py)\n");
    return 1;
  }
  const std::vector<Texture> colors = Load(argv[1], "color_", true);
  Measure(colors, 1, false);
  Measure(colors, 5, false);
  Measure(Load(argv[1], "alpha_", false), 5, true);
}
