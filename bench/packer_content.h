// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zav::test {

/// Repeatable imitations of the kinds of bytes that the packer gets.
enum class PackerContent {
  kPlanar,       ///< one channel of a photograph
  kPlanar5,      ///< the same with 5 bits kept
  kInterleaved,  ///< BGRA pixels of a photograph, opaque
  kDrawn,        ///< one channel of a drawing: flat shapes, hatching, a gradient
  kIndices,      ///< a dithered palettized picture
  kMask,         ///< alpha of a few shapes with soft edges
  kBlocks,       ///< 4x4 blocks of two end colors and sixteen 2-bit indices
  kNoise,        ///< does not shrink
};
inline constexpr PackerContent kAllPackerContents[] = {
    PackerContent::kPlanar, PackerContent::kPlanar5, PackerContent::kInterleaved,
    PackerContent::kDrawn,  PackerContent::kIndices, PackerContent::kMask,
    PackerContent::kBlocks, PackerContent::kNoise};

const char* Name(PackerContent content);
std::vector<uint8_t> MakePackerContent(PackerContent content, size_t size);

}  // namespace zav::test
