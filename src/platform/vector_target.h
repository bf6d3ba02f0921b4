// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>

namespace zav {

// The vectorised kernels are compiled for several instruction sets; a table of them is chosen at
// run time. Every table gives the same bytes as the plain one, so the choice may change at any
// time. Tests and benchmarks force one.

/// An instruction set with its name; the plain code is one of them.
struct VectorTarget {
  int64_t bit;  ///< Highway's target bit; 0 for the plain code
  const char* name;
};

/// Lists what this processor can run, best first, "plain" last; returns how many of at most
/// `capacity` were stored.
size_t AvailableVectorTargets(VectorTarget* out, size_t capacity);

/// Makes every kernel use this target until RestoreVectorTarget.
void ForceVectorTarget(const VectorTarget& target);
void RestoreVectorTarget();

/// Whether the plain code has been forced.
bool PlainForced();

/// A number that changes with each of these calls; never 0.
inline constinit std::atomic<uint32_t> g_vector_target_generation{1};
inline uint32_t VectorTargetGeneration() {
  return g_vector_target_generation.load(std::memory_order_acquire);
}

}  // namespace zav
