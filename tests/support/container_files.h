// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "zav.h"

namespace zav::test {

using Bytes = std::vector<uint8_t>;

/// A file name that goes with its file.
class TemporaryFile {
 public:
  explicit TemporaryFile(const char* ending = ".zav") {
    path_ = std::string("/tmp/zav_test_XXXXXX") + ending;
    close(mkstemps(path_.data(), static_cast<int>(std::strlen(ending))));
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() { unlink(path_.c_str()); }

  const char* path() const { return path_.c_str(); }
  Bytes Read() const {
    std::ifstream file(path_, std::ios::binary);
    return Bytes(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  void Write(const Bytes& bytes) const {
    std::ofstream(path_, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()),
               static_cast<std::streamsize>(bytes.size()));
  }

 private:
  std::string path_;
};

/// A layer record of the kind with the parameter bytes from offset 5 on.
inline ZAV_LAYER Layer(int kind, std::initializer_list<int> parameters = {}) {
  ZAV_LAYER layer{};
  layer.kind = static_cast<unsigned char>(kind);
  unsigned char* next = layer.fields;
  for (const int parameter : parameters) *next++ = static_cast<unsigned char>(parameter);
  return layer;
}

/// The bytes of the container that `write(stream)` writes.
template <typename Write>
Bytes WriteContainer(Write&& write) {
  const TemporaryFile file;
  void* stream = ZAV_OPEN_WRITE(file.path());
  write(stream);
  ZAV_CLOSE(stream);
  return file.Read();
}

/// Every layer kind and parameter that is worth a difference.
inline std::vector<ZAV_LAYER> EveryLayer() {
  return {
      Layer(ZAV_LAYER_PAL8),
      Layer(ZAV_LAYER_HICOLOR, {1}),
      Layer(ZAV_LAYER_HICOLOR, {2}),
      Layer(ZAV_LAYER_HICOLOR, {3}),
      Layer(ZAV_LAYER_HICOLOR, {4}),
      Layer(ZAV_LAYER_TRUE24, {1}),
      Layer(ZAV_LAYER_TRUE24, {2}),
      Layer(ZAV_LAYER_TRUE32, {1}),
      Layer(ZAV_LAYER_TRUE32, {2}),
      Layer(ZAV_LAYER_PACKED32, {1, 8, 8, 8, 8}),
      Layer(ZAV_LAYER_PACKED32, {2, 9, 255, 8, 8}),
      Layer(ZAV_LAYER_PACKED32, {2 + 4, 8, 8, 8, 8}),
      Layer(ZAV_LAYER_PACKED32, {2, 5, 6, 4, 0}),
      Layer(ZAV_LAYER_PACKED32, {3 + 4, 0, 1, 7, 3}),
      Layer(ZAV_LAYER_PACKEDPAL8, {8, 9, 8, 200}),
      Layer(ZAV_LAYER_PACKEDPAL8, {4, 3, 5, 8}),
  };
}

}  // namespace zav::test
