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

/// Sets width, height, format and everything that follows from them. False, with the surface
/// unchanged, for sides below 1 and for a pitch or picture of more than 2^31 - 1 bytes.
bool SetDefinition(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format);

/// Copies what probes report: width, height, format, bytes per pixel and pitch. Other fields stay.
void ReportDefinition(ZAV_GFXDEF& out, const ZAV_GFXDEF& found);

/// SetDefinition, then allocates pixels and, for palettized formats, a palette where the surface
/// has none. Palettes are cleared; of pixels only the row padding. False also when memory runs out;
/// the surface then owns what was allocated.
bool AllocSurface(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format);

/// The same with cleared pixels, for pictures that may be filled only in part.
bool AllocClearedSurface(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format);

/// Fills in the source's bytes per pixel and pitch, and returns whether it can be read.
bool CheckSource(ZAV_CONVERTER& converter);

/// Gives the destination pixels, a pitch and, for palettized formats, a palette (a copy of the
/// source's, or zeros), each if it has none. A destination with pixels keeps its pitch.
bool PrepareDest(ZAV_CONVERTER& converter);

/// The palette part of PrepareDest.
bool PrepareDestPalette(ZAV_CONVERTER& converter);

/// Frees what the chosen surfaces own, nulls those pointers and clears their bits.
void ReleaseSurfaces(ZAV_CONVERTER& converter, bool source, bool dest);
void ReleaseSurface(ZAV_SURFACE& surface);

/// Undoes a failed operation: frees buffers that the surface has come to own since it was `found`,
/// and restores it.
void RestoreSurface(ZAV_SURFACE& surface, const ZAV_SURFACE& found);

/// Each move releases what the target owns, copies the surface and zeroes the original.
void MoveSurface(ZAV_SURFACE& to, ZAV_SURFACE& from);
void MoveSource(ZAV_CONVERTER& to, ZAV_CONVERTER& from);
void MoveDestToSource(ZAV_CONVERTER& to, ZAV_CONVERTER& from);
void MoveDest(ZAV_CONVERTER& to, ZAV_CONVERTER& from);

/// A copy of the surface that owns nothing.
ZAV_SURFACE Borrow(const ZAV_SURFACE& surface);

/// A temporary converter, which frees what it owns.
struct ScopedConverter : ZAV_CONVERTER {
  ScopedConverter() : ZAV_CONVERTER{} {}
  ScopedConverter(const ScopedConverter&) = delete;
  ScopedConverter& operator=(const ScopedConverter&) = delete;
  ~ScopedConverter() { ReleaseSurfaces(*this, true, true); }
};

}  // namespace zav
