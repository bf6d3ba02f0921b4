// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT

// Where the bilinear filter finds the neighbours of each column, and how it weights them: see
// scale_bilinear_blend-inl.h. Included once per target, after hwy/highway.h.

#if defined(ZAV_SCALING_SCALE_BILINEAR_TABLE_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef ZAV_SCALING_SCALE_BILINEAR_TABLE_INL_H_
#undef ZAV_SCALING_SCALE_BILINEAR_TABLE_INL_H_
#else
#define ZAV_SCALING_SCALE_BILINEAR_TABLE_INL_H_
#endif

#include "platform/target_namespace.h"
#include "scaling/scale_tables-inl.h"

#if !ZAV_SCALE_PLAIN

ZAV_BEGIN_TARGET();

/// How far apart the neighbours of the pixels in a block lie: 16-byte loads for four pixels or two,
/// or 8-byte loads for each.
enum class Reach { kFour, kTwo, kOne };

template <Reach kReach>
constexpr size_t kPixelsOfLoad = kReach == Reach::kFour  ? 4
                                 : kReach == Reach::kTwo ? 2
                                                         : 1;

Reach ReachFor(const ScaleJob& job) {
  const auto within = [&](int64_t pixels) {
    const int64_t apart = ((pixels - 1) * job.step_x + kOnePixel - 1) >> 16;
    return (apart + 2) * job.bytes <= int64_t{kBlock};
  };
  return within(4) ? Reach::kFour : within(2) ? Reach::kTwo : Reach::kOne;
}

// In bytes per column: shuffles, weights, offsets, two rows and their difference.
using FilterRoom = TileRoom<8 + 8 + 4 + 4 + 4 + 8>;

struct FilterTable {
  explicit FilterTable(FilterRoom::Arrays arrays)
      : shuffle(arrays.Take<uint8_t>(8)),
        weight(arrays.Take<int16_t>(8)),
        load(arrays.Take<uint32_t>(4)),
        rows{arrays.Take<uint8_t>(4), arrays.Take<uint8_t>(4)},
        difference(arrays.Take<int16_t>(8)) {}

  uint8_t* shuffle;     // pairs of bytes: base, other
  int16_t* weight;      // of base - other, two or four lanes to a pixel
  uint32_t* load;       // one to a load
  uint8_t* rows[2];     // blended across, 4 bytes to a pixel
  int16_t* difference;  // lower row - upper row, the halves of each vector's blocks apart
};

/// Bytes of whole vectors of 4-byte pixels.
size_t LaneBytes(size_t count) { return WholeVectors(count * 4); }

// The table is filled four columns at a time, one to a lane.
using Four = hn::FixedTag<uint32_t, 4>;
using VectorOfFour = hn::Vec<Four>;

struct FourColumns {
  VectorOfFour pixel;     ///< number of the left neighbour
  VectorOfFour fraction;  ///< how far beyond it, in 65536ths
};

/// Walks over the columns, four at a time.
class ColumnWalk {
 public:
  /// The first column lies at `x`.
  HWY_INLINE ColumnWalk(int64_t x, int64_t step)
      : low_(hn::OddEven(hn::Set(Wide(), x + step), hn::Set(Wide(), x))),
        two_steps_(hn::Set(Wide(), 2 * step)) {}

  HWY_INLINE FourColumns Next() {
    const Four d;
    const auto lanes = [=](auto first, auto second) HWY_ATTR {
      return hn::ConcatEven(d, hn::BitCast(d, second), hn::BitCast(d, first));
    };
    const auto high = hn::Add(low_, two_steps_);
    const FourColumns columns = {lanes(hn::ShiftRight<16>(low_), hn::ShiftRight<16>(high)),
                                 hn::And(lanes(low_, high), hn::Set(d, 0xFFFF))};
    low_ = hn::Add(high, two_steps_);
    return columns;
  }

 private:
  using Wide = hn::FixedTag<int64_t, 2>;
  hn::Vec<Wide> low_, two_steps_;
};

/// The offset of each lane's load: that of the first pixel the load serves.
template <Reach kReach>
HWY_INLINE VectorOfFour FirstOfLoad(VectorOfFour bytes) {
  if constexpr (kReach == Reach::kFour) return hn::Broadcast<0>(bytes);
  if constexpr (kReach == Reach::kTwo) return hn::DupEven(bytes);
  return bytes;
}

/// Stores the offsets of the loads, one to a lane.
template <Reach kReach>
HWY_INLINE void SetLoads(const FilterTable& table, size_t i, VectorOfFour loads) {
  if constexpr (kReach == Reach::kFour) {
    table.load[i / 4] = hn::GetLane(loads);
  } else {
    const hn::Half<Four> pair;
    const auto first = hn::LowerHalf(pair, loads);
    const auto second = hn::UpperHalf(pair, loads);
    const size_t first_slot = AlternatingSlot(i / 2);
    const size_t second_slot = AlternatingSlot(i / 2 + 1);
    if constexpr (kReach == Reach::kTwo) {
      table.load[first_slot] = hn::GetLane(first);
      table.load[second_slot] = hn::GetLane(second);
    } else {
      hn::StoreU(first, pair, table.load + 2 * first_slot);
      hn::StoreU(second, pair, table.load + 2 * second_slot);
    }
  }
}

