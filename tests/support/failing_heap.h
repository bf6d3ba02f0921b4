// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

namespace zav::test {

/// While it exists, the library's allocations on this thread fail after `granted` more.
class FailingHeap {
 public:
  explicit FailingHeap(int granted);
  FailingHeap(const FailingHeap&) = delete;
  FailingHeap& operator=(const FailingHeap&) = delete;
  ~FailingHeap();

  /// How many allocations were refused.
  int refused() const;
};

/// Runs `operation() -> bool` with 0, 1, 2, ... allocations granted until none is refused, and
/// calls `on_failure(granted, succeeded)` after every run with a refused one. Returns the number of
/// those runs. The sanitizer build finds leaks.
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
