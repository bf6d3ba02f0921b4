// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "codecs/dxt_block_encoder.h"
#include "platform/vector_table.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codecs/dxt_encoder_vector.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/highway.h>

#include "codecs/dxt_block_encoder-inl.h"
#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

#if HWY_TARGET != HWY_SCALAR && HWY_TARGET != HWY_EMU128

/// As many blocks as a vector has 32-bit lanes.
struct VectorLanes {
  using D = hn::CappedTag<int32_t, kMostDxtLanes>;
  using D16 = hn::Repartition<int16_t, D>;
  using DF = hn::Repartition<float, D>;
  using DU = hn::Repartition<uint32_t, D>;
  using V = hn::Vec<D>;
  using M = hn::Mask<D>;

  static HWY_INLINE V Set(int32_t v) { return hn::Set(D(), v); }
  static HWY_INLINE V Add(V a, V b) { return hn::Add(a, b); }
  static HWY_INLINE V Sub(V a, V b) { return hn::Sub(a, b); }
  static HWY_INLINE V Mul(V a, V b) { return hn::Mul(a, b); }
  static HWY_INLINE V And(V a, V b) { return hn::And(a, b); }
  static HWY_INLINE V Or(V a, V b) { return hn::Or(a, b); }
  static HWY_INLINE V Xor(V a, V b) { return hn::Xor(a, b); }
  static HWY_INLINE V AndNot(V a, V b) { return hn::AndNot(a, b); }
  static HWY_INLINE V Min(V a, V b) { return hn::Min(a, b); }
  static HWY_INLINE V Max(V a, V b) { return hn::Max(a, b); }
  static HWY_INLINE V Shl(int n, V a) { return hn::ShiftLeftSame(a, n); }
  static HWY_INLINE V Shr(int n, V a) { return hn::ShiftRightSame(a, n); }
  static HWY_INLINE V ShrBy(V a, V n) { return hn::Shr(a, n); }
  static HWY_INLINE M Gt(V a, V b) { return hn::Gt(a, b); }
  static HWY_INLINE M Eq(V a, V b) { return hn::Eq(a, b); }
  static HWY_INLINE V Select(M m, V yes, V no) { return hn::IfThenElse(m, yes, no); }
  static HWY_INLINE V Bits(M m) { return hn::VecFromMask(D(), m); }

  static HWY_INLINE auto To16(V v) { return hn::BitCast(D16(), v); }
  template <typename V16>
  static HWY_INLINE V To32(V16 v) {
    return hn::BitCast(D(), v);
  }
  static HWY_INLINE V Add16(V a, V b) { return To32(hn::Add(To16(a), To16(b))); }
  static HWY_INLINE V Sub16(V a, V b) { return To32(hn::Sub(To16(a), To16(b))); }
  static HWY_INLINE V Mul16(V a, V b) { return To32(hn::Mul(To16(a), To16(b))); }
  static HWY_INLINE V MulHigh16(V a, V b) { return To32(hn::MulHigh(To16(a), To16(b))); }
  static HWY_INLINE V Min16(V a, V b) { return To32(hn::Min(To16(a), To16(b))); }
  static HWY_INLINE V Max16(V a, V b) { return To32(hn::Max(To16(a), To16(b))); }
  static HWY_INLINE V Gt16(V a, V b) {
    return To32(hn::VecFromMask(D16(), hn::Gt(To16(a), To16(b))));
  }
  static HWY_INLINE V Dot(V a, V b) {
#if HWY_ARCH_X86
    // A single instruction on x86, whose sums stay in their lanes; the second sum is not used.
    V unused = hn::Zero(D());
    return hn::ReorderWidenMulAccumulate(D(), To16(a), To16(b), hn::Zero(D()), unused);
#else
    const V low =
        hn::Mul(hn::ShiftRight<16>(hn::ShiftLeft<16>(a)), hn::ShiftRight<16>(hn::ShiftLeft<16>(b)));
    return hn::Add(low, hn::Mul(hn::ShiftRight<16>(a), hn::ShiftRight<16>(b)));
#endif
  }

  static HWY_INLINE V BitLength(V v) {
    const auto bits = hn::BitCast(DU(), hn::ConvertTo(DF(), v));
    return hn::Sub(hn::BitCast(D(), hn::ShiftRight<23>(bits)), Set(126));
  }
  static HWY_INLINE V Quotient(V a, V b) {
    return hn::ConvertTo(D(), hn::Div(hn::ConvertTo(DF(), a), hn::ConvertTo(DF(), b)));
  }

  static HWY_INLINE bool AllZero(V v) { return hn::AllTrue(D(), hn::Eq(v, Set(0))); }
  static HWY_INLINE V Lookup(const int32_t* table, V i) { return hn::GatherIndex(D(), table, i); }

  static HWY_INLINE void LoadColumns(const uint32_t* row, V* columns) {
    hn::Vec<DU> c0, c1, c2, c3;
    hn::LoadInterleaved4(DU(), row, c0, c1, c2, c3);
    columns[0] = hn::BitCast(D(), c0);
    columns[1] = hn::BitCast(D(), c1);
    columns[2] = hn::BitCast(D(), c2);
    columns[3] = hn::BitCast(D(), c3);
  }
  static HWY_INLINE void Store(V v, int32_t* out) { hn::StoreU(v, D(), out); }
};

const DxtEncoder& TargetDxtEncoder() {
  static const DxtEncoder kEncoder = {.target = hwy::TargetName(HWY_TARGET),
                                      .lanes = hn::Lanes(VectorLanes::D()),
                                      .encode = BlockEncoder<VectorLanes>::Encode};
  return kEncoder;
}

#else

const DxtEncoder& TargetDxtEncoder() { return PlainDxtEncoder(); }

#endif

ZAV_END_TARGET();

#endif  // ZAV_HAVE_HIGHWAY

#if ZAV_ONCE
ZAV_SELECT_TABLE(DxtEncoder, DxtEncoder);
#endif
