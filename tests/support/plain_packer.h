// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

namespace zav::test {

// The packer in its plainest form: a table of all two-byte keys, a ring of 510 nodes in doubly
// linked chains, one bit field at a time, bytes copied one by one. It shares no code with the
// library, which is compared and timed against it. Arguments and results are those of ZAV_PACKER.

int32_t PlainCompress(const uint8_t* source, uint8_t* dest, int32_t size);
int32_t PlainDecompress(const uint8_t* source, int64_t source_size, uint8_t* dest,
                        int64_t dest_capacity);

}  // namespace zav::test
