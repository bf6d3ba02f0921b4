// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>

#include "platform/vector_target.h"

namespace zav::test {

/// Whether there are kernels for it: Highway's baselines without vectors are served by the plain
/// code.
inline bool HasVectors(const VectorTarget& target) {
  const std::string name = target.name;
  return target.bit != 0 && name != "SCALAR" && name != "EMU128";
}

/// Runs `body(target)` once with every target that this machine has, forced.
template <typename Body>
void ForEachVectorTarget(Body&& body) {
  std::array<VectorTarget, 32> targets;
  const size_t count = AvailableVectorTargets(targets.data(), targets.size());
  for (size_t i = 0; i < count; ++i) {
    ForceVectorTarget(targets[i]);
    body(targets[i]);
  }
  RestoreVectorTarget();
}

}  // namespace zav::test
