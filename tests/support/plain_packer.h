// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace zav::test {

// The packer in its plainest form: a table of all two-byte keys, a ring of 510 nodes in doubly
// linked chains, one bit field at a time, bytes copied one by one. It shares no code with the
// library, which is compared and timed against it. Arguments and results are those of ZAV_PACKER.

int32_t PlainCompress(const uint8_t* source, uint8_t* dest, int32_t size);
int32_t PlainDecompress(const uint8_t* source, int64_t source_size, uint8_t* dest,
                        int64_t dest_capacity);

/// Packs with all buffers at the ends of pages, and unpacks again. Returns the block; an empty one
/// if the packer differs from the plain one, or the data do not come back from either decoder.
std::vector<uint8_t> PackAndCompare(const std::vector<uint8_t>& data);

/// Unpacks any bytes with both decoders. Returns their result; -1 if they disagree, also about the
/// output.
int32_t UnpackAndCompare(const std::vector<uint8_t>& block, size_t capacity);

}  // namespace zav::test
