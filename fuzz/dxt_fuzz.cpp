// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Encodes pixels into blocks, and decodes these and any bytes: the plain code and the processor's
// best give the same, and no byte outside their buffers is touched.

#include <cstdlib>
#include <cstring>
#include <initializer_list>

#include "encodings/dxt.h"
#include "platform/vector_target.h"
#include "support/page_end_buffer.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 3) return 0;
  constexpr void (*kDecode[])(const zav::DxtJob&) = {zav::DecodeDXT1, zav::DecodeDXT3,
                                                     zav::DecodeDXT5};
  const int variant = data[0] % 5 + 1;
  const int32_t width = data[1] % 21, padding = data[1] / 21;
  const int32_t pitch = width * 4 + padding;
  const int32_t height = static_cast<int32_t>(size - 3) / (pitch > 0 ? pitch : 1);
  if (width == 0 || height == 0) return 0;
  const size_t pixel_bytes = static_cast<size_t>(pitch * (height - 1) + width * 4);
  zav::test::PageEndBuffer pixels(data + 3, pixel_bytes);
  const auto block_bytes = static_cast<size_t>(zav::DxtBlockBytes(variant, width, height));
  zav::test::PageEndBuffer blocks[2] = {zav::test::PageEndBuffer(block_bytes),
                                        zav::test::PageEndBuffer(block_bytes)};
  zav::test::PageEndBuffer decoded[2] = {zav::test::PageEndBuffer(pixel_bytes),
                                         zav::test::PageEndBuffer(pixel_bytes)};
  // The encoder's blocks, and the data as blocks.
  for (const bool encoded : {true, false}) {
    if (!encoded && pixel_bytes < block_bytes) break;
    for (int pass = 0; pass < 2; ++pass) {
      if (pass == 0) zav::ForceVectorTarget({0, "plain"});
      zav::DxtJob job;
      job.width = width, job.height = height, job.pitch = pitch;
      job.pixels = pixels.data();
      job.blocks = blocks[pass].data();
      job.block_bytes = static_cast<int32_t>(block_bytes);
      const bool whole = width % 4 == 0 && height % 4 == 0;
      if (encoded && zav::CompressSurface(job, variant) != whole) std::abort();
      if (!encoded) job.blocks = pixels.data() + (pixel_bytes - block_bytes);
      job.pixels = decoded[pass].data();
      kDecode[variant / 2](job);  // DXT2 decodes as DXT3, DXT4 as DXT5
      zav::RestoreVectorTarget();
    }
    if (std::memcmp(blocks[0].data(), blocks[1].data(), block_bytes) != 0) std::abort();
    if (std::memcmp(decoded[0].data(), decoded[1].data(), pixel_bytes) != 0) std::abort();
  }
  return 0;
}
