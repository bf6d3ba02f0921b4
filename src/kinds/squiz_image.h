// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

// A squiz image leaves out the blocks of a picture that are nothing but background, which suits
// sprites with large transparent or flat areas. The other blocks are one layer.

/// Writes the record: a name, which may be null, the row records, and the layer. The block size is
/// 1 to 255. A failure fails the stream; a picture that cannot be converted writes nothing. A
/// picture of nothing but background fails, too: a layer is at least one block wide.
bool WriteSquizImage(ZAV_STREAM& stream, const char* name, ZAV_LAYER* layer,
                     const ZAV_GFXDEF* definition, int32_t block_size);

/// Reads the record as one picture, ZAV_FMT_PAL8 where the layer is, else ZAV_FMT_BGRA32. A mere
/// definition has the layer's own format and pitch.
/// `name` takes kNameLength + 1 characters and may be null.
bool ReadSquizImage(ZAV_STREAM& stream, char* name, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
