// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/records.h"

namespace zav {

// A container as a picture file. The picture is the first image record; layers and unknown records
// before it are skipped.

/// Reads the picture into the converter's source, pointing into the data where the encoding allows,
/// and converts it when a destination format is set.
bool ContainerRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size);

/// Reports the picture's definition, with null pixels.
bool ContainerGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size);

}  // namespace zav
