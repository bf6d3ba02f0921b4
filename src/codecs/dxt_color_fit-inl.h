// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// The block encoder, written once against a set of lane operations. A lane holds one block, so a
// vector of 32-bit lanes encodes as many blocks at once. The plain code is the instantiation with
// one lane; every instruction set computes the same integers.
//
// `L` offers V (32-bit lanes), M (masks) and static operations. Some treat a lane as two 16-bit
// numbers:
//   Set, Add, Sub, Mul, And, Or, Xor, AndNot(a, b) = ~a & b, Min, Max, Shl(n, v), Shr(n, v)
//   (arithmetic), ShrBy(v, n) with an n per lane, Gt, Eq, Select(mask, yes, no),
//   Bits(mask) = all ones or zero, Lookup(table, indices), AllZero(v) of all lanes
//   Add16, Sub16, Mul16 (low half), MulHigh16, Min16, Max16, Gt16 (all ones or zero),
//   Dot(a, b) = the sum of both 16-bit products
//   BitLength(v) = the bits of v rounded to 24 significant ones, v >= 0
//   Quotient(a, b) = a / b for 0 <= a and 0 < b as single precision floats, truncated: conversion
//   and division are correctly rounded everywhere, and so as repeatable as the integers.
//
// Included once per target, after hwy/highway.h, and by the plain code without it.

#if defined(ZAV_CODECS_DXT_COLOR_FIT_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_CODECS_DXT_COLOR_FIT_INL_H_
#undef ZAV_CODECS_DXT_COLOR_FIT_INL_H_
#else
#define ZAV_CODECS_DXT_COLOR_FIT_INL_H_
#endif

#include <cstdint>

#include "codecs/dxt_block_encoder.h"
#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

// GCC compiles implicit constructors without the instruction set, so these are written out.

/// The 16 pixels of each lane's block, row by row.
template <typename L>
struct BlockPixels {
  using V = typename L::V;
  BlockPixels() {}
  V green_blue[16];  ///< green | blue << 16
  V red[16];
  V alpha[16];
  V opaque[16];  ///< all ones where the pixel counts, else zero; its colors are zero then
};

/// Two ends of a color line, as stored (5, 6, 5 bits) and as shown (8 bits).
template <typename L>
struct ColorEnds {
  using V = typename L::V;
  ColorEnds() {}
  V red[2], green[2], blue[2];
};

/// The result of a fit: the color block's two words, and its squared error over the block.
template <typename L>
struct ColorBlock {
  using V = typename L::V;
  V ends;
  V indices;
  V error;
};

/// Sums over the colors of each lane's block, which the fits with three and four colors share.
template <typename L>
class BlockColors {
  using V = typename L::V;
  using M = typename L::M;

 public:
  /// `shown_grid`: lanes whose pixels all lie on the library's 5-6-5 grid. They are fitted for
  /// colors widened as the library does it (zeros in the low bits) instead of as renderers do (high
  /// bits repeated).
  BlockColors(const BlockPixels<L>& block, V shown_grid) : pixels(block), grid(shown_grid) {
    count = green_blue_sum = red_sum = L::Set(0);
    for (int i = 0; i < 16; ++i) {
      count = L::Sub(count, pixels.opaque[i]);
      green_blue_sum = L::Add16(green_blue_sum, pixels.green_blue[i]);
      red_sum = L::Add(red_sum, pixels.red[i]);
    }
    Project();
    MeasureExtent();
  }

  static V Low16(V v) { return L::And(v, L::Set(0xFFFF)); }
  static V High16(V v) { return L::Shr(16, v); }

  const BlockPixels<L>& pixels;
  const V grid;
  V count;           ///< pixels that count
  V green_blue_sum;  ///< their channels' sums
  V red_sum;
  V place[16];    ///< where each pixel lies along the principal axis
  V start;        ///< the least place of a pixel that counts
  V length;       ///< how far from there to the greatest
  bool all_flat;  ///< no lane's pixels differ: there is nothing to assign

