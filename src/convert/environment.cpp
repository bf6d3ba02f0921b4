// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "convert/environment.h"

#include <atomic>

namespace zav {
namespace {

// A single word: nothing else is published with it, so no ordering is needed.
std::atomic<uint32_t> g_published_env{0};

}  // namespace

void PublishEnv(const ZAV_CONVERTER& converter) {
  g_published_env.store(converter.env, std::memory_order_relaxed);
}

uint32_t PublishedEnv() { return g_published_env.load(std::memory_order_relaxed); }

}  // namespace zav
