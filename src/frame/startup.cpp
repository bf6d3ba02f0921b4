// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "frame/startup.h"

#include <atomic>

#include "encodings/hicolor.h"
#include "platform/processor.h"

namespace zav {
namespace {

std::atomic<uint32_t> g_cpu_features{0};

void ReadCpuFeatures() { g_cpu_features.store(ReadProcessorBits(), std::memory_order_relaxed); }

}  // namespace

uint32_t ZAV_CPU_FEATURES() { return g_cpu_features.load(std::memory_order_relaxed); }

void StartUp() {
  ReadCpuFeatures();
  SelectHicolorVariant(ZAV_CPU_FEATURES());
}

}  // namespace zav