 private:
  void Project() {
    // Covariances, times the count squared: count * sum(pq) - sum(p) * sum(q), below 2^24.
    const V red = red_sum;
    const V green = Low16(green_blue_sum);
    const V blue = High16(green_blue_sum);
    V rr = L::Set(0), gg = L::Set(0), bb = L::Set(0), rg = L::Set(0), rb = L::Set(0),
      gb = L::Set(0);
    for (int i = 0; i < 16; ++i) {
      const V r = pixels.red[i];
      const V g = Low16(pixels.green_blue[i]);
      const V b = High16(pixels.green_blue[i]);
      rr = L::Add(rr, L::Dot(r, r));
      gg = L::Add(gg, L::Dot(g, g));
      bb = L::Add(bb, L::Dot(b, b));
      rg = L::Add(rg, L::Dot(r, g));
      rb = L::Add(rb, L::Dot(r, b));
      gb = L::Add(gb, L::Dot(g, b));
    }
    const auto center = [this](V products, V p, V q) {
      return L::Sub(L::Mul(count, products), L::Mul(p, q));
    };
    rr = center(rr, red, red);
    gg = center(gg, green, green);
    bb = center(bb, blue, blue);
    rg = center(rg, red, green);
    rb = center(rb, red, blue);
    gb = center(gb, green, blue);

    // Power iteration, from the row of the greatest variance. Numbers are limited to 12 bits.
    const V scale = Excess(L::Max(rr, L::Max(gg, bb)));
    rr = L::ShrBy(rr, scale);
    gg = L::ShrBy(gg, scale);
    bb = L::ShrBy(bb, scale);
    rg = L::ShrBy(rg, scale);
    rb = L::ShrBy(rb, scale);
    gb = L::ShrBy(gb, scale);
    const M red_most = L::Gt(rr, L::Max(gg, bb));
    const M green_most = L::Gt(gg, bb);
    V x = L::Select(red_most, rr, L::Select(green_most, rg, rb));
    V y = L::Select(red_most, rg, L::Select(green_most, gg, gb));
    V z = L::Select(red_most, rb, L::Select(green_most, gb, bb));
    for (int i = 0; i < 3; ++i) {
      const V u = L::Add(L::Add(L::Mul(rr, x), L::Mul(rg, y)), L::Mul(rb, z));
      const V v = L::Add(L::Add(L::Mul(rg, x), L::Mul(gg, y)), L::Mul(gb, z));
      const V w = L::Add(L::Add(L::Mul(rb, x), L::Mul(gb, y)), L::Mul(bb, z));
      const V shift = Excess(L::Max(Abs(u), L::Max(Abs(v), Abs(w))));
      x = L::ShrBy(u, shift);
      y = L::ShrBy(v, shift);
      z = L::ShrBy(w, shift);
    }
    const V axis_green_blue = L::Or(Low16(y), L::Shl(16, z));
    const V axis_red = Low16(x);
    for (int i = 0; i < 16; ++i) {
      place[i] =
          L::Add(L::Dot(pixels.green_blue[i], axis_green_blue), L::Dot(pixels.red[i], axis_red));
    }
  }

  static V Abs(V v) { return L::Max(v, L::Sub(L::Set(0), v)); }
  /// The right shift that brings a number to at most 12 bits.
  static V Excess(V v) { return L::Max(L::Sub(L::BitLength(v), L::Set(12)), L::Set(0)); }

  void MeasureExtent() {
    V low = L::Set(0x7FFFFFFF);
    V high = L::Set(-0x7FFFFFFF);
    for (int i = 0; i < 16; ++i) {
      const M left_out = L::Eq(pixels.opaque[i], L::Set(0));
      low = L::Min(low, L::Select(left_out, low, place[i]));
      high = L::Max(high, L::Select(left_out, high, place[i]));
    }
    start = low;
    length = L::Max(L::Sub(high, low), L::Set(0));
    all_flat = L::AllZero(length);
  }
};

/// Fits lines of kSteps + 1 colors: 3 steps for four colors, 2 for three (and transparency).
///
/// Pixels are assigned to the steps of a first line along the principal axis. Least squares give
/// the best ends for that assignment, and the pixels are assigned again by those ends. The best
/// ends found are kept.
template <typename L, int kSteps>
class ColorFit {
  using V = typename L::V;
  using M = typename L::M;
  using Colors = BlockColors<L>;
  using Ends = ColorEnds<L>;

 public:
  explicit ColorFit(const Colors& colors) : colors_(colors), grid_(colors.grid) {}

