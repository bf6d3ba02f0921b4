// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/dxt.h"

#include <cstring>

#include "base/checked.h"
#include "base/heap.h"
#include "codecs/dxt_decoder.h"
#include "codecs/dxt_encoder.h"

namespace zav {
namespace {

int64_t BytesPerBlock(int32_t variant) { return variant == 1 ? 8 : 16; }

void DecodeBlocks(const DxtJob& job, DxtBlockRow decode, int64_t bytes_per_block) {
  const int64_t across = job.width / 4;
  const int64_t down = job.height / 4;
  if (across < 1) return;
  for (int64_t row = 0; row < down; ++row) {
    decode(job.blocks + row * across * bytes_per_block, job.pixels + row * 4 * job.pitch, job.pitch,
           static_cast<size_t>(across));
  }
}

bool Compress(ZAV_CONVERTER& converter, int32_t variant) {
  DxtJob job;
  job.width = converter.dest.width;
  job.height = converter.dest.height;
  job.pitch = converter.source.pitch;
  job.block_bytes = converter.dest.pitch;
  job.pixels = converter.source.pixels;
  job.blocks = converter.dest.pixels;
  return CompressSurface(job, variant);
}

/// Nothing is decoded into columns and rows that no whole block covers; in a buffer of the library
/// they must not show old heap contents.
void ClearUncovered(const ZAV_SURFACE& dest) {
  const int64_t covered_rows = int64_t{dest.height} / 4 * 4;
  const int64_t covered = int64_t{dest.width} / 4 * 16;
  uint8_t* row = dest.pixels;
  for (int64_t y = 0; y < dest.height; ++y, row += dest.pitch) {
    const int64_t start = y < covered_rows ? covered : 0;
    std::memset(row + start, 0, static_cast<size_t>(int64_t{dest.width} * 4 - start));
  }
}

bool Decode(ZAV_CONVERTER& converter, int32_t variant, void (*decode)(const DxtJob& job)) {
  const ZAV_SURFACE& source = converter.source;
  const ZAV_SURFACE& dest = converter.dest;
  const int64_t needed = int64_t{dest.width / 4} * (dest.height / 4) * BytesPerBlock(variant);
  // A source that says how many bytes it has must have enough.
  if (source.pitch != 0 && source.pitch < needed) return false;
  if (dest.owns_pixels() && (dest.width % 4 != 0 || dest.height % 4 != 0)) ClearUncovered(dest);
  DxtJob job;
  job.width = dest.width;
  job.height = dest.height;
  job.pitch = dest.pitch;
  job.blocks = source.pixels;
  job.pixels = dest.pixels;
  decode(job);
  return true;
}

}  // namespace

DxtJob::~DxtJob() {
  if (owns_blocks) FreeBytes(blocks);
}

int64_t DxtBlockBytes(int32_t variant, int64_t width, int64_t height) {
  return (width + 3) / 4 * ((height + 3) / 4) * BytesPerBlock(variant);
}

bool CompressSurface(DxtJob& job, int32_t variant) {
  if (!DdrawStartup()) return false;
  if (job.width < 1 || job.height < 1 || job.width % 4 != 0 || job.height % 4 != 0) return false;
  const int64_t bytes = DxtBlockBytes(variant, job.width, job.height);
  if (!IsBufferSize(bytes)) return false;
  if (job.blocks == nullptr) {
    job.blocks = AllocateBytes(bytes);
    if (job.blocks == nullptr) return false;
    job.block_bytes = static_cast<int32_t>(bytes);
    job.owns_blocks = true;
  }
  if (job.block_bytes != bytes) return false;
  EncodeDxt(variant, job.pixels, job.width, job.height, job.pitch, job.blocks);
  return true;
}

void DecodeDXT1(const DxtJob& job) { DecodeBlocks(job, SelectedDxtRows().dxt1, 8); }
void DecodeDXT3(const DxtJob& job) { DecodeBlocks(job, SelectedDxtRows().dxt3, 16); }
void DecodeDXT5(const DxtJob& job) { DecodeBlocks(job, SelectedDxtRows().dxt5, 16); }

bool BGRA32ToDXT1(ZAV_CONVERTER& converter) { return Compress(converter, 1); }
bool BGRA32ToDXT3(ZAV_CONVERTER& converter) { return Compress(converter, 3); }
bool BGRA32ToDXT5(ZAV_CONVERTER& converter) { return Compress(converter, 5); }
bool DXT1ToBGRA32(ZAV_CONVERTER& converter) { return Decode(converter, 1, DecodeDXT1); }
bool DXT3ToBGRA32(ZAV_CONVERTER& converter) { return Decode(converter, 3, DecodeDXT3); }
bool DXT5ToBGRA32(ZAV_CONVERTER& converter) { return Decode(converter, 5, DecodeDXT5); }

}  // namespace zav
