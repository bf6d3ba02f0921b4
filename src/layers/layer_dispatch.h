// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include "layers/layer_codec.h"

namespace zav {

/// Writes a complete layer of the record's kind, size included. On failure the file's offset is
/// back where it was; the caller decides whether the stream fails.
bool WriteLayer(ZAV_STREAM& stream, ZAV_LAYER* layer, const ZAV_GFXDEF* definition);

/// Reads the layer at the stream's position. A failure does not fail the stream.
bool ReadLayer(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted);

}  // namespace zav
