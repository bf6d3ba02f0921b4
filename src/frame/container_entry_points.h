// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "container/stream.h"
#include "surface/records.h"

namespace zav {

// Opening and closing streams, and reading layers into public records.

/// Null when the file cannot be created, the block is not a container, or memory runs out.
ZAV_STREAM* OpenWriteStream(const char* path);
ZAV_STREAM* OpenReadStream(const uint8_t* data, int64_t size);
/// Null is ignored.
void CloseStream(ZAV_STREAM* stream);

/// Reads the next layer into the image's source and converts it when a destination format is set.
/// The result is that of the read; the definitions are stored back in any case. Scaling uses the
/// environment value last published by another operation.
bool DecodeBitmap(ZAV_STREAM* stream, ZAV_IMAGE* image);

/// Reports the next layer's definition without consuming the layer.
bool DecodeBitmapFormat(ZAV_STREAM* stream, ZAV_GFXDEF* definition);

}  // namespace zav
