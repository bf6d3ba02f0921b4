// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_PICTURE_H_
#define ZAV_TOOLS_PICTURE_H_

#include <zav.h>

#include <array>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace zav::tool {

/// ZAV_INIT and ZAV_FREE around a ZAV_IMAGE.
class Image {
 public:
  Image();
  Image(const Image&) = delete;
  Image& operator=(const Image&) = delete;
  ~Image() { ZAV_FREE(&image_); }

  ZAV_IMAGE* operator->() { return &image_; }
  ZAV_IMAGE* get() { return &image_; }

 private:
  ZAV_IMAGE image_;
};

struct FreeBuffer {
  void operator()(unsigned char* buffer) const { ZAV_FREE_BUFFER(buffer); }
};
using Buffer = std::unique_ptr<unsigned char, FreeBuffer>;

/// A picture in memory. The definition describes the buffers and points into them.
struct Picture {
  ZAV_GFXDEF definition = {};
  Buffer pixels;
  Buffer palette;
};

/// Bits of a 16-bit pixel: alpha, red, green, blue.
using Masks = std::array<uint32_t, 4>;

Masks MasksOf(const ZAV_GFXDEF& definition);
void SetMasks(ZAV_GFXDEF& definition, const Masks& masks);

/// The result that a conversion should have. Format 0 and size 0 x 0 keep the source's.
struct Wanted {
  int32_t format = 0;
  int32_t width = 0;
  int32_t height = 0;
  Masks masks = {};  // of a custom layout
  bool bilinear = false;
};

/// The picture in the image's source; it owns its buffers.
Picture TakeSource(Image& image);

// The functions below throw an Error about `subject` when the library returns 0.

/// Reads the bytes of a picture file; the ending of `name` chooses the reader. Format 0: that of
/// the file.
Picture Decode(const std::string& subject, const std::string& name,
               std::vector<unsigned char>& bytes, int32_t format = 0);

/// The picture in another format or size, or a copy.
Picture Convert(const std::string& subject, const Picture& source, const Wanted& wanted);
Picture Convert(const std::string& subject, const Picture& source, int32_t format);

/// The picture itself if it has the format already.
Picture InFormat(const std::string& subject, Picture picture, int32_t format);

/// Whether a pixel of the picture is not opaque. False for formats that cannot be converted.
bool ShowsAlpha(const Picture& picture);

/// The next mip level, in the same format.
Picture MipLevel(const std::string& subject, const Picture& source);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_PICTURE_H_
