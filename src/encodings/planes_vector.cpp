// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/planes.h"
#include "platform/vector_table.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "encodings/planes_vector.cpp"
#include <hwy/foreach_target.h>
// The order matters.
#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace zav::HWY_NAMESPACE {

#if HWY_TARGET == HWY_SCALAR || HWY_TARGET == HWY_EMU128

// Without an instruction that shuffles bytes there is nothing to gain.
const PlaneRows& PlaneTable() { return PlainPlaneRows(); }

#else

namespace hn = hwy::HWY_NAMESPACE;

template <size_t kChannels>
void Block(const uint8_t* const* planes, uint8_t* dest, size_t x) {
  const hn::ScalableTag<uint8_t> d;
  const auto red = hn::LoadU(d, planes[0] + x);
  const auto green = hn::LoadU(d, planes[1] + x);
  const auto blue = hn::LoadU(d, planes[2] + x);
  if constexpr (kChannels == 3) {
    hn::StoreInterleaved3(blue, green, red, d, dest + x * 3);
  } else {
    hn::StoreInterleaved4(blue, green, red, hn::LoadU(d, planes[3] + x), d, dest + x * 4);
  }
}

template <size_t kChannels, PlaneRow PlaneRows::*kPlain>
void Row(const uint8_t* const* planes, uint8_t* dest, size_t count) {
  const size_t lanes = hn::Lanes(hn::ScalableTag<uint8_t>());
  if (count < lanes) return (PlainPlaneRows().*kPlain)(planes, dest, count);
  for (size_t x = 0; x <= count - lanes; x += lanes) Block<kChannels>(planes, dest, x);
  // The last block ends with the row, and makes some pixels once more.
  if (count % lanes != 0) Block<kChannels>(planes, dest, count - lanes);
}

const PlaneRows& PlaneTable() {
  static const PlaneRows kPlanes = {hwy::TargetName(HWY_TARGET), Row<3, &PlaneRows::three>,
                                    Row<4, &PlaneRows::four>};
  return kPlanes;
}

#endif

}  // namespace zav::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif  // ZAV_HAVE_HIGHWAY

#if !defined(ZAV_HAVE_HIGHWAY) || HWY_ONCE
namespace zav {

ZAV_SELECT_TABLE(PlaneRows, SelectedPlaneRows, PlaneTable, PlainPlaneRows)

}  // namespace zav
#endif
