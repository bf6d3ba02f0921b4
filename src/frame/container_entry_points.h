// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "container/stream.h"
#include "surface/records.h"

namespace zav {

// Handles of container streams, what hosts write to them, and the reading of layers into public
// records.

/// Null when the file cannot be created, the block is no container, or memory runs out.
ZAV_STREAM* OpenWriteStream(const char* path);
ZAV_STREAM* OpenReadStream(const uint8_t* data, int64_t size);
/// Null is ignored.
void CloseStream(ZAV_STREAM* stream);

/// Reads the next layer into the image's source and converts it when a destination format is set.
/// The result is the read's, and the definitions are stored back whatever it is. Nothing is
/// published: scaling goes by the value last published.
bool DecodeBitmap(ZAV_STREAM* stream, ZAV_IMAGE* image);

/// Reports the next layer's definition and leaves the layer in its place.
bool DecodeBitmapFormat(ZAV_STREAM* stream, ZAV_GFXDEF* definition);

}  // namespace zav
