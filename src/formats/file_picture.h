// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "platform/output_file.h"
#include "surface/surface.h"

namespace zav {

/// A picture as BMP and Targa files store it: in the file's pixel format, last row first, rows
/// `row_bytes` apart.
///
/// It is made before the file, because a picture that cannot be converted must not empty an
/// existing file. The converter's source is only borrowed.
class FilePicture {
 public:
  /// False when the pair of formats has no conversion or memory runs out.
  bool Convert(const ZAV_CONVERTER& converter, int32_t format, int64_t row_bytes);

  /// Null unless the format is palettized.
  const uint8_t* palette() const { return picture_.dest.palette; }
  int64_t PixelBytes() const { return ImageBytes(picture_.dest); }
  bool WritePixels(OutputFile& file) const {
    return file.Write(picture_.dest.pixels, PixelBytes());
  }

 private:
  ScopedConverter picture_;
};

}  // namespace zav
