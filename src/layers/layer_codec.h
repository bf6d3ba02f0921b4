// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "container/record.h"
#include "container/stream.h"
#include "surface/records.h"
#include "surface/surface.h"

namespace zav {

// Shared by the layer encodings. Each has a writer and a reader.
//
// The writer converts the definition to the stored format, fills the picture's size into the
// record, and writes header and data to the stream's file. It neither patches the record's size nor
// seeks; after a false result the caller abandons the record. It never changes the definition's
// buffers.
//
// The reader takes the layer from the stream's block, starting with the header. On failure it
// leaves no buffers in the surface.

/// What to read. kDefinition stops after the header.
enum class Wanted { kDefinition, kPicture };

using LayerWriter = bool (*)(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
using LayerReader = bool (*)(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

/// Converts the definition to the format at the same size; the result is `conversion.dest`. Like a
/// host's conversion, it publishes its environment value, which is 0.
bool ConvertForLayer(ScopedConverter& conversion, const ZAV_GFXDEF& definition, int32_t format);

/// Returns the definition in the format: converted, or with its defaults filled in if it already
/// has the format. Null when it is invalid, lacks a palette or cannot be converted. The result is
/// part of `conversion`.
const ZAV_SURFACE* InFormat(ScopedConverter& conversion, const ZAV_GFXDEF& definition,
                            int32_t format);

/// Writes a layer's header.
void WriteLayerHeader(ZAV_STREAM& stream, const ZAV_LAYER& layer);

/// Takes the header of the next record, which must be of a known kind; null if it is cut off.
const uint8_t* TakeHeader(ZAV_STREAM& stream);

/// Stores the picture's width, height and pitch in the header.
void StoreExtent(ZAV_LAYER& layer, const ZAV_GFXDEF& picture);

/// Resets a surface: releases what it owned and defines it by the format and the header's width,
/// height and pitch. False when no picture can have those.
bool LoadExtent(ZAV_SURFACE& surface, int32_t format, const uint8_t* header);

}  // namespace zav
