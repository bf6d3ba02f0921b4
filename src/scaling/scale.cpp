// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "scaling/scale.h"

#include "scaling/scale_kernels.h"

namespace zav {
namespace {

bool CanScale(const ZAV_SURFACE& source, const ZAV_SURFACE& dest) {
  return source.bytes_per_pixel == dest.bytes_per_pixel && source.format == dest.format &&
         source.pixels != nullptr && dest.pixels != nullptr && source.width >= 1 &&
         source.height >= 1 && dest.width >= 1 && dest.height >= 1;
}

/// `width` and `height` are divided by the destination's sides to give the steps.
ScaleJob MakeJob(const ZAV_SURFACE& source, const ZAV_SURFACE& dest, int64_t width,
                 int64_t height) {
  return {.source = source.pixels,
          .dest = dest.pixels,
          .source_pitch = source.pitch,
          .dest_pitch = dest.pitch,
          .source_row_bytes = int64_t{source.width} * source.bytes_per_pixel,
          .dest_width = dest.width,
          .dest_height = dest.height,
          .step_x = (width << 16) / dest.width,
          .step_y = (height << 16) / dest.height,
          .bytes = source.bytes_per_pixel};
}

}  // namespace

void ResamplePoint(const ZAV_SURFACE& source, const ZAV_SURFACE& dest) {
  if (!CanScale(source, dest) || source.bytes_per_pixel < 1 || source.bytes_per_pixel > 4) return;
  SelectedPointKernel().run(MakeJob(source, dest, source.width, source.height));
}

void ResampleBilinear(const ZAV_SURFACE& source, const ZAV_SURFACE& dest) {
  if (!CanScale(source, dest) || source.bytes_per_pixel < 3 || source.bytes_per_pixel > 4) return;
  SelectedBilinearKernel().run(
      MakeJob(source, dest, int64_t{source.width} - 1, int64_t{source.height} - 1));
}

}  // namespace zav
