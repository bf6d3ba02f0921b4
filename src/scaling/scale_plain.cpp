// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <cstring>

#include "scaling/scale_kernels.h"

namespace zav {
namespace {

template <size_t kBytes>
void Point(const ScaleJob& job) {
  for (int64_t j = 0; j < job.dest_height; ++j) {
    const uint8_t* from = job.source + (j * job.step_y >> 16) * job.source_pitch;
    uint8_t* to = job.dest + j * job.dest_pitch;
    int64_t x = 0;
    for (int64_t i = 0; i < job.dest_width; ++i, x += job.step_x, to += kBytes) {
      std::memcpy(to, from + static_cast<size_t>(x >> 16) * kBytes, kBytes);
    }
  }
}

void PlainPoint(const ScaleJob& job) {
  constexpr void (*kLoops[])(const ScaleJob&) = {Point<1>, Point<2>, Point<3>, Point<4>};
  kLoops[job.bytes - 1](job);
}

uint8_t Blend(uint8_t p, uint8_t q, int64_t fraction) {
  return static_cast<uint8_t>(p + (((q - p) * fraction) >> 16));
}

void PlainBilinear(const ScaleJob& job) {
  for (int64_t j = 0; j < job.dest_height; ++j) {
    const uint8_t* a = job.source + (j * job.step_y >> 16) * job.source_pitch;
    const int64_t fraction_y = (j * job.step_y) & 0xFFFF;
    uint8_t* to = job.dest + j * job.dest_pitch;
    for (int64_t i = 0; i < job.dest_width; ++i) {
      const int64_t fraction_x = (i * job.step_x) & 0xFFFF;
      const uint8_t* p = a + (i * job.step_x >> 16) * job.bytes;
      for (int32_t k = 0; k < job.bytes; ++k, ++p, ++to) {
        uint8_t top = *p;
        if (fraction_x != 0) top = Blend(top, p[job.bytes], fraction_x);
        if (fraction_y != 0) {
          const uint8_t* q = p + job.source_pitch;
          uint8_t bottom = *q;
          if (fraction_x != 0) bottom = Blend(bottom, q[job.bytes], fraction_x);
          top = Blend(top, bottom, fraction_y);
        }
        *to = top;
      }
    }
  }
}

constexpr ScaleKernel kPoint = {.target = "plain", .run = PlainPoint};
constexpr ScaleKernel kBilinear = {.target = "plain", .run = PlainBilinear};

}  // namespace

const ScaleKernel& PlainPointKernel() { return kPoint; }
const ScaleKernel& PlainBilinearKernel() { return kBilinear; }

}  // namespace zav
