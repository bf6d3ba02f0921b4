// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// From a file in memory to 32-bit pixels, by this library and its peers, from the same bytes. Rows
// are called File/<kind>_<content>/<side>/<who>. PIL is timed by a Python program that this one
// runs; its rows hold the best time, the others the mean.

#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <vector>

#include "support/pictures.h"
#include "zav.h"

#ifdef ZAV_PEER_STB
#define STB_IMAGE_STATIC
#define STB_IMAGE_IMPLEMENTATION
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"  // in stb's own code
#endif
#include <stb_image.h>
#endif
#ifdef ZAV_PEER_FREEIMAGE
#include <FreeImage.h>
#endif
#ifdef ZAV_PEER_DEVIL
#include <IL/il.h>
#endif

namespace {

using Bytes = std::vector<uint8_t>;

/// Slopes with the noise of a sensor: neighbours are seldom equal.
void Photo(Bytes& pixels, size_t side, size_t pixel_bytes) {
  zav::test::Random random(3);
  for (size_t i = 0; i < side * side; ++i) {
    const size_t x = i % side;
    const size_t y = i / side;
    const uint32_t noise = random.Below(4) == 0 ? random.Below(3) : 0;
    const size_t values[4] = {x * 200 / side + noise, y * 180 / side + noise, (x + y) * 90 / side,
                              255};
    for (size_t b = 0; b < pixel_bytes; ++b) {
      pixels[i * pixel_bytes + b] = static_cast<uint8_t>(values[b]);
    }
  }
}

/// Overlapping rectangles of one color each, some of them tiny.
void FlatArt(Bytes& pixels, size_t side, size_t pixel_bytes) {
  zav::test::Random random(4);
  for (int i = 0; i < 1500; ++i) {
    const auto bound =
        static_cast<uint32_t>(i == 0 ? side + 1 : 2 + side / (1 + static_cast<size_t>(i) / 16));
    const size_t width = i == 0 ? side : 1 + random.Below(bound - 1);
    const size_t height = i == 0 ? side : 1 + random.Below(bound - 1);
    const size_t left = random.Below(static_cast<uint32_t>(side - width + 1));
    const size_t top = random.Below(static_cast<uint32_t>(side - height + 1));
    const uint8_t color[4] = {random.Byte(), random.Byte(), random.Byte(), random.Byte()};
    for (size_t y = top; y < top + height; ++y) {
      for (size_t x = left; x < left + width; ++x) {
        std::memcpy(&pixels[(y * side + x) * pixel_bytes], color, pixel_bytes);
      }
    }
  }
}

/// Packets as encoders write them: runs of two or more, none across rows.
void AppendPackets(Bytes& file, const uint8_t* row, size_t width, size_t p) {
  const auto equal = [&](size_t a, size_t b) {
    return std::memcmp(row + a * p, row + b * p, p) == 0;
  };
  for (size_t x = 0; x < width;) {
    size_t length = 1;
    if (x + 1 < width && equal(x, x + 1)) {
      while (length < 128 && x + length < width && equal(x, x + length)) ++length;
      file.push_back(static_cast<uint8_t>(127 + length));
      file.insert(file.end(), row + x * p, row + (x + 1) * p);
    } else {
      while (length < 128 && x + length < width &&
             (x + length + 1 >= width || !equal(x + length, x + length + 1))) {
        ++length;
      }
      file.push_back(static_cast<uint8_t>(length - 1));
      file.insert(file.end(), row + x * p, row + (x + length) * p);
    }
    x += length;
  }
}

struct Kind {
  const char* name;
  const char* ending;
  size_t pixel_bytes;
  bool packets;
};

/// Planes from the bottom row up; runs of three and more, terminated rows, every row with a start.
Bytes MakeSgiFile(const Kind& kind, const Bytes& pixels, size_t side) {
  const size_t p = kind.pixel_bytes;
  const size_t rows = side * p;
  const auto put = [](Bytes& file, size_t at, size_t value, size_t bytes) {
    for (size_t i = 0; i < bytes; ++i) {
      file[at + i] = static_cast<uint8_t>(value >> 8 * (bytes - 1 - i));
    }
  };
  Bytes file(kind.packets ? 512 + rows * 8 : 512);
  put(file, 0, 474, 2);
  file[2] = kind.packets;
  file[3] = 1;
  put(file, 4, 3, 2);
  put(file, 6, side, 2);
  put(file, 8, side, 2);
  put(file, 10, p, 2);
  put(file, 16, 255, 4);
  for (size_t row = 0; row < rows; ++row) {
    const size_t c = row / side;
    Bytes bytes(side);
    for (size_t x = 0; x < side; ++x) {
      bytes[x] = pixels[((side - 1 - row % side) * side + x) * p + (c < 3 ? 2 - c : 3)];
    }
    if (!kind.packets) {
      file.insert(file.end(), bytes.begin(), bytes.end());
      continue;
    }
    const size_t start = file.size();
    const auto run_at = [&](size_t x) {
      size_t length = 1;
      while (length < 127 && x + length < side && bytes[x + length] == bytes[x]) ++length;
      return length;
    };
    for (size_t x = 0; x < side;) {
      size_t length = run_at(x);
      if (length > 2) {
        file.insert(file.end(), {static_cast<uint8_t>(length), bytes[x]});
      } else {
        length = 0;
        while (length < 127 && x + length < side && run_at(x + length) < 3) ++length;
        file.push_back(static_cast<uint8_t>(128 + length));
        file.insert(file.end(), &bytes[x], &bytes[x] + length);
      }
      x += length;
    }
    file.push_back(0);
    put(file, 512 + row * 4, start, 4);
    put(file, 512 + (rows + row) * 4, file.size() - start, 4);
  }
  return file;
}

Bytes MakeFile(const Kind& kind, bool flat, size_t side) {
  Bytes pixels(side * side * kind.pixel_bytes);
  (flat ? FlatArt : Photo)(pixels, side, kind.pixel_bytes);
  if (kind.ending[0] == 'r') return MakeSgiFile(kind, pixels, side);
  const auto low = static_cast<uint8_t>(side);
  const auto high = static_cast<uint8_t>(side >> 8);
  const auto depth = static_cast<uint8_t>(kind.pixel_bytes * 8);
  Bytes file;
  if (kind.ending[0] == 'b') {
    file.resize(54);
    std::memcpy(file.data(), "BM", 2);
    file[10] = 54;
    file[14] = 40;
    file[18] = file[22] = low;
    file[19] = file[23] = high;
    file[26] = 1;
    file[28] = depth;
  } else {
    file = {0,    0,     static_cast<uint8_t>(kind.packets ? 10 : 2),
            0,    0,     0,
            0,    0,     0,
            0,    0,     0,
            low,  high,  low,
            high, depth, static_cast<uint8_t>(depth == 32 ? 8 : 0)};
  }
  if (!kind.packets) {
    file.insert(file.end(), pixels.begin(), pixels.end());
  } else {
    for (size_t y = 0; y < side; ++y) {
      AppendPackets(file, &pixels[y * side * kind.pixel_bytes], side, kind.pixel_bytes);
    }
  }
  return file;
}

bool DecodeZav(const Bytes& file, const char* name) {
  ZAV_IMAGE image;
  ZAV_INIT(&image);
  image.dest.format = ZAV_FMT_BGRA32;
  const bool done = ZAV_CONVERT_MEMFILE(&image, name, const_cast<uint8_t*>(file.data()),
                                        static_cast<long>(file.size())) == 1;
  benchmark::DoNotOptimize(image.dest.pixels);
  ZAV_FREE(&image);
  return done;
}

#ifdef ZAV_PEER_STB
bool DecodeStb(const Bytes& file, const char*) {
  int width, height, channels;
  stbi_uc* pixels = stbi_load_from_memory(file.data(), static_cast<int>(file.size()), &width,
                                          &height, &channels, 4);
  benchmark::DoNotOptimize(pixels);
  stbi_image_free(pixels);
  return pixels != nullptr;
}
#endif

#ifdef ZAV_PEER_FREEIMAGE
bool DecodeFreeImage(const Bytes& file, const char* name) {
  FIMEMORY* memory =
      FreeImage_OpenMemory(const_cast<uint8_t*>(file.data()), static_cast<DWORD>(file.size()));
  const auto format = name[2] == 'b' ? FIF_BMP : name[2] == 'r' ? FIF_SGI : FIF_TARGA;
  FIBITMAP* read = FreeImage_LoadFromMemory(format, memory);
  FIBITMAP* wide = FreeImage_ConvertTo32Bits(read);
  benchmark::DoNotOptimize(wide);
  const bool done = wide != nullptr;
  FreeImage_Unload(wide);
  FreeImage_Unload(read);
  FreeImage_CloseMemory(memory);
  return done;
}
#endif

#ifdef ZAV_PEER_DEVIL
bool DecodeDevil(const Bytes& file, const char* name) {
  static const bool ready = (ilInit(), true);
  const ILuint image = ilGenImage();
  ilBindImage(image);
  const ILenum format = name[2] == 'b' ? IL_BMP : name[2] == 'r' ? IL_SGI : IL_TGA;
  const bool done = ready && ilLoadL(format, file.data(), static_cast<ILuint>(file.size())) &&
                    ilConvertImage(IL_BGRA, IL_UNSIGNED_BYTE);
  benchmark::DoNotOptimize(ilGetData());
  ilDeleteImage(image);
  return done;
}
#endif

/// PIL's best time in seconds; below 0 where there is no PIL.
double PilSeconds(const Bytes& file, const Kind& kind) {
  const std::string path = "/tmp/zav_bench_" + std::to_string(getpid()) + "." + kind.ending;
  std::ofstream(path, std::ios::binary)
      .write(reinterpret_cast<const char*>(file.data()), static_cast<std::streamsize>(file.size()));
  const std::string command =
      "/usr/bin/python3 " ZAV_BENCH_DIR "/pil_peer.py " + path + " 20 2>/dev/null";
  double seconds = -1;
  if (FILE* pipe = popen(command.c_str(), "r")) {
    if (std::fscanf(pipe, "%lf", &seconds) != 1) seconds = -1;
    pclose(pipe);
  }
  unlink(path.c_str());
  return seconds;
}

using Decode = bool (*)(const Bytes& file, const char* name);

void Register(const char* who, Decode decode, const Kind& kind, bool flat, size_t side) {
  std::string row = "File/";
  row.append(kind.name).append(flat ? "_flat/" : "_photo/");
  row.append(std::to_string(side)).append("/").append(who);
  const auto set_rate = [side](benchmark::State& state) {
    state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(side * side * 4));
  };
  if (decode == nullptr) {
    benchmark::RegisterBenchmark(row.c_str(),
                                 [=](benchmark::State& state) {
                                   const double seconds =
                                       PilSeconds(MakeFile(kind, flat, side), kind);
                                   if (seconds < 0) state.SkipWithError("no PIL");
                                   for (auto _ : state) state.SetIterationTime(seconds);
                                   set_rate(state);
                                 })
        ->UseManualTime()
        ->Iterations(1);
    return;
  }
  benchmark::RegisterBenchmark(row.c_str(), [=](benchmark::State& state) {
    const Bytes file = MakeFile(kind, flat, side);
    const std::string name = std::string("x.") + kind.ending;
    for (auto _ : state) {
      if (!decode(file, name.c_str())) state.SkipWithError("refused");
    }
    set_rate(state);
  });
}

