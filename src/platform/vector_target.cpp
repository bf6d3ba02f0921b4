// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/vector_target.h"

#include <atomic>

#ifdef ZAV_HAVE_HIGHWAY
#include <hwy/highway.h>
#include <hwy/targets.h>
#endif

namespace zav {
namespace {

std::atomic<bool> g_plain_forced{false};

}  // namespace

size_t AvailableVectorTargets(VectorTarget* out, size_t capacity) {
  size_t count = 0;
#ifdef ZAV_HAVE_HIGHWAY
  for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
    if (count < capacity) out[count++] = {target, hwy::TargetName(target)};
  }
#endif
  if (count < capacity) out[count++] = {0, "plain"};
  return count;
}

void ForceVectorTarget(const VectorTarget& target) {
  g_plain_forced.store(target.bit == 0, std::memory_order_relaxed);
#ifdef ZAV_HAVE_HIGHWAY
  hwy::SetSupportedTargetsForTest(target.bit);
  hwy::GetChosenTarget().Update(hwy::SupportedTargets());
#endif
  g_vector_target_generation.fetch_add(1, std::memory_order_release);
}

void RestoreVectorTarget() {
  ForceVectorTarget({0, "plain"});  // bit 0 lifts the restriction of the vector targets
  g_plain_forced.store(false, std::memory_order_relaxed);
  g_vector_target_generation.fetch_add(1, std::memory_order_release);
}

bool PlainForced() { return g_plain_forced.load(std::memory_order_relaxed); }

}  // namespace zav
