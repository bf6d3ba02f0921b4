// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/dxt_encoder.h"

#include <atomic>

namespace zav {
namespace {

std::atomic<DdrawState> g_state{DdrawState::kNotTried};

}  // namespace

bool DdrawStartup() {
  DdrawState state = DdrawState::kNotTried;
  g_state.compare_exchange_strong(state, DdrawState::kReady);
  return state != DdrawState::kFailed;
}

void DdrawShutdown() {}

void ForceDdrawState(DdrawState state) { g_state.store(state); }

void EncodeDxt(int32_t, const uint8_t*, int32_t, int32_t, int64_t, uint8_t*) {}

}  // namespace zav
