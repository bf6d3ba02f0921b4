// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

// A container as a picture file: its first image record is the picture, layers and unknown records
// in front of it are passed over.

/// Reads the picture into the converter's source, pointing into the data where the encoding allows,
/// and converts it when a destination format is set.
bool ContainerRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size);

/// Reports the picture's definition, with null pixels.
bool ContainerGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size);

}  // namespace zav
