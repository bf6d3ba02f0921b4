// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <algorithm>
#include <bit>
#include <utility>

#include "encodings/hicolor_rows.h"
#include "surface/format_table.h"

namespace zav {
namespace {

using Channels = std::array<HicolorChannel, 4>;

/// The left shift that brings the highest set bit of a 16-bit mask to bit 15; 0 for an empty mask.
constexpr int32_t DeriveShift(uint32_t mask) {
  const auto low = static_cast<uint16_t>(mask);
  return low == 0 ? 0 : std::countl_zero(low);
}

constexpr HicolorChannel Channel(uint32_t mask) {
  // The masks are 32-bit fields; a 16-bit pixel uses the low half.
  const int32_t shift = DeriveShift(mask);
  return {static_cast<uint16_t>(mask), static_cast<uint16_t>(mask & (0xFF00u >> shift)), shift};
}

/// The channels of a surface or a format, blue first as in 32-bit BGRA.
template <class Masks>
constexpr Channels ChannelsOf(const Masks& masks) {
  return {Channel(masks.blue_mask), Channel(masks.green_mask), Channel(masks.red_mask),
          Channel(masks.alpha_mask)};
}

/// The channel's bits, moved to the top of a byte.
constexpr uint32_t TopByte(const HicolorChannel& channel) {
  return uint32_t{channel.reach} << channel.shift >> 8;
}

constexpr bool FieldsAreApart(const Channels& channels) {
  uint32_t taken = 0;
  for (const HicolorChannel& channel : channels) {
    if ((taken & channel.reach) != 0) return false;
    taken |= channel.reach;
  }
  return true;
}

/// A channel's byte is needed 2^(8 - shift) times. A factor of 2^places makes all of these whole;
/// each is then split into the weight of the byte and that of its pair's sum. Byte weights up to
/// 2^6 keep a pair's sum within 15 bits; sum weights up to 2^14 have a sign bit to spare.
constexpr HicolorProducts Products(const Channels& channels) {
  HicolorProducts products{FieldsAreApart(channels), 0, 0, 0, 0};
  for (const HicolorChannel& c : channels) {
    if (c.reach != 0) products.places = std::max(products.places, c.shift - 8);
  }
  const auto power = [&](size_t i) { return 8 - channels[i].shift + products.places; };
  for (size_t first = 0; first < 4; first += 2) {
    int32_t sum_power = 14;
    for (size_t i = first; i < first + 2; ++i) {
      if (channels[i].reach != 0) sum_power = std::min(sum_power, power(i));
    }
    products.sum_weights |= 1u << sum_power << (first * 8);
    for (size_t i = first; i < first + 2; ++i) {
      if (channels[i].reach == 0) continue;
      const int32_t byte_power = power(i) - sum_power;
      if (byte_power > 6) {
        products.exact = false;
        return products;
      }
      products.byte_weights |= 1u << byte_power << (i * 8);
      products.kept |= TopByte(channels[i]) << (i * 8);
    }
  }
  return products;
}

constexpr HicolorPair Pair(const HicolorChannel& low, const HicolorChannel& high) {
  return {static_cast<uint16_t>(TopByte(low) | TopByte(high) << 8),
          static_cast<uint16_t>(low.shift >= 8 ? 1 << (low.shift - 8) : 0),
          static_cast<uint16_t>(low.shift < 8 ? 1 << (low.shift + 8) : 0),
          static_cast<uint16_t>(1 << high.shift)};
}

constexpr HicolorLayout Narrowing(Channels channels, ChannelOrder order, int32_t true_color_bytes) {
  if (order == ChannelOrder::kRedFirst) std::swap(channels[0], channels[2]);
  if (true_color_bytes == 3) channels[3].reach = 0;
  HicolorLayout layout{};
  layout.channels = channels;
  layout.products = Products(channels);
  return layout;
}

constexpr HicolorLayout Widening(const Channels& channels) {
  HicolorLayout layout{};
  layout.channels = channels;
  const auto& [first, second, third, alpha] = channels;
  if (alpha.mask == 0) {
    layout.opaque = 255;
  } else {
    layout.fill = static_cast<uint8_t>(255 - TopByte(alpha));
  }
  layout.pairs = {Pair(first, third), Pair(second, alpha)};
  return layout;
}

/// All layouts for conversions to or from one format.
struct FormatLayouts {
  explicit constexpr FormatLayouts(const FormatRow& row) : widening(Widening(ChannelsOf(row))) {
    for (const ChannelOrder order : {ChannelOrder::kRedFirst, ChannelOrder::kBlueFirst}) {
      for (const int32_t bytes : {3, 4}) {
        narrowing[Order(order)][bytes == 4] = Narrowing(ChannelsOf(row), order, bytes);
      }
    }
  }
  static constexpr size_t Order(ChannelOrder order) { return static_cast<size_t>(order); }

  HicolorLayout widening;
  HicolorLayout narrowing[2][2];
};

// The formats whose masks are fixed. Their layouts are computed at compile time: for small pictures
// it would take a tenth of the time.
constexpr FormatLayouts kFixed[] = {
    FormatLayouts(Format(ZAV_FMT_RGB565)), FormatLayouts(Format(ZAV_FMT_RGB555)),
    FormatLayouts(Format(ZAV_FMT_ARGB4444)), FormatLayouts(Format(ZAV_FMT_ARGB1555))};
static_assert(ZAV_FMT_RGB555 == ZAV_FMT_RGB565 + 1 && ZAV_FMT_ARGB4444 == ZAV_FMT_RGB565 + 2 &&
              ZAV_FMT_ARGB1555 == ZAV_FMT_RGB565 + 3);

/// Null for custom masks.
const FormatLayouts* FixedLayouts(const ZAV_SURFACE& surface) {
  const bool fixed = surface.format >= ZAV_FMT_RGB565 && surface.format <= ZAV_FMT_ARGB1555;
  return fixed ? &kFixed[surface.format - ZAV_FMT_RGB565] : nullptr;
}

}  // namespace

void PrepareHicolorMasks(ZAV_SURFACE& surface) {
  if (surface.format == ZAV_FMT_CUSTOM16_1 || surface.format == ZAV_FMT_CUSTOM16_2) return;
  const FormatRow& row = Format(surface.format);
  surface.alpha_mask = row.alpha_mask;
  surface.red_mask = row.red_mask;
  surface.green_mask = row.green_mask;
  surface.blue_mask = row.blue_mask;
}

HicolorLayout NarrowingLayout(const ZAV_SURFACE& surface, ChannelOrder order,
                              int32_t true_color_bytes) {
  const FormatLayouts* fixed = FixedLayouts(surface);
  if (fixed != nullptr) return fixed->narrowing[fixed->Order(order)][true_color_bytes == 4];
  return Narrowing(ChannelsOf(surface), order, true_color_bytes);
}

HicolorLayout WideningLayout(const ZAV_SURFACE& surface) {
  const FormatLayouts* fixed = FixedLayouts(surface);
  return fixed != nullptr ? fixed->widening : Widening(ChannelsOf(surface));
}

}  // namespace zav