  ColorBlock<L> Run() {
    StartWithOneColor();
    // Thresholds in 256ths of the axis. The first line's ends are the outermost pixels; the
    // second's are closer together, which suits blocks with two clusters.
    static constexpr int32_t kThresholds[2][2][3] = {{{64, 192, 0}, {96, 160, 0}},
                                                     {{43, 128, 213}, {80, 128, 176}}};
    for (int i = 0; i < (kSteps == 3 ? 2 : 1); ++i) {
      const int32_t* thresholds = kThresholds[kSteps - 2][i];
      const Ends ends = Solve(Assign(colors_.place, colors_.start, colors_.length, thresholds));
      if (colors_.all_flat) break;
      // A flat block is done even if others in the vector are not: results must not depend on which
      // blocks share a vector.
      best_cost_ = L::Select(L::Eq(colors_.length, L::Set(0)), L::Set(-0x7FFFFFFF), best_cost_);
      Solve(AssignToLine(ends));
    }
    return Finish();
  }

 private:
  /// Sums over the assignment of pixels to the line's colors: counts of pixels at or beyond step 1,
  /// 2, 3, and the pixels' channels weighted by their step.
  struct Assignment {
    V beyond[3];
    V green_blue;
    V red;
  };

  static V Low16(V v) { return Colors::Low16(v); }
  static V High16(V v) { return Colors::High16(v); }
  static V Pack(V green, V blue) { return L::Or(green, L::Shl(16, blue)); }
  V Show5(V q) const { return L::Or(L::Shl(3, q), L::AndNot(grid_, L::Shr(2, q))); }
  V Show6(V q) const { return L::Or(L::Shl(2, q), L::AndNot(grid_, L::Shr(4, q))); }
  V Show(bool six_bits, V q) const { return six_bits ? Show6(q) : Show5(q); }

  Assignment Assign(const V* place, V start, V length, const int32_t* thresholds) const {
    V threshold[kSteps];
    for (int j = 0; j < kSteps; ++j) {
      // A length is below 2^23: products stay below 2^31.
      threshold[j] = L::Add(start, L::Shr(8, L::Mul(length, L::Set(thresholds[j]))));
    }
    Assignment line{{L::Set(0), L::Set(0), L::Set(0)}, L::Set(0), L::Set(0)};
    for (int i = 0; i < 16; ++i) {
      V step = L::Set(0);
      for (int j = 0; j < kSteps; ++j) {
        const V beyond = L::And(L::Bits(L::Gt(place[i], threshold[j])), colors_.pixels.opaque[i]);
        line.beyond[j] = L::Sub(line.beyond[j], beyond);
        step = L::Sub(step, beyond);
      }
      const V both = L::Or(step, L::Shl(16, step));
      line.green_blue = L::Add16(line.green_blue, L::Mul16(both, colors_.pixels.green_blue[i]));
      line.red = L::Add(line.red, L::Mul16(step, colors_.pixels.red[i]));
    }
    return line;
  }

  Assignment AssignToLine(const Ends& ends) const {
    static constexpr int32_t kHalfway[2][3] = {{64, 192, 0}, {43, 128, 213}};
    const V start_green_blue = Pack(Show6(ends.green[0]), Show5(ends.blue[0]));
    const V start_red = Show5(ends.red[0]);
    const V along_green_blue =
        L::Sub16(Pack(Show6(ends.green[1]), Show5(ends.blue[1])), start_green_blue);
    const V along_red = L::Sub16(Show5(ends.red[1]), start_red);
    const auto along = [&](V green_blue, V red) {
      return L::Add(L::Dot(green_blue, along_green_blue), L::Dot(red, along_red));
    };
    V place[16];
    for (int i = 0; i < 16; ++i) {
      place[i] = along(colors_.pixels.green_blue[i], colors_.pixels.red[i]);
    }
    return Assign(place, along(start_green_blue, start_red), along(along_green_blue, along_red),
                  kHalfway[kSteps - 2]);
  }

  /// The normal equations of a line, times kSteps squared: the error of ends e and f in one channel
  /// is a ee + 2 c ef + b ff - 2 kSteps (e x + f y) + constant.
  struct Equations {
    V a, b, c, determinant;
    M singular;
  };

