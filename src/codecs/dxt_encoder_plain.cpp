// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <bit>

#include "codecs/dxt_block_encoder-inl.h"
#include "codecs/dxt_block_encoder.h"

namespace zav {
namespace {

/// One block at a time, in plain integers.
struct OneLane {
  using V = int32_t;
  using M = bool;

  static V Set(int32_t v) { return v; }
  static V Add(V a, V b) {
    return static_cast<V>(static_cast<uint32_t>(a) + static_cast<uint32_t>(b));
  }
  static V Sub(V a, V b) {
    return static_cast<V>(static_cast<uint32_t>(a) - static_cast<uint32_t>(b));
  }
  static V Mul(V a, V b) {
    return static_cast<V>(static_cast<uint32_t>(a) * static_cast<uint32_t>(b));
  }
  static V And(V a, V b) { return a & b; }
  static V Or(V a, V b) { return a | b; }
  static V Xor(V a, V b) { return a ^ b; }
  static V AndNot(V a, V b) { return ~a & b; }
  static V Min(V a, V b) { return std::min(a, b); }
  static V Max(V a, V b) { return std::max(a, b); }
  static V Shl(int n, V a) { return static_cast<V>(static_cast<uint32_t>(a) << n); }
  static V Shr(int n, V a) { return a >> n; }
  static V ShrBy(V a, V n) { return a >> n; }
  static M Gt(V a, V b) { return a > b; }
  static M Eq(V a, V b) { return a == b; }
  static V Select(M m, V yes, V no) { return m ? yes : no; }
  static V Bits(M m) { return m ? -1 : 0; }

  static int32_t Low(V v) { return static_cast<int16_t>(v); }
  static int32_t High(V v) { return static_cast<int16_t>(v >> 16); }
  static V Join(int32_t low, int32_t high) { return Or(low & 0xFFFF, Shl(16, high)); }
  static V Add16(V a, V b) { return Join(Low(a) + Low(b), High(a) + High(b)); }
  static V Sub16(V a, V b) { return Join(Low(a) - Low(b), High(a) - High(b)); }
  static V Mul16(V a, V b) { return Join(Low(a) * Low(b), High(a) * High(b)); }
  static V MulHigh16(V a, V b) { return Join(Low(a) * Low(b) >> 16, High(a) * High(b) >> 16); }
  static V Min16(V a, V b) { return Join(std::min(Low(a), Low(b)), std::min(High(a), High(b))); }
  static V Max16(V a, V b) { return Join(std::max(Low(a), Low(b)), std::max(High(a), High(b))); }
  static V Gt16(V a, V b) { return Join(-(Low(a) > Low(b)), -(High(a) > High(b))); }
  static V Dot(V a, V b) { return Low(a) * Low(b) + High(a) * High(b); }

  static V BitLength(V v) {
    return static_cast<V>(std::bit_cast<uint32_t>(static_cast<float>(v)) >> 23) - 126;
  }
  static V Quotient(V a, V b) {
    return static_cast<V>(static_cast<float>(a) / static_cast<float>(b));
  }

  static bool AllZero(V v) { return v == 0; }
  static V Lookup(const int32_t* table, V i) { return table[i]; }

  static void LoadColumns(const uint32_t* row, V* columns) {
    for (int x = 0; x < 4; ++x) columns[x] = static_cast<V>(row[x]);
  }
  static void Store(V v, int32_t* out) { *out = v; }
};

constexpr DxtEncoder kPlain = {
    .target = "plain", .lanes = 1, .encode = plain::BlockEncoder<OneLane>::Encode};

}  // namespace

const DxtEncoder& PlainDxtEncoder() { return kPlain; }

}  // namespace zav
