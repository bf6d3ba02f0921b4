// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav {

// The encoder needs a start-up that can fail. Ours never does; the state remains so that tests can
// make it fail.

enum class DdrawState : int { kNotTried, kReady, kFailed };

/// Whether blocks can be encoded; a failed start stays failed.
bool DdrawStartup();
/// For tests.
void ForceDdrawState(DdrawState state);

/// Encodes a picture of whole 4 x 4 cells, BGRA rows `pitch` bytes apart, into DXT1 to DXT5 blocks.
/// DXT1 makes alpha below 128 transparent; DXT2 and DXT4 are DXT3 and DXT5 of the colors
/// multiplied by their alpha.
void EncodeDxt(int32_t variant, const uint8_t* pixels, int32_t width, int32_t height, int64_t pitch,
               uint8_t* blocks);

}  // namespace zav