  Equations Normal(const Assignment& line) const {
    const V steps = L::Set(kSteps);
    V sum = L::Add(line.beyond[0], line.beyond[1]);
    V squares = L::Add(line.beyond[0], L::Mul(L::Set(3), line.beyond[1]));
    if constexpr (kSteps == 3) {
      sum = L::Add(sum, line.beyond[2]);
      squares = L::Add(squares, L::Mul(L::Set(5), line.beyond[2]));
    }
    const V c = L::Sub(L::Mul(steps, sum), squares);
    const V a =
        L::Sub(L::Sub(L::Mul(L::Set(kSteps * kSteps), colors_.count), L::Mul(steps, sum)), c);
    const V determinant = L::Sub(L::Mul(a, squares), L::Mul(c, c));
    const M singular = L::Eq(determinant, L::Set(0));
    // All pixels at one step: both ends become their mean.
    const V mean = L::Max(L::Mul(steps, colors_.count), L::Set(1));
    return {a, squares, c, L::Select(singular, mean, determinant), singular};
  }

  /// Finds the best ends for the assignment; keeps them when they are the best so far.
  Ends Solve(const Assignment& line) {
    const Equations e = Normal(line);
    Ends ends;
    V cost = SolveChannel(e, colors_.red_sum, line.red, false, ends.red);
    cost = L::Add(cost, SolveChannel(e, Low16(colors_.green_blue_sum), Low16(line.green_blue), true,
                                     ends.green));
    cost = L::Add(cost, SolveChannel(e, High16(colors_.green_blue_sum), High16(line.green_blue),
                                     false, ends.blue));
    const M better = L::Gt(best_cost_, cost);
    best_cost_ = L::Select(better, cost, best_cost_);
    for (int i = 0; i < 2; ++i) {
      best_.red[i] = L::Select(better, ends.red[i], best_.red[i]);
      best_.green[i] = L::Select(better, ends.green[i], best_.green[i]);
      best_.blue[i] = L::Select(better, ends.blue[i], best_.blue[i]);
    }
    return ends;
  }

  /// The least-squares ends of one channel, rounded to the best of the four pairs of stored numbers
  /// around them. Returns the error without its constant.
  V SolveChannel(const Equations& e, V sum, V y, bool six_bits, V* ends) const {
    const V x = L::Sub(L::Mul(L::Set(kSteps), sum), y);
    const V first = L::Sub(L::Mul(e.b, x), L::Mul(e.c, y));
    const V second = L::Sub(L::Mul(e.a, y), L::Mul(e.c, x));
    const V greatest = L::Set(six_bits ? 63 : 31);
    V candidates0[2], candidates1[2], shown1[2], part1[2];
    candidates0[0] = ToStored(L::Select(e.singular, sum, first), e.determinant, six_bits);
    candidates1[0] = ToStored(L::Select(e.singular, sum, second), e.determinant, six_bits);
    candidates0[1] = L::Min(L::Add(candidates0[0], L::Set(1)), greatest);
    candidates1[1] = L::Min(L::Add(candidates1[0], L::Set(1)), greatest);
    for (int i = 0; i < 2; ++i) {
      shown1[i] = Show(six_bits, candidates1[i]);
      part1[i] = Part(shown1[i], e.b, y);
    }
    V cost = L::Set(0x7FFFFFFF);
    ends[0] = candidates0[0];
    ends[1] = candidates1[0];
    for (int i = 0; i < 2; ++i) {
      const V shown0 = Show(six_bits, candidates0[i]);
      const V part0 = Part(shown0, e.a, x);
      const V cross = L::Mul(L::Add(e.c, e.c), shown0);
      for (int k = 0; k < 2; ++k) {
        const V candidate = L::Add(L::Add(part0, part1[k]), L::Mul(cross, shown1[k]));
        const M better = L::Gt(cost, candidate);
        cost = L::Min(cost, candidate);
        ends[0] = L::Select(better, candidates0[i], ends[0]);
        ends[1] = L::Select(better, candidates1[k], ends[1]);
      }
    }
    return cost;
  }

  /// a ee - 2 kSteps ex.
  static V Part(V shown, V a, V x) {
    return L::Mul(shown, L::Sub(L::Mul(a, shown), L::Mul(L::Set(2 * kSteps), x)));
  }

  /// kSteps * numerator / determinant, an 8-bit color, as a stored number, rounded down.
  V ToStored(V numerator, V determinant, bool six_bits) const {
    // For renderers the greatest number is 255; on the grid a unit is 8 or 4.
    const int32_t levels = six_bits ? 63 : 31;
    const int32_t unit = six_bits ? 4 : 8;
    const M shown_by_renderers = L::Eq(grid_, L::Set(0));
    const V up = L::Select(shown_by_renderers, L::Set(levels * kSteps), L::Set(kSteps));
    const V down = L::Select(shown_by_renderers, L::Set(255), L::Set(unit));
    const V q = L::Quotient(L::Mul(L::Max(numerator, L::Set(0)), up), L::Mul(determinant, down));
    return L::Min(q, L::Set(levels));
  }

