// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>

namespace zav {

/// Decodes `count` consecutive blocks into 4 rows of 4 * count BGRA pixels, `pitch` bytes apart.
using DxtBlockRow = void (*)(const uint8_t* blocks, uint8_t* pixels, int64_t pitch, size_t count);

/// One implementation of the decoders.
struct DxtRows {
  const char* target;  ///< "plain" or the instruction set's name
  DxtBlockRow dxt1;
  DxtBlockRow dxt3;
  DxtBlockRow dxt5;
};

/// The reference: one pixel at a time.
const DxtRows& PlainDxtRows();

/// The fastest for this processor, or the one that a test forced.
const DxtRows& SelectedDxtRows();

}  // namespace zav
