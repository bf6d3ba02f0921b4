// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "platform/output_file.h"
#include "surface/surface.h"

namespace zav {

/// A picture in the form in which BMP and Targa files hold their rows: in the file's pixel format,
/// last row first, the rows `row_bytes` apart without other padding than that.
///
/// It is made before the file is: a picture that cannot be converted must not cost an existing
/// file its bytes. The converter's source is only borrowed.
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
