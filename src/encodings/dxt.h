// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

/// The buffers of a compression or decoding of DXT blocks. Frees the blocks if it allocated them.
struct DxtJob {
  int32_t width = 0;
  int32_t height = 0;
  int32_t pitch = 0;        ///< bytes from row to row of the pixels
  int32_t block_bytes = 0;  ///< bytes of the blocks; set by a compression that allocates them
  uint8_t* pixels = nullptr;
  uint8_t* blocks = nullptr;
  bool owns_blocks = false;

  DxtJob() = default;
  DxtJob(const DxtJob&) = delete;
  DxtJob& operator=(const DxtJob&) = delete;
  ~DxtJob();
};

/// Size of a picture's blocks: whole 4 x 4 cells, 8 bytes each in DXT1 and 16 in the others.
int64_t DxtBlockBytes(int32_t variant, int64_t width, int64_t height);

/// Compresses the job's pixels into DXT1 to DXT5. A missing blocks buffer is allocated; a given one
/// must have the encoder's size. False, with the blocks untouched, for sides that are not multiples
/// of 4, another size, or no encoder.
bool CompressSurface(DxtJob& job, int32_t variant);

// Decode the job's blocks into its pixels. Only whole cells are written: the last width mod 4
// columns and height mod 4 rows are left alone. Colors widen from 5-6-5 without replicated bits,
// and thirds are truncated.
void DecodeDXT1(const DxtJob& job);
void DecodeDXT3(const DxtJob& job);
void DecodeDXT5(const DxtJob& job);

// Kernels of the pipeline.
bool BGRA32ToDXT1(ZAV_CONVERTER& converter);
bool BGRA32ToDXT3(ZAV_CONVERTER& converter);
bool BGRA32ToDXT5(ZAV_CONVERTER& converter);
bool DXT1ToBGRA32(ZAV_CONVERTER& converter);
bool DXT3ToBGRA32(ZAV_CONVERTER& converter);
bool DXT5ToBGRA32(ZAV_CONVERTER& converter);

}  // namespace zav
