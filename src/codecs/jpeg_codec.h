// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

// Decodes JPEG data to rows of pixels and encodes it, using libjpeg-turbo with its exact integer
// transform. Without that library every operation fails.
//
// Files of three channels are YCbCr, or RGB where their markers say so. Four channels are YCbCr and
// alpha, which is stored as it is; a file with an Adobe marker has inks instead.

/// The order of a pixel's bytes in memory.
enum class JpegOrder { kRgb, kBgr, kRgba, kBgra };
constexpr int32_t JpegPixelBytes(JpegOrder order) {
  return order == JpegOrder::kRgb || order == JpegOrder::kBgr ? 3 : 4;
}

/// How many pixels share one pair of color samples.
enum class JpegSampling {
  k2x1,  ///< 4:2:2
  k2x2,  ///< 4:2:0
};

struct JpegHeader {
  int32_t width;
  int32_t height;
  int32_t channels;  ///< 3 or 4
  /// Whether the bytes after the header can hold such a picture at all. Check before allocating
  /// memory for it.
  bool plausible;
};

/// False for data that is not a JPEG file or has another number of channels.
bool ReadJpegHeader(const uint8_t* data, int64_t size, JpegHeader& header);

/// Rows from the top, `pitch` bytes apart. Bytes between rows are neither read nor written.
template <typename Byte>
struct JpegPixels {
  Byte* pixels;
  int32_t width;
  int32_t height;
  int64_t pitch;
  JpegOrder order;
};

/// Decodes a whole file, whose sides must be those of the picture. Alpha is 255 where the file has
/// none. False for a file that ends early or whose coded data is corrupt; the picture is then
/// partly filled.
bool DecodeJpeg(const uint8_t* data, int64_t size, const JpegPixels<uint8_t>& picture);

/// Takes the bytes of a file in order.
struct JpegSink {
  bool (*write)(void* context, const uint8_t* bytes, int64_t count);
  void* context;
};

/// Encodes a baseline file: three channels, or four when the order has alpha; alpha is coded at the
/// full width of the picture, as luma is. Quality 0 is 1, above 100 is 100. False when a side is
/// above 65500, memory runs out or the sink refuses bytes.
bool EncodeJpeg(const JpegPixels<const uint8_t>& picture, JpegSampling sampling, int32_t quality,
                const JpegSink& sink);

}  // namespace zav
