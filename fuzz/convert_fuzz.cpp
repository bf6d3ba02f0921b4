// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Converts any definition that fits its bytes to any other: nothing outside is read or written, and
// every instruction set gives the plain code's bytes.

#include <cstdlib>
#include <cstring>

#include "platform/vector_target.h"
#include "support/page_end_buffer.h"
#include "support/picture_files.h"
#include "surface/format_table.h"

namespace {

using zav::test::Bytes;

struct Request {
  uint8_t source_format, dest_format, width, height, dest_width, dest_height;
  uint8_t source_padding, dest_padding, flags, unused;
  uint16_t masks[4];
};

constexpr uint8_t kFilter = 1, kResize = 2, kOwnBuffer = 4;

/// The converted rows or blocks; empty if the library refuses.
Bytes Convert(const Request& r, const uint8_t* bytes, size_t size) {
  zav::test::Image image;
  ZAV_SETENV(&image, r.flags & kFilter);
  uint8_t palette[ZAV_PALETTE_BYTES] = {};
  std::memcpy(palette, bytes, size < sizeof(palette) ? size : sizeof(palette));
  const int32_t format = r.source_format % 20;
  const int32_t pitch = r.width * zav::BytesPerPixel(format) + r.source_padding;
  ZAV_GFXDEF& source = image.source;
  source = {nullptr, palette,    r.width,    r.height,   0,         format,
            pitch,   r.masks[0], r.masks[1], r.masks[2], r.masks[3]};
  const bool dxt = zav::IsDxt(source.format);
  if (dxt) source.pitch = static_cast<int32_t>(size);
  // A host whose definition lies about its block is outside the contract.
  const int64_t last_row = int64_t{r.width} * zav::BytesPerPixel(source.format);
  const int64_t needed = dxt ? int64_t{(r.width + 3) / 4} * ((r.height + 3) / 4) * 16
                             : int64_t{source.pitch} * (r.height - 1) + last_row;
  Bytes result;
  zav::test::PageEndBuffer block(bytes, size);
  if (needed <= static_cast<int64_t>(size)) source.pixels = block.data();

  ZAV_GFXDEF& dest = image.dest;
  dest = source;
  dest.format = r.dest_format % 20;
  dest.pixels = dest.palette = nullptr;
  dest.width = r.flags & kResize ? r.dest_width : r.width;
  dest.height = r.flags & kResize ? r.dest_height : r.height;
  dest.bytes_per_pixel = dest.pitch = 0;
  const int64_t row = int64_t{dest.width} * zav::BytesPerPixel(dest.format);
  zav::test::PageEndBuffer own(static_cast<size_t>((row + r.dest_padding) * dest.height + 1));
  if ((r.flags & kOwnBuffer) && row > 0 && dest.format != ZAV_FMT_PAL4) {
    dest.pitch = static_cast<int32_t>(row + r.dest_padding);
    const int64_t used = int64_t{dest.pitch} * (dest.height - 1) + row;
    if (dest.height > 0) dest.pixels = own.data() + own.size() - used;
  }
  if (ZAV_CONVERT_RAW(&image) != 1) return result;
  if (zav::IsDxt(dest.format)) result.assign(dest.pixels, dest.pixels + dest.pitch);
  if (dest.bytes_per_pixel > 0) {
    for (int32_t y = 0; y < dest.height; ++y) {
      const uint8_t* start = dest.pixels + int64_t{y} * dest.pitch;
      result.insert(result.end(), start, start + (row < dest.pitch ? row : dest.pitch));
    }
  }
  return result;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Request request;
  if (size < sizeof(request) || size > 1 << 16) return 0;
  std::memcpy(&request, data, sizeof(request));
  const uint8_t* bytes = data + sizeof(request);
  size -= sizeof(request);
  zav::ForceVectorTarget({0, "plain"});
  const Bytes plain = Convert(request, bytes, size);
  zav::RestoreVectorTarget();
  if (Convert(request, bytes, size) != plain) std::abort();
  return 0;
}
