// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <atomic>

#include "platform/vector_target.h"

namespace zav {

/// Remembers the chosen table until a test forces another target: asking Highway takes longer than
/// a row of a small picture.
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

// ZAV_SELECT_TABLE(Table, Name), at the end of a file of kernels and inside `#if ZAV_ONCE`, defines
// `const Table& SelectedName()`. It returns the table that the fastest instruction set's
// TargetName() returns, or PlainName()'s where that is forced or there is nothing else.
#ifdef ZAV_HAVE_HIGHWAY

// HWY_ONCE is 1 for one of the instruction sets that a file is compiled for.
#define ZAV_ONCE HWY_ONCE
#define ZAV_SELECT_TABLE(Table, Name)                                                         \
  namespace zav {                                                                             \
  HWY_EXPORT(Target##Name);                                                                   \
  const Table& Selected##Name() {                                                             \
    static constinit TableChoice<Table> choice;                                               \
    return choice.Get(Plain##Name,                                                            \
                      []() -> const Table& { return HWY_DYNAMIC_DISPATCH(Target##Name)(); }); \
  }                                                                                           \
  }                                                                                           \
  static_assert(true)

#else

#define ZAV_ONCE 1
#define ZAV_SELECT_TABLE(Table, Name)                     \
  namespace zav {                                         \
  const Table& Selected##Name() { return Plain##Name(); } \
  }                                                       \
  static_assert(true)

#endif
