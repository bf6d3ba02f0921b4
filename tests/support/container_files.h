// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/page_end_buffer.h"
#include "support/picture_files.h"

namespace zav::test {

/// A file that is removed at the end of the scope.
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
  Bytes Read() const { return FileBytes(path_); }
  void Write(const Bytes& bytes) const { WriteFile(path_, bytes); }

 private:
  std::string path_;
};

/// A layer record with parameter bytes from offset 5 on.
inline ZAV_LAYER Layer(int kind, std::initializer_list<int> parameters = {}) {
  ZAV_LAYER layer{};
  layer.kind = static_cast<unsigned char>(kind);
  std::copy(parameters.begin(), parameters.end(), layer.fields);
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

/// Writes an image record of any kind; a mipmap gets all its levels.
inline int WriteImageOf(int kind, void* stream, char* name, ZAV_LAYER* layer,
                        ZAV_GFXDEF* definition) {
  switch (kind) {
    case ZAV_REC_TILED:
      return ZAV_WRITE_TILEDIMAGE(stream, name, layer, definition);
    case ZAV_REC_SQUIZ:
      return ZAV_WRITE_SQUIZIMAGE(stream, name, layer, definition);
    case ZAV_REC_MIPMAP:
      return ZAV_WRITE_MIPMAPIMAGE(stream, name, 99, layer, definition);
    default:
      return ZAV_WRITE_IMAGE(stream, name, layer, definition);
  }
}
inline constexpr int kImageKinds[] = {ZAV_REC_IMAGE, ZAV_REC_TILED, ZAV_REC_SQUIZ, ZAV_REC_MIPMAP};

/// The container with one nameless picture; incomplete after a failure.
inline Bytes WriteOne(ZAV_LAYER layer, ZAV_GFXDEF definition, int* result = nullptr,
                      int kind = ZAV_REC_IMAGE) {
  return WriteContainer([&](void* stream) {
    const int written = WriteImageOf(kind, stream, nullptr, &layer, &definition);
    if (result != nullptr) *result = written;
  });
}

/// Reads the first picture of a container in memory. The library writes to no file's bytes.
inline bool ReadOne(Image& image, const Bytes& file) {
  return ZAV_CONVERT_MEMFILE(&image, "x.zav", const_cast<uint8_t*>(file.data()),
                             static_cast<long>(file.size())) == 1;
}

/// A stream over a container in read-only memory that ends at an unmapped page.
class Reader {
 public:
  explicit Reader(const Bytes& file)
      : block_(file.data(), file.size()),
        stream_(ZAV_OPEN_READ(block_.data(), static_cast<int>(file.size()))) {}
  ~Reader() { ZAV_CLOSE(stream_); }

  operator void*() const { return stream_; }
  /// The next layer's kind, -1 after a failure.
  int Kind() const {
    int kind = -1;
    return ZAV_GET_LAYER_TYPE(stream_, &kind) == 0 ? kind : -1;
  }

 private:
  PageEndBuffer block_;
  void* stream_;
};

inline void Require(bool holds) {
  if (!holds) std::abort();
}

/// Walks the records as a host does and decodes every layer that can be decoded. Returns how many
/// these were; 0 for bytes that are not a container.
inline size_t Walk(uint8_t* data, size_t size) {
  size_t pictures = 0;
  void* stream = ZAV_OPEN_READ(data, static_cast<int>(size));
  for (int kind; ZAV_GET_LAYER_TYPE(stream, &kind) == 0 && kind != ZAV_KIND_END;) {
    ZAV_LAYER header = Layer(kind);
    if (kind == ZAV_REC_TILED || kind == ZAV_REC_IMAGE || kind == ZAV_REC_MIPMAP) {
      ZAV_READ_LAYER(stream, &header);
      continue;  // its layers come next
    }
    Image image;
    if (pictures % 2 == 0) image.dest.format = ZAV_FMT_BGRA32;
    ZAV_GFXDEF definition;
    const bool defined = ZAV_DECODE_BITMAPFORMAT(stream, &definition) == 0;
    if (ZAV_DECODE_BITMAP(stream, &image) == 0) {
      Require(defined && definition.width == image.source.width);
      SumOfBytes(image.source);
      ++pictures;
    } else {
      Require(image.source.pixels == nullptr);
      ZAV_SKIP_LAYER(stream);
    }
  }
  ZAV_CLOSE(stream);
  Image image;
  if (ZAV_CONVERT_MEMFILE(&image, "zav", data, static_cast<long>(size)) == 1)
    SumOfBytes(image.source);
  ZAV_GFXDEF definition;
  if (ZAV_GETFILEFORMAT_FROMMEM(&definition, "zav", data, static_cast<long>(size)) == 0) {
    Require(image.source.pixels == nullptr);
  } else if (image.source.pixels != nullptr) {
    Require(definition.width == image.source.width && definition.height == image.source.height);
  }
  return pictures;
}

/// Layers of every kind but DXT and JPEG, with every mode and the boundaries of the kept bits.
inline std::vector<ZAV_LAYER> EveryLayer() {
  std::vector<ZAV_LAYER> layers = {Layer(ZAV_LAYER_PAL8)};
  for (const int mode : {1, 2, 3, 4}) layers.push_back(Layer(ZAV_LAYER_HICOLOR, {mode}));
  for (const int kind : {ZAV_LAYER_TRUE24, ZAV_LAYER_TRUE32}) {
    for (const int mode : {1, 2}) layers.push_back(Layer(kind, {mode}));
  }
  for (const auto& [mode, red, green, blue, alpha] : {std::array{1, 8, 8, 8, 8},
                                                      {2, 9, 255, 8, 8},
                                                      {2 + 4, 8, 8, 8, 8},
                                                      {2, 5, 6, 4, 0},
                                                      {3 + 4, 0, 1, 7, 3}}) {
    layers.push_back(Layer(ZAV_LAYER_PACKED32, {mode, red, green, blue, alpha}));
  }
  layers.push_back(Layer(ZAV_LAYER_PACKEDPAL8, {8, 9, 8, 200}));
  layers.push_back(Layer(ZAV_LAYER_PACKEDPAL8, {4, 3, 5, 8}));
  return layers;
}

}  // namespace zav::test
