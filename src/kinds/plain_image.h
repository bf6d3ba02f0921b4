// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

/// Writes a plain image record: a name, which may be null, and one layer. A failure fails the
/// stream; what was written up to then stays in the file.
bool WriteImage(ZAV_STREAM& stream, const char* name, ZAV_LAYER* layer,
                const ZAV_GFXDEF* definition);

/// Read an image record's header and its first layer; a record of another kind fails the stream.
/// `name` takes kNameLength + 1 characters and may be null.
bool ReadPlainImage(ZAV_STREAM& stream, char* name, ZAV_SURFACE& surface, Wanted wanted);
bool ReadMipmapImage(ZAV_STREAM& stream, char* name, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
