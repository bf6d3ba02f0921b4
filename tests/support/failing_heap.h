// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

namespace zav::test {

/// While it lives, the library's allocations on this thread fail after `granted` more have been
/// granted.
class FailingHeap {
 public:
  explicit FailingHeap(int granted);
  FailingHeap(const FailingHeap&) = delete;
  FailingHeap& operator=(const FailingHeap&) = delete;
  ~FailingHeap();

  /// How many allocations were refused.
  int refused() const;
};

/// Runs `operation(void) -> bool` with 0, 1, 2, ... allocations granted, until it is refused none.
/// Returns how often it was refused one; `operation` must report failure then, and is asked to
/// look for itself that nothing has changed. Leaks are found by the sanitizer build.
template <typename Operation, typename OnFailure>
int FailEveryAllocation(Operation&& operation, OnFailure&& on_failure) {
  for (int granted = 0;; ++granted) {
    bool succeeded = false;
    int refused = 0;
    {
      FailingHeap heap(granted);
      succeeded = operation();
      refused = heap.refused();
    }
    if (refused == 0) return granted;
    on_failure(granted, succeeded);
  }
}

}  // namespace zav::test
