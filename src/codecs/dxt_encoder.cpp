// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "codecs/dxt_encoder.h"

#include <algorithm>
#include <atomic>

#include "base/endian.h"
#include "codecs/dxt_block_encoder.h"
#include "codecs/dxt_grid.h"

namespace zav {
namespace {

std::atomic<DdrawState> g_state{DdrawState::kNotTried};

/// Pixels as words 0xAARRGGBB; in DXT2 and DXT4 the colors are multiplied by their alpha.
void CopyPixels(const uint8_t* pixels, size_t count, int32_t variant, uint32_t* words) {
  for (size_t i = 0; i < count; ++i, pixels += 4) words[i] = LoadLe32(pixels);
  if (variant != 2 && variant != 4) return;
  for (size_t i = 0; i < count; ++i) {
    const uint32_t alpha = words[i] >> 24;
    const auto times_alpha = [&](int shift) {
      return ((words[i] >> shift & 255) * alpha + 127) / 255 << shift;
    };
    words[i] = alpha << 24 | times_alpha(16) | times_alpha(8) | times_alpha(0);
  }
}

}  // namespace

bool DdrawStartup() {
  DdrawState state = DdrawState::kNotTried;
  g_state.compare_exchange_strong(state, DdrawState::kReady);
  return state != DdrawState::kFailed;
}

void ForceDdrawState(DdrawState state) { g_state.store(state); }

void EncodeDxt(int32_t variant, const uint8_t* pixels, int32_t width, int32_t height, int64_t pitch,
               uint8_t* blocks) {
  const DxtEncoder& encoder = SelectedDxtEncoder();
  const DxtAlpha alpha = variant == 1   ? DxtAlpha::kPunchThrough
                         : variant <= 3 ? DxtAlpha::kExplicit
                                        : DxtAlpha::kInterpolated;
  const size_t block_bytes = variant == 1 ? 8 : 16;
  const auto across = static_cast<size_t>(width) / 4;
  // Lanes beyond the last block repeat what was there before; their results are dropped.
  alignas(64) uint32_t rows[4][4 * kMostDxtLanes] = {};
  for (int32_t y = 0; y + 4 <= height; y += 4, pixels += 4 * pitch) {
    for (size_t first = 0; first < across; first += encoder.lanes) {
      const size_t count = std::min(encoder.lanes, across - first);
      for (int row = 0; row < 4; ++row) {
        CopyPixels(pixels + row * pitch + first * 16, count * 4, variant, rows[row]);
      }
      encoder.encode(rows, alpha, blocks, count);
      for (size_t i = 0; i < count; ++i, blocks += block_bytes) {
        const uint32_t* const block_rows[4] = {rows[0] + i * 4, rows[1] + i * 4, rows[2] + i * 4,
                                               rows[3] + i * 4};
        MakeGridBlockExact(block_rows, variant == 1, blocks + block_bytes - 8);
      }
    }
  }
}

}  // namespace zav
