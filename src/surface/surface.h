// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "surface/format_table.h"
#include "surface/records.h"

namespace zav {

// A surface's buffers are absent (null), borrowed (ownership bit clear) or owned. Only the
// operations here set and clear ownership bits, free buffers and move them between surfaces.

/// Gives the surface a buffer that AllocateBytes returned, to be freed with the surface. False for
/// null; the surface is then unchanged. A buffer that it owned before must be gone already.
bool OwnPixels(ZAV_SURFACE& surface, uint8_t* pixels);
bool OwnPalette(ZAV_SURFACE& surface, uint8_t* palette);

/// Takes the ownership away; the pointer stays. Returns whether the buffer was owned.
bool DisownPixels(ZAV_SURFACE& surface);
bool DisownPalette(ZAV_SURFACE& surface);

/// Bytes of the surface's pixels as pitch and height say; 0 for formats without a size rule.
int64_t ImageBytes(const ZAV_GFXDEF& definition);

/// Sets width, height, format and what follows from them. False when the sides are below 1 or the
/// pitch or the whole picture would pass 2^31 - 1 bytes; the surface is then unchanged.
bool SetDefinition(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format);

/// What probes report of a picture: width, height, format, bytes per pixel and pitch. The other
/// fields stay as they are.
void ReportDefinition(ZAV_GFXDEF& out, const ZAV_GFXDEF& found);

/// SetDefinition, then allocates the pixels and, for palettized formats, the palette that the
/// surface has not got. Pixels are not cleared, but for row padding; palettes are. False also when
/// memory runs out; what was allocated is then owned by the surface.
bool AllocSurface(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format);

/// The same with all pixels that it allocates cleared, for pictures of which little may be filled.
bool AllocClearedSurface(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format);

/// Fills in the source's bytes per pixel and pitch and says whether it can be read.
bool CheckSource(ZAV_CONVERTER& converter);

/// Gives the destination pixels, a pitch and, for palettized formats, a palette (a copy of the
/// source's, or zeros). A destination with pixels keeps its pitch.
bool PrepareDest(ZAV_CONVERTER& converter);

/// The palette part of PrepareDest.
bool PrepareDestPalette(ZAV_CONVERTER& converter);

/// Frees what the chosen surfaces own, nulls those pointers and clears their bits.
void ReleaseSurfaces(ZAV_CONVERTER& converter, bool source, bool dest);
void ReleaseSurface(ZAV_SURFACE& surface);

/// Frees what the surface owns beyond what it was found with, clears the bits of that, and gives
/// the surface back as found: the undoing of an operation that failed.
void RestoreSurface(ZAV_SURFACE& surface, const ZAV_SURFACE& found);

/// The moves: release what the target slot owns, copy the surface, zero the slot it came from.
void MoveSurface(ZAV_SURFACE& to, ZAV_SURFACE& from);
void MoveSource(ZAV_CONVERTER& to, ZAV_CONVERTER& from);
void MoveDestToSource(ZAV_CONVERTER& to, ZAV_CONVERTER& from);
void MoveDest(ZAV_CONVERTER& to, ZAV_CONVERTER& from);

/// The surface's definition and masks without its ownership.
ZAV_SURFACE Borrow(const ZAV_SURFACE& surface);

/// A converter of one's own, whose buffers go with it.
struct ScopedConverter : ZAV_CONVERTER {
  ScopedConverter() : ZAV_CONVERTER{} {}
  ScopedConverter(const ScopedConverter&) = delete;
  ScopedConverter& operator=(const ScopedConverter&) = delete;
  ~ScopedConverter() { ReleaseSurfaces(*this, true, true); }
};

}  // namespace zav
