// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Included once per target, after hwy/highway.h, and by the plain code without it.

#if defined(ZAV_CODECS_DXT_ALPHA_FIT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_CODECS_DXT_ALPHA_FIT_INL_H_
#undef ZAV_CODECS_DXT_ALPHA_FIT_INL_H_
#else
#define ZAV_CODECS_DXT_ALPHA_FIT_INL_H_
#endif

#include <cstdint>

#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

/// An interpolated alpha block: the ends, and 8 indices of 3 bits each for pixels 0 to 7 and 8
/// to 15.
template <typename L>
struct AlphaBlock {
  using V = typename L::V;
  V end0, end1;
  V indices_low, indices_high;
  V error;
};

/// Fits the two ends of an interpolated alpha block, and assigns every pixel one of the eight
/// values. Pixels come in pairs: pixel k in the low half of a lane, pixel k + 8 in the high half.
///
/// kSteps is 7 where all values lie between the ends, 5 where two of the eight are 0 and 255.
template <typename L, int32_t kSteps>
class AlphaFit {
  using V = typename L::V;
  using M = typename L::M;

 public:
  explicit AlphaFit(const V* pairs)
      : pairs_(pairs), best_{L::Set(0), L::Set(0), L::Set(0), L::Set(0), L::Set(0x7FFFFFFF)} {}

  AlphaBlock<L> Run() {
    FindExtent();
    V low = low_, high = high_;
    Assign(low, high);
    if (L::AllZero(best_.error)) return best_;
    Solve(low, high);
    Assign(low, high);
    // Most blocks end up with the seven steps; only they are worth a second pass and a search.
    if (kSteps == 7) {
      Solve(low, high);
      SearchAround(low, high);
    }
    return best_;
  }

 private:
  static V Both(V v) { return L::Or(v, L::Shl(16, v)); }
  static V Pair(int32_t v) { return L::Set(v | v << 16); }
  static V HalvesSum(V v) { return L::Add(L::And(v, L::Set(0xFFFF)), L::Shr(16, v)); }

  /// All ones in halves whose pixel takes part in the fit; 0 and 255 are values outside it.
  static V Counts(V pair) {
    if (kSteps == 7) return L::Set(-1);
    return L::And(L::Gt16(pair, L::Set(0)), L::Gt16(Pair(255), pair));
  }

  void FindExtent() {
    V low = Pair(255), high = L::Set(0);
    for (int i = 0; i < 8; ++i) {
      const V counts = Counts(pairs_[i]);
      low = L::Min16(low, L::Or(L::And(counts, pairs_[i]), L::AndNot(counts, Pair(255))));
      high = L::Max16(high, L::And(counts, pairs_[i]));
    }
    low_ = L::Min(L::And(low, L::Set(255)), L::Shr(16, low));
    high_ = L::Max(L::Max(L::And(high, L::Set(255)), L::Shr(16, high)), low_);
  }

  /// Least-squares ends for the assignment to the steps of the line from low to high.
  void Solve(V& low, V& high) const {
    const V range = L::Sub(high, low);
    const V low_pair = Both(low);
    const V twice_range = Both(L::Add(range, range));
    V count = L::Set(0), steps = L::Set(0), squares = L::Set(0), sum = L::Set(0),
      weighted = L::Set(0);
    for (int i = 0; i < 8; ++i) {
      const V counts = Counts(pairs_[i]);
      // Step j ends at (2 j + 1) / (2 kSteps) of the range.
      const V place = L::Mul16(L::Sub16(pairs_[i], low_pair), Pair(2 * kSteps));
      V threshold = Both(range);
      V step = L::Set(0);
      for (int j = 0; j < kSteps; ++j) {
        step = L::Sub16(step, L::Gt16(place, threshold));
        threshold = L::Add16(threshold, twice_range);
      }
      step = L::And(step, counts);
      const V alpha = L::And(pairs_[i], counts);
      count = L::Sub16(count, counts);
      steps = L::Add16(steps, step);
      squares = L::Add16(squares, L::Mul16(step, step));
      sum = L::Add16(sum, alpha);
      weighted = L::Add16(weighted, L::Mul16(step, alpha));
    }
    const V k = L::Set(kSteps);
    const V b = HalvesSum(squares);
    const V c = L::Sub(L::Mul(k, HalvesSum(steps)), b);
    const V a = L::Sub(
        L::Sub(L::Mul(L::Set(kSteps * kSteps), HalvesSum(count)), L::Mul(k, HalvesSum(steps))), c);
    const V y = HalvesSum(weighted);
    const V x = L::Sub(L::Mul(k, HalvesSum(sum)), y);
    const V determinant = L::Sub(L::Mul(a, b), L::Mul(c, c));
    const M solvable = L::Gt(determinant, L::Set(0));
    const V divisor = L::Max(determinant, L::Set(1));
    const V first = End(L::Sub(L::Mul(b, x), L::Mul(c, y)), divisor);
    const V second = End(L::Sub(L::Mul(a, y), L::Mul(c, x)), divisor);
    low = L::Select(solvable, L::Min(first, second), low);
    high = L::Select(solvable, L::Max(first, second), high);
  }

