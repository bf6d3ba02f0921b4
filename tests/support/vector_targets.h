// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <array>
#include <string>

#include "platform/vector_target.h"

namespace zav::test {

/// Whether the target has kernels: Highway's baselines without vectors use the plain code.
inline bool HasVectors(const VectorTarget& target) {
  const std::string name = target.name;
  return target.bit != 0 && name != "SCALAR" && name != "EMU128";
}

/// Runs `body(target)` with every target of this machine, forced.
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
