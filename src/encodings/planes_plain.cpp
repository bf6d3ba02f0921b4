// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/planes.h"

namespace zav {
namespace {

template <size_t kChannels>
void Row(const uint8_t* const* planes, uint8_t* dest, size_t count) {
  for (size_t x = 0; x < count; ++x, dest += kChannels) {
    dest[0] = planes[2][x];
    dest[1] = planes[1][x];
    dest[2] = planes[0][x];
    if constexpr (kChannels == 4) dest[3] = planes[3][x];
  }
}

constexpr PlaneRows kPlain = {"plain", Row<3>, Row<4>};

}  // namespace

const PlaneRows& PlainPlaneRows() { return kPlain; }

}  // namespace zav
