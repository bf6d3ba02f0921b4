// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

// A squiz image leaves out blocks that are all background, which suits sprites with large
// transparent or flat areas. The other blocks form one layer.

/// Writes the record: a name, which may be null, the row records, and the layer. A failure fails
/// the stream; a picture that cannot be converted writes nothing. A picture that is all background
/// fails too: a layer is at least one block wide.
bool WriteSquizImage(ZAV_STREAM& stream, const char* name, ZAV_LAYER* layer,
                     const ZAV_GFXDEF* definition);

/// Reads the record as one picture: ZAV_FMT_PAL8 if the layer is, otherwise ZAV_FMT_BGRA32. With
/// Wanted::kDefinition, format and pitch are the layer's.
bool ReadSquizImage(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
