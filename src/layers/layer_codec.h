// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "container/record.h"
#include "container/stream.h"
#include "surface/records.h"
#include "surface/surface.h"

namespace zav {

// What the layer encodings share. Each has a writer and a reader:
//
// The writer converts the definition to the format that the layer stores, fills the picture's size
// into the record, and writes header and data to the stream's file. It neither patches the record's
// size nor seeks; a false result tells its caller to abandon the record. It never changes or takes
// over the definition's buffers.
//
// The reader takes the layer from the stream's block, the header first. On failure it leaves no
// buffers in the surface.

/// What a reader shall fetch. With the definition alone the position stands behind the header.
enum class Wanted { kDefinition, kPicture };

using LayerWriter = bool (*)(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_GFXDEF& definition);
using LayerReader = bool (*)(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

/// Converts the definition to the format, at its own size, into buffers of the conversion's own.
/// The result is `conversion.dest`. As every conversion of a host does, it publishes its
/// environment value, which is 0.
bool ConvertForLayer(ScopedConverter& conversion, const ZAV_GFXDEF& definition, int32_t format);

/// The definition in the format: itself, with its defaults filled in, where it has the format, else
/// converted. Null when it is invalid, has no palette though its format needs one, or cannot be
/// converted. Lives in `conversion`.
const ZAV_SURFACE* InFormat(ScopedConverter& conversion, const ZAV_GFXDEF& definition,
                            int32_t format);

/// Writes a layer's header.
void WriteLayerHeader(ZAV_STREAM& stream, const ZAV_LAYER& layer);

/// The header of the next record, whose kind is known to exist; null where the data ends inside it.
const uint8_t* TakeHeader(ZAV_STREAM& stream);

/// Stores the picture's width, height and pitch in the header.
void StoreExtent(ZAV_LAYER& layer, const ZAV_GFXDEF& picture);

/// Resets a surface: releases what it owned and defines it by the format and the header's width,
/// height and pitch. False when no picture can have those.
bool LoadExtent(ZAV_SURFACE& surface, int32_t format, const uint8_t* header);

}  // namespace zav
