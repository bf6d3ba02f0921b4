// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

/// Writes a plain image record: a name, which may be null, and one layer. A failure fails the
/// stream; bytes written before it stay in the file.
bool WriteImage(ZAV_STREAM& stream, const char* name, ZAV_LAYER* layer,
                const ZAV_GFXDEF* definition);

/// Reads the record's header and its layer. A record of another kind fails the stream.
bool ReadPlainImage(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
