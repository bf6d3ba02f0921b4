// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#pragma once

#include <cstdint>

#include "zav.h"

/// Flags of a surface: which of its buffers it must free.
enum : uint32_t { ZAV_SURF_OWNS_PIXELS = 1, ZAV_SURF_OWNS_PALETTE = 2 };

/// A definition and the ownership of its buffers. A buffer has at most one owner; moving a surface
/// moves its ownership and leaves the old slot all zero.
///
/// Definitions are exchanged by assigning the base (`surface.definition() = image.source`), which
/// leaves the flags alone.
struct ZAV_SURFACE : ZAV_GFXDEF {
  uint32_t flags;

  ZAV_GFXDEF& definition() { return *this; }
  const ZAV_GFXDEF& definition() const { return *this; }
  bool owns_pixels() const { return (flags & ZAV_SURF_OWNS_PIXELS) != 0; }
  bool owns_palette() const { return (flags & ZAV_SURF_OWNS_PALETTE) != 0; }
};

/// The operands of a conversion. An image has one; temporary ones are on the stack.
struct ZAV_CONVERTER {
  ZAV_SURFACE source;
  ZAV_SURFACE dest;
  uint32_t env;  ///< what the host last gave to ZAV_SETENV

  /// Source buffers that the library put into the public record: allocated, handed over or pointing
  /// into a file's bytes. A later read must not mistake these for buffers the host wants filled.
  const unsigned char* placed_pixels;
  const unsigned char* placed_palette;
};

static_assert(sizeof(void*) == 8 ? sizeof(ZAV_GFXDEF) == 56 : sizeof(ZAV_GFXDEF) == 44,
              "eleven fields and at most four bytes of padding");
static_assert(sizeof(void*) == 8 ? sizeof(ZAV_IMAGE) == 120 : sizeof(ZAV_IMAGE) == 92,
              "two definitions and a pointer");
