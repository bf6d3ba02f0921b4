// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <benchmark/benchmark.h>

#include <cstdint>
#include <string>
#include <vector>

#include "codecs/packer.h"
#include "packer_content.h"
#include "support/plain_packer.h"
#ifdef ZAV_PEER_ZLIB
#include <zlib.h>
#endif
#ifdef ZAV_PEER_LZ4
#include <lz4.h>
#endif

namespace zav::test {
namespace {

constexpr int32_t kChunk = 65536;

/// A compressor: both functions return the bytes written into a destination of twice the chunk.
struct Coder {
  const char* name;
  int32_t (*pack)(const uint8_t* source, uint8_t* dest, int32_t size);
  int32_t (*unpack)(const uint8_t* source, int32_t source_size, uint8_t* dest);
};

#ifdef ZAV_PEER_ZLIB
template <int level>
int32_t ZlibPack(const uint8_t* source, uint8_t* dest, int32_t size) {
  uLongf length = 2 * kChunk;
  compress2(dest, &length, source, static_cast<uLong>(size), level);
  return static_cast<int32_t>(length);
}
int32_t ZlibUnpack(const uint8_t* source, int32_t source_size, uint8_t* dest) {
  uLongf length = kChunk;
  uncompress(dest, &length, source, static_cast<uLong>(source_size));
  return static_cast<int32_t>(length);
}
#endif
#ifdef ZAV_PEER_LZ4
char* Chars(uint8_t* bytes) { return reinterpret_cast<char*>(bytes); }
const char* Chars(const uint8_t* bytes) { return reinterpret_cast<const char*>(bytes); }
#endif

const Coder kCoders[] = {
    {"zav", ZAV_PACKER::Compress,
     [](const uint8_t* source, int32_t size, uint8_t* dest) {
       return ZAV_PACKER::Decompress(source, size, dest, kChunk);
     }},
    {"plain", PlainCompress,
     [](const uint8_t* source, int32_t size, uint8_t* dest) {
       return PlainDecompress(source, size, dest, kChunk);
     }},
#ifdef ZAV_PEER_ZLIB
    {"zlib1", ZlibPack<1>, ZlibUnpack},
    {"zlib6", ZlibPack<6>, ZlibUnpack},
#endif
#ifdef ZAV_PEER_LZ4
    {"lz4",
     [](const uint8_t* source, uint8_t* dest, int32_t size) {
       return LZ4_compress_default(Chars(source), Chars(dest), size, 2 * kChunk);
     },
     [](const uint8_t* source, int32_t size, uint8_t* dest) {
       return LZ4_decompress_safe(Chars(source), Chars(dest), size, kChunk);
     }},
#endif
};

void Run(benchmark::State& state, PackerContent content, const Coder& coder, bool unpack) {
  const std::vector<uint8_t> data = MakePackerContent(content, kChunk);
  std::vector<uint8_t> packed(2 * kChunk), restored(kChunk);
  const int32_t length = coder.pack(data.data(), packed.data(), kChunk);
  if (coder.unpack(packed.data(), length, restored.data()) != kChunk || restored != data) {
    state.SkipWithError("what was packed does not come back");
    return;
  }
  for (auto _ : state) {
    benchmark::DoNotOptimize(unpack ? coder.unpack(packed.data(), length, restored.data())
                                    : coder.pack(data.data(), packed.data(), kChunk));
    benchmark::ClobberMemory();
  }
  state.SetBytesProcessed(state.iterations() * kChunk);
  state.counters["ratio"] = static_cast<double>(kChunk) / length;
}

const bool kRegistered = [] {
  for (const bool unpack : {false, true}) {
    for (const PackerContent content : kAllPackerContents) {
      for (const Coder& coder : kCoders) {
        const std::string name = std::string(unpack ? "Packer/unpack_" : "Packer/pack_") +
                                 Name(content) + "/64K/" + coder.name;
        benchmark::RegisterBenchmark(name.c_str(), [=, &coder](benchmark::State& state) {
          Run(state, content, coder, unpack);
        });
      }
    }
  }
  return true;
}();

}  // namespace
}  // namespace zav::test