const int registered = [] {
  static constexpr Kind kKinds[] = {
      {"tga24", "tga", 3, false},   {"tga32", "tga", 4, false},   {"bmp24", "bmp", 3, false},
      {"tga24rle", "tga", 3, true}, {"tga32rle", "tga", 4, true}, {"sgi24", "rgb", 3, false},
      {"sgi32", "rgb", 4, false},   {"sgi24rle", "rgb", 3, true}, {"sgi32rle", "rgb", 4, true},
  };
  for (const Kind& kind : kKinds) {
    for (bool flat : {false, true}) {
      if (flat && !kind.packets) continue;  // raw pixels cost the same for any picture
      for (size_t side : {size_t{512}, size_t{2048}}) {
        Register("zav", DecodeZav, kind, flat, side);
#ifdef ZAV_PEER_STB
        if (kind.ending[0] != 'r') Register("stb", DecodeStb, kind, flat, side);
#endif
#ifdef ZAV_PEER_FREEIMAGE
        Register("freeimage", DecodeFreeImage, kind, flat, side);
#endif
#ifdef ZAV_PEER_DEVIL
        Register("devil", DecodeDevil, kind, flat, side);
#endif
        Register("pil", nullptr, kind, flat, side);
      }
    }
  }
  return 0;
}();

}  // namespace
