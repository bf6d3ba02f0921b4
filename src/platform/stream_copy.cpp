// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "platform/stream_copy.h"

#include <algorithm>
#include <atomic>
#include <cstring>

#include "platform/vector_target.h"

#ifdef ZAV_HAVE_HIGHWAY

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "platform/stream_copy.cpp"
#include <hwy/foreach_target.h>
// After foreach_target.h, which includes this file once per target.
#include <hwy/cache_control.h>
#include <hwy/highway.h>

#include "platform/target_namespace.h"

ZAV_BEGIN_TARGET();

/// `dest` starts a cache line and `count` is a multiple of one.
void StreamLines(uint8_t* HWY_RESTRICT dest, const uint8_t* HWY_RESTRICT source, size_t count) {
  const hn::CappedTag<uint8_t, kCacheLine> d;
  for (size_t i = 0; i < count; i += kCacheLine) {
    for (size_t j = 0; j < kCacheLine; j += hn::Lanes(d)) {
      hn::Stream(hn::LoadU(d, source + i + j), d, dest + i + j);
    }
  }
}

ZAV_END_TARGET();

#if HWY_ONCE
namespace zav {

HWY_EXPORT(StreamLines);

namespace {

constexpr int64_t kStreamedRowBytes = 1024;
std::atomic<int64_t> g_stream_from{kStreamFrom};

}  // namespace

// Only x86 has streaming stores that every compiler knows.
bool StreamingPays(int64_t row_bytes, int64_t rows) {
  const int64_t from = g_stream_from.load(std::memory_order_relaxed);
  return HWY_ARCH_X86 && !PlainForced() && row_bytes >= std::min(kStreamedRowBytes, from) &&
         row_bytes * rows >= from;
}

void SetStreamFrom(int64_t bytes) {
  g_stream_from.store(bytes == 0 ? kStreamFrom : bytes, std::memory_order_relaxed);
}

void StreamCopy(uint8_t* dest, const uint8_t* source, size_t count) {
  const size_t head = std::min(count, (0 - reinterpret_cast<uintptr_t>(dest)) % kCacheLine);
  std::memcpy(dest, source, head);
  const size_t lines = (count - head) / kCacheLine * kCacheLine;
  HWY_DYNAMIC_DISPATCH(StreamLines)(dest + head, source + head, lines);
  std::memcpy(dest + head + lines, source + head + lines, count - head - lines);
}

void StreamFence() { hwy::FlushStream(); }

}  // namespace zav
#endif

#else

namespace zav {

bool StreamingPays(int64_t, int64_t) { return false; }
void SetStreamFrom(int64_t) {}
void StreamCopy(uint8_t* dest, const uint8_t* source, size_t count) {
  std::memcpy(dest, source, count);
}
void StreamFence() {}

}  // namespace zav

#endif