  /// kSteps * numerator / determinant, rounded, as an alpha.
  static V End(V numerator, V determinant) {
    const V scaled = L::Mul(L::Max(numerator, L::Set(0)), L::Set(kSteps));
    const V half = L::Shr(1, determinant);
    return L::Min(L::Quotient(L::Add(scaled, half), determinant), L::Set(255));
  }

  /// Ends near the least-squares ones: values are truncated and pixels are few, so these may be
  /// better.
  void SearchAround(V low, V high) {
    static constexpr int32_t kAside[][2] = {{0, 0}, {-1, 0}, {1, 0}, {0, -1}, {0, 1}};
    for (const auto& aside : kAside) {
      const V least = L::Min(L::Max(L::Add(low, L::Set(aside[0])), L::Set(0)), L::Set(255));
      const V most = L::Min(L::Max(L::Add(high, L::Set(aside[1])), least), L::Set(255));
      Assign(least, most);
    }
  }

  /// Assigns every pixel to the nearest of the values between the ends; keeps the result when it is
  /// the best so far.
  void Assign(V low, V high) {
    // The decoder uses seven steps when the greater end comes first, otherwise five.
    const V ends[2] = {kSteps == 7 ? high : low, kSteps == 7 ? low : high};
    V values[8] = {Both(ends[0]), Both(ends[1])};
    for (int32_t j = 1; j < kSteps; ++j) {
      const V sum = L::Add16(L::Mul16(values[0], Pair(kSteps - j)), L::Mul16(values[1], Pair(j)));
      // The reciprocals of 7 and 5 in 2^16ths, rounded up: exact for sums up to 1785.
      values[j + 1] = L::MulHigh16(sum, Pair(kSteps == 7 ? 9363 : 13108));
    }
    if (kSteps == 5) {
      values[6] = L::Set(0);
      values[7] = Pair(255);
    }
    AlphaBlock<L> block{ends[0], ends[1], L::Set(0), L::Set(0), L::Set(0)};
    for (int i = 7; i >= 0; --i) {
      V least = Pair(0x7FFF);
      V index = L::Set(0);
      for (int32_t k = 0; k < 8; ++k) {
        const V d = L::Sub16(pairs_[i], values[k]);
        const V distance = L::Max16(d, L::Sub16(L::Set(0), d));
        const V nearer = L::Gt16(least, distance);
        index = L::Or(L::And(nearer, Pair(k)), L::AndNot(nearer, index));
        least = L::Min16(least, distance);
      }
      block.indices_low = L::Or(L::Shl(3, block.indices_low), L::And(index, L::Set(7)));
      block.indices_high = L::Or(L::Shl(3, block.indices_high), L::Shr(16, index));
      block.error = L::Add(block.error, L::Dot(least, least));
    }
    const M better = L::Gt(best_.error, block.error);
    best_.end0 = L::Select(better, block.end0, best_.end0);
    best_.end1 = L::Select(better, block.end1, best_.end1);
    best_.indices_low = L::Select(better, block.indices_low, best_.indices_low);
    best_.indices_high = L::Select(better, block.indices_high, best_.indices_high);
    best_.error = L::Select(better, block.error, best_.error);
  }

  const V* pairs_;
  V low_, high_;
  AlphaBlock<L> best_;
};

ZAV_END_TARGET();

#endif  // per target