/// Stores which bytes of a load make the pairs of the columns' channels, and their weights. `pairs`
/// are two pairs of the first channel, `weights` two weights.
template <Reach kReach>
HWY_INLINE void SetColumns(const FilterTable& table, size_t i, VectorOfFour pairs,
                           VectorOfFour weights) {
  const Four d;
  const auto shuffle = [=](uint32_t channels) HWY_ATTR {
    // Masked for pixels without weight at the end of the row, whose neighbour would lie outside,
    // and for fourth bytes.
    return hn::And(hn::Add(pairs, hn::Set(d, channels)), hn::Set(d, 0x0F0F0F0F));
  };
  const auto store = [=](VectorOfFour v, void* to)
                         HWY_ATTR { hn::StoreU(v, d, static_cast<uint32_t*>(to)); };
  if constexpr (kReach == Reach::kFour) {
    // Even and odd shuffles are apart by a vector.
    const size_t block = i / 4;
    uint8_t* to =
        table.shuffle + block / kVectorBlocks * 2 * kVectorBytes + block % kVectorBlocks * kBlock;
    store(shuffle(0x02020000), to);
    store(shuffle(0x03030101), to + kVectorBytes);
    store(weights, table.weight + 2 * i);
  } else {
    const auto low = shuffle(0x01010000);
    const auto high = shuffle(0x03030202);
    const size_t first = AlternatingSlot(i / 2);
    const size_t second = AlternatingSlot(i / 2 + 1);
    store(hn::InterleaveLower(d, low, high), table.shuffle + kBlock * first);
    store(hn::InterleaveUpper(d, low, high), table.shuffle + kBlock * second);
    store(hn::InterleaveLower(d, weights, weights), table.weight + 8 * first);
    store(hn::InterleaveUpper(d, weights, weights), table.weight + 8 * second);
  }
}

/// The lower half of each lane in both.
HWY_INLINE VectorOfFour Twice(VectorOfFour halves) {
  return hn::Or(halves, hn::ShiftLeft<16>(halves));
}

/// Fills the table's columns from `begin` to `end`, the first of which lies at `x`. Some may lie
/// beyond the row: their loads do not.
template <size_t kBytes, Reach kReach>
HWY_INLINE void FillColumns(const ScaleJob& job, const FilterTable& table, int64_t x, size_t begin,
                            size_t end) {
  const Four d;
  constexpr size_t kLoadBytes = kReach == Reach::kOne ? kBlock / 2 : kBlock;
  const auto last_load = hn::Set(d, static_cast<uint32_t>(RowBytes(job) - kLoadBytes));
  const auto pixel_bytes = hn::Set(d, uint32_t{kBytes});
  // Where a load's pixel is in a block of two loads.
  alignas(16) static constexpr uint32_t kStarts[] = {0, 8, 0, 8};
  const auto starts = kReach == Reach::kOne ? hn::Load(d, kStarts) : hn::Zero(d);
  ColumnWalk walk(x, job.step_x);
  for (size_t i = begin; i < end; i += 4) {
    const FourColumns columns = walk.Next();
    const auto bytes = kBytes == 4 ? hn::ShiftLeft<2>(columns.pixel)
                                   : hn::Add(columns.pixel, hn::Add(columns.pixel, columns.pixel));
    const auto loads = hn::Min(FirstOfLoad<kReach>(bytes), last_load);
    SetLoads<kReach>(table, i, loads);
    const auto left = hn::Add(hn::Sub(bytes, loads), starts);
    const auto right = hn::Add(left, pixel_bytes);
    // Without branches: the nearer neighbour, which is the base, changes all the time. The weight
    // of base - other is -fraction, or with the right pixel as base fraction - 65536.
    const hn::RebindToSigned<Four> di;
    const auto to_right =
        hn::RebindMask(d, hn::Gt(hn::BitCast(di, columns.fraction), hn::Set(di, 0x8000)));
    const auto base = hn::IfThenElse(to_right, right, left);
    const auto other = hn::IfThenElse(to_right, left, right);
    const auto pair = hn::Or(base, hn::ShiftLeft<8>(other));
    const auto weight =
        hn::IfThenElse(to_right, columns.fraction, hn::Sub(hn::Zero(d), columns.fraction));
    const auto weight_word = hn::And(weight, hn::Set(d, 0xFFFF));
    SetColumns<kReach>(table, i, Twice(pair), Twice(weight_word));
  }
}

template <size_t kBytes, Reach kReach>
void FillFilterTable(const ScaleJob& job, int64_t first, size_t count, FilterTable table) {
  const size_t whole = count / kVectorPixels * kVectorPixels;
  FillColumns<kBytes, kReach>(job, table, first * job.step_x, 0, whole);
  if (whole == count) return;
  // The last vector ends with the row and repeats pixels of the one before; of a row of less than a
  // vector what is made beyond its end is dropped.
  const size_t last = count < kVectorPixels ? 0 : count - kVectorPixels;
  FillColumns<kBytes, kReach>(job, table, (first + static_cast<int64_t>(last)) * job.step_x, whole,
                              whole + kVectorPixels);
}

ZAV_END_TARGET();

#endif  // !ZAV_SCALE_PLAIN

#endif  // per target
