// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "encodings/hicolor.h"

#include <atomic>

#include "base/trace.h"
#include "encodings/hicolor_rows.h"
#include "platform/processor.h"
#include "surface/row_walker.h"

namespace zav {
namespace {

constexpr char kRgba32Warning[] =
    "ZAV -- PERFORMANCE WARNING: Converting RGB32 Ato Hicolor is not recommended! Use BGRA32 "
    "Source instead!\n";
constexpr char k24BitWarning[] =
    "ZAV -- PERFORMANCE WARNING: Converting 24 Bit to Hicolor is not recommended! Use BGRA32 "
    "Source instead!\n";

std::atomic<HicolorVariant> g_variant{HicolorVariant::kPlain};

void Run(const ZAV_CONVERTER& converter, const HicolorLayout& layout, HicolorRowPair pair) {
  const auto with_layout = [&layout](HicolorRow row) {
    return [&layout, row](const uint8_t* source, uint8_t* dest, size_t count) {
      row(layout, source, dest, count);
    };
  };
  WalkRows(Rows(converter), with_layout(pair.stored), with_layout(pair.streamed));
}

void RunStored(const ZAV_CONVERTER& converter, const HicolorLayout& layout, HicolorRow row) {
  Run(converter, layout, {row, row});
}

HicolorLayout PrepareDestLayout(ZAV_CONVERTER& converter, ChannelOrder order) {
  PrepareHicolorMasks(converter.dest);
  return NarrowingLayout(converter.dest, order, BytesPerPixel(converter.source.format));
}

bool Narrow(ZAV_CONVERTER& converter, ChannelOrder order, HicolorRowPair HicolorRows::*rows) {
  Run(converter, PrepareDestLayout(converter, order), SelectedHicolorRows().*rows);
  return true;
}

/// Whether the surface has one of the two layouts with variants.
bool HasVariants(const ZAV_SURFACE& surface) {
  const FormatRow& rgb565 = Format(ZAV_FMT_RGB565);
  const FormatRow& rgb555 = Format(ZAV_FMT_RGB555);
  const auto is = [&surface](const FormatRow& row) {
    return surface.red_mask == row.red_mask && surface.green_mask == row.green_mask &&
           surface.blue_mask == row.blue_mask;
  };
  return surface.alpha_mask == 0 && (is(rgb565) || is(rgb555));
}

}  // namespace

bool BGRA32ToHicolor(ZAV_CONVERTER& converter) {
  const HicolorLayout layout = PrepareDestLayout(converter, ChannelOrder::kBlueFirst);
  const HicolorVariant variant =
      HasVariants(converter.dest) ? SelectedHicolorVariant() : HicolorVariant::kSse;
  switch (variant) {
    case HicolorVariant::kPlain:
      RunStored(converter, layout, PlainHicolorRows().narrow_32.stored);
      break;
    case HicolorVariant::kMmx:
      RunStored(converter, layout, SelectedHicolorRows().narrow_32.stored);
      break;
    case HicolorVariant::kSse:
      Run(converter, layout, SelectedHicolorRows().narrow_32);
      break;
  }
  return true;
}

bool RGBA32ToHicolor(ZAV_CONVERTER& converter) {
  TraceHook(kRgba32Warning);
  return Narrow(converter, ChannelOrder::kRedFirst, &HicolorRows::narrow_32);
}

bool BGR24ToHicolor(ZAV_CONVERTER& converter) {
  TraceHook(k24BitWarning);
  return Narrow(converter, ChannelOrder::kBlueFirst, &HicolorRows::narrow_24);
}

bool RGB24ToHicolor(ZAV_CONVERTER& converter) {
  TraceHook(k24BitWarning);
  return Narrow(converter, ChannelOrder::kRedFirst, &HicolorRows::narrow_24);
}

bool HicolorToBGRA32(ZAV_CONVERTER& converter) {
  PrepareHicolorMasks(converter.source);
  Run(converter, WideningLayout(converter.source), SelectedHicolorRows().widen);
  return true;
}

void SelectHicolorVariant(uint32_t processor_bits) {
  HicolorVariant variant = HicolorVariant::kPlain;
  if ((processor_bits & kProcessorMmx) != 0) variant = HicolorVariant::kMmx;
  if ((processor_bits & kProcessorSse) != 0) variant = HicolorVariant::kSse;
  g_variant.store(variant, std::memory_order_relaxed);
}

HicolorVariant SelectedHicolorVariant() { return g_variant.load(std::memory_order_relaxed); }

}  // namespace zav