  /// All pixels at step 1: the pair of ends whose mixture is nearest to their mean. This is the
  /// best for flat blocks.
  void StartWithOneColor() {
    V cost = OneChannel(colors_.red_sum, false, best_.red);
    cost = L::Add(cost, OneChannel(Low16(colors_.green_blue_sum), true, best_.green));
    cost = L::Add(cost, OneChannel(High16(colors_.green_blue_sum), false, best_.blue));
    best_cost_ = L::Select(L::Eq(grid_, L::Set(0)), cost, L::Set(0x7FFFFFFF));
  }

  V OneChannel(V sum, bool six_bits, V* ends) const {
    const V twice = L::Max(L::Add(colors_.count, colors_.count), L::Set(1));
    const V mean = L::Quotient(L::Add(L::Add(sum, sum), colors_.count), twice);
    const V pair =
        L::Lookup(six_bits ? kOneColor.six[kSteps - 2] : kOneColor.five[kSteps - 2], mean);
    ends[0] = L::And(pair, L::Set(255));
    ends[1] = L::Shr(8, pair);
    // kSteps times the color shown.
    const V shown =
        L::Add(L::Mul(L::Set(kSteps - 1), Show(six_bits, ends[0])), Show(six_bits, ends[1]));
    return Part(shown, colors_.count, sum);
  }

  /// Assigns every pixel to the nearest of the colors that a decoder shows.
  ColorBlock<L> Finish() const {
    V green_blue[4], red[4];
    for (int i = 0; i < 2; ++i) {
      green_blue[i] = Pack(Show6(best_.green[i]), Show5(best_.blue[i]));
      red[i] = Show5(best_.red[i]);
    }
    if constexpr (kSteps == 3) {
      green_blue[2] = Third(green_blue[0], green_blue[1]);
      green_blue[3] = Third(green_blue[1], green_blue[0]);
      red[2] = Third(red[0], red[1]);
      red[3] = Third(red[1], red[0]);
    } else {
      // Masks the bits that move from the upper number into the lower.
      const V halves = L::Set(0x7FFF7FFF);
      green_blue[2] = L::And(L::Shr(1, L::Add16(green_blue[0], green_blue[1])), halves);
      red[2] = L::Shr(1, L::Add(red[0], red[1]));
    }
    ColorBlock<L> block{L::Set(0), L::Set(0), L::Set(0)};
    for (int i = 15; i >= 0; --i) {
      const V opaque = colors_.pixels.opaque[i];
      V least = L::Set(0x7FFFFFFF);
      V index = L::Set(0);
      for (int k = 0; k <= kSteps; ++k) {
        const V d = L::Sub16(colors_.pixels.green_blue[i], green_blue[k]);
        const V r = L::Sub16(colors_.pixels.red[i], red[k]);
        const V distance = L::Add(L::Dot(d, d), L::Dot(r, r));
        index = L::Select(L::Gt(least, distance), L::Set(k), index);
        least = L::Min(least, distance);
      }
      // Index 3 is transparent where there are pixels that do not count.
      index = L::Or(index, L::AndNot(opaque, L::Set(3)));
      block.indices = L::Or(L::Shl(2, block.indices), index);
      block.error = L::Add(block.error, L::And(least, opaque));
    }
    block.ends = L::Or(Word(0), L::Shl(16, Word(1)));
    return block;
  }

  /// (2 a + b) / 3 of both halves, truncated: 21846 is 2^16 / 3 rounded up, and sums are at most
  /// 765, so the excess cannot reach the next whole number, which is at least a third away.
  static V Third(V a, V b) {
    return L::MulHigh16(L::Add16(L::Add16(a, a), b), L::Set(21846 | 21846 << 16));
  }

  V Word(int i) const {
    return L::Or(L::Or(L::Shl(11, best_.red[i]), L::Shl(5, best_.green[i])), best_.blue[i]);
  }

  const Colors& colors_;
  const V grid_;
  Ends best_;
  V best_cost_;
};

ZAV_END_TARGET();

#endif  // per target
