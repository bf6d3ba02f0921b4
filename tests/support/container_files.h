// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <string>
#include <vector>

#include "support/page_end_buffer.h"
#include "support/picture_files.h"

namespace zav::test {

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
  Bytes Read() const { return FileBytes(path_); }
  void Write(const Bytes& bytes) const { WriteFile(path_, bytes); }

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

/// Writes an image record of any kind, mipmaps with as many levels as there are.
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

/// The container with one nameless picture, as far as it could be written.
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

/// A stream over a container in memory that ends at an unmapped page.
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

/// Decodes what can be decoded, as a host that walks the records does, and says how many layers
/// that were. Bytes that are no container are none.
inline size_t Walk(uint8_t* data, size_t size) {
  size_t pictures = 0;
  void* stream = ZAV_OPEN_READ(data, static_cast<int>(size));
  for (int kind; ZAV_GET_LAYER_TYPE(stream, &kind) == 0 && kind != ZAV_KIND_END;) {
    ZAV_LAYER header = Layer(kind);
    if (kind == ZAV_REC_TILED || kind == ZAV_REC_IMAGE || kind == ZAV_REC_MIPMAP) {
      ZAV_READ_LAYER(stream, &header);
      continue;  // with its layers
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

/// The kinds whose pixels come back changed, plain and packed.
inline std::vector<ZAV_LAYER> EveryDxtLayer() {
  std::vector<ZAV_LAYER> layers;
  for (int kind = ZAV_LAYER_DXT1; kind <= ZAV_LAYER_DXT5; ++kind) {
    layers.push_back(Layer(kind, {0}));
    layers.push_back(Layer(kind, {1}));
  }
  return layers;
}

/// Every other layer kind and parameter that is worth a difference.
inline std::vector<ZAV_LAYER> EveryLayer() {
  return {Layer(ZAV_LAYER_PAL8),
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
          Layer(ZAV_LAYER_PACKEDPAL8, {4, 3, 5, 8})};
}

}  // namespace zav::test
