// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/planes.h"

namespace zav {
namespace {

template <size_t kPlanes>
void Interleave(const uint8_t* const* planes, uint8_t* pixels, size_t count) {
  for (size_t x = 0; x < count; ++x, pixels += kPlanes) {
    for (size_t c = 0; c < kPlanes; ++c) pixels[c] = planes[c][x];
  }
}

void Split4(const uint8_t* pixels, uint8_t* const* planes, size_t count) {
  for (size_t x = 0; x < count; ++x, pixels += 4) {
    for (size_t c = 0; c < 4; ++c) planes[c][x] = pixels[c];
  }
}

constexpr PlaneRows kPlain = {.target = "plain",
                              .interleave3 = Interleave<3>,
                              .interleave4 = Interleave<4>,
                              .split4 = Split4};

}  // namespace

const PlaneRows& PlainPlaneRows() { return kPlain; }

}  // namespace zav
