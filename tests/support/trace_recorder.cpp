// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "support/trace_recorder.h"

#include <utility>

#include "base/trace.h"

static thread_local std::vector<std::string> t_traces;

// Replaces the library's, which is alone in its object file.
void zav::TraceHook(const char* text) { t_traces.emplace_back(text); }

std::vector<std::string> zav::test::TakeTraces() { return std::exchange(t_traces, {}); }
