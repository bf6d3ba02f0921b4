// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

#include "platform/vector_target.h"

namespace zav {

/// Remembers which table was chosen until a test forces another target: asking Highway takes longer
/// than a row of a small picture.
template <typename Table>
class TableChoice {
 public:
  template <typename Vectorised>
  const Table& Get(const Table& (*plain)(), const Vectorised& vectorised) {
    const uint32_t generation = VectorTargetGeneration();
    if (generation_.load(std::memory_order_acquire) != generation) {
      const Table& chosen = PlainForced() ? plain() : vectorised();
      table_.store(&chosen, std::memory_order_relaxed);
      generation_.store(generation, std::memory_order_release);
    }
    return *table_.load(std::memory_order_relaxed);
  }

 private:
  std::atomic<const Table*> table_{nullptr};
  std::atomic<uint32_t> generation_{0};
};

}  // namespace zav

// Defines `const Table& Selected()`: what the fastest target's `Factory()` returns, or `Plain()`
// where that is forced or all that there is. It stands in namespace zav at the end of a file of
// kernels, for one target only. Factories need names of their own: the macro makes them global.
#ifdef ZAV_HAVE_HIGHWAY
#define ZAV_SELECT_TABLE(Table, Selected, Factory, Plain)                                       \
  HWY_EXPORT(Factory);                                                                          \
  const Table& Selected() {                                                                     \
    static constinit TableChoice<Table> choice;                                                 \
    return choice.Get(Plain, []() -> const Table& { return HWY_DYNAMIC_DISPATCH(Factory)(); }); \
  }
#else
#define ZAV_SELECT_TABLE(Table, Selected, Factory, Plain) \
  const Table& Selected() { return Plain(); }
#endif
