// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/planes.h"
#include "platform/vector_table.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "encodings/planes_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/highway.h>

#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

// Without an instruction that shuffles bytes, vectors gain nothing.
const PlaneRows& TargetPlaneRows() { return PlainPlaneRows(); }

#else

using D = hn::ScalableTag<uint8_t>;

/// Calls `block(x)` for whole vectors of `count` bytes. The last one ends with the row, and covers
/// some bytes a second time. False when the row is shorter than a vector.
template <typename Block>
HWY_INLINE bool CoverRow(size_t count, Block&& block) {
  const size_t lanes = hn::Lanes(D());
  if (count < lanes) return false;
  for (size_t x = 0; x <= count - lanes; x += lanes) block(x);
  if (count % lanes != 0) block(count - lanes);
  return true;
}

void Interleave3(const uint8_t* const* planes, uint8_t* pixels, size_t count) {
  const uint8_t *plane0 = planes[0], *plane1 = planes[1], *plane2 = planes[2];
  const D d;
  const bool covered = CoverRow(count, [=](size_t x) HWY_ATTR {
    hn::StoreInterleaved3(hn::LoadU(d, plane0 + x), hn::LoadU(d, plane1 + x),
                          hn::LoadU(d, plane2 + x), d, pixels + x * 3);
  });
  if (!covered) PlainPlaneRows().interleave3(planes, pixels, count);
}

void Interleave4(const uint8_t* const* planes, uint8_t* pixels, size_t count) {
  const uint8_t *plane0 = planes[0], *plane1 = planes[1], *plane2 = planes[2], *plane3 = planes[3];
  const D d;
  const bool covered = CoverRow(count, [=](size_t x) HWY_ATTR {
    hn::StoreInterleaved4(hn::LoadU(d, plane0 + x), hn::LoadU(d, plane1 + x),
                          hn::LoadU(d, plane2 + x), hn::LoadU(d, plane3 + x), d, pixels + x * 4);
  });
  if (!covered) PlainPlaneRows().interleave4(planes, pixels, count);
}

void Split4(const uint8_t* pixels, uint8_t* const* planes, size_t count) {
  uint8_t *plane0 = planes[0], *plane1 = planes[1], *plane2 = planes[2], *plane3 = planes[3];
  const D d;
  const bool covered = CoverRow(count, [=](size_t x) HWY_ATTR {
    hn::Vec<D> bytes0, bytes1, bytes2, bytes3;
    hn::LoadInterleaved4(d, pixels + x * 4, bytes0, bytes1, bytes2, bytes3);
    hn::StoreU(bytes0, d, plane0 + x);
    hn::StoreU(bytes1, d, plane1 + x);
    hn::StoreU(bytes2, d, plane2 + x);
    hn::StoreU(bytes3, d, plane3 + x);
  });
  if (!covered) PlainPlaneRows().split4(pixels, planes, count);
}

const PlaneRows& TargetPlaneRows() {
  static const PlaneRows kPlanes = {.target = hwy::TargetName(HWY_TARGET),
                                    .interleave3 = Interleave3,
                                    .interleave4 = Interleave4,
                                    .split4 = Split4};
  return kPlanes;
}

#endif

ZAV_END_TARGET();

#endif  // ZAV_HAVE_HIGHWAY

#if ZAV_ONCE
ZAV_SELECT_TABLE(PlaneRows, PlaneRows);
#endif
