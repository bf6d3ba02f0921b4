// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/tiled_image.h"

#include <algorithm>
#include <cstring>

#include "base/checked.h"
#include "base/heap.h"
#include "convert/pipeline.h"
#include "kinds/tile_layout.h"
#include "layers/layer_dispatch.h"
#include "surface/copy.h"

namespace zav {
namespace {

constexpr int32_t kTileLog = 8;  ///< also the largest that readers take
constexpr int32_t kTileSize = 1 << kTileLog;
constexpr int64_t kPitchMultiple = 8;

constexpr int64_t ShortestLayer() {
  int64_t shortest = sizeof(ZAV_LAYER);
  for (uint8_t kind = ZAV_LAYER_PAL8; kind < ZAV_KIND_END; ++kind) {
    if (HeaderLength(kind) != 0) shortest = std::min<int64_t>(shortest, HeaderLength(kind));
  }
  return shortest;
}

/// SetDefinition with the pitch of tiles and of pictures read from tiles.
bool Define(ZAV_SURFACE& surface, int64_t width, int64_t height, int32_t format) {
  if (!SetDefinition(surface, width, height, format)) return false;
  const int64_t pitch = RoundUp(width * surface.bytes_per_pixel, kPitchMultiple);
  if (pitch > kMaxBytes / height) return false;
  surface.pitch = static_cast<int32_t>(pitch);
  return true;
}

/// Borrows a piece of a surface that is not DXT.
ZAV_SURFACE View(const ZAV_SURFACE& surface, int64_t x, int64_t y, const TilePiece& piece) {
  ZAV_SURFACE view = Borrow(surface);
  view.pixels += y * surface.pitch + x * surface.bytes_per_pixel;
  view.width = piece.width;
  view.height = piece.height;
  return view;
}

bool WriteTiles(ZAV_STREAM& stream, ZAV_LAYER& layer, const ZAV_SURFACE& picture) {
  TileLayout layout(picture.width, picture.height, kTileSize);
  ZAV_SURFACE tile{};
  const auto define = [&] {
    return layout.NextTile() &&
           Define(tile, layout.tile_width(), layout.tile_height(), picture.format);
  };
  define();
  const Scratch pixels(ImageBytes(tile));  // the first tile is the largest
  if (pixels.get() == nullptr) return false;
  tile.pixels = pixels.get();
  tile.palette = picture.palette;
  do {
    std::memset(tile.pixels, 0, static_cast<size_t>(ImageBytes(tile)));
    for (TilePiece piece; layout.NextPiece(piece);) {
      const ZAV_SURFACE from = View(picture, piece.x, piece.y, piece);
      const ZAV_SURFACE to = View(tile, piece.tile_x, piece.tile_y, piece);
      CopyRows(to.pixels, from.pixels, int64_t{piece.width} * tile.bytes_per_pixel, piece.height,
               to.pitch, from.pitch);
    }
    if (!WriteLayer(stream, &layer, &tile)) return false;
  } while (define());
  return true;
}

/// The format of a picture by that of its first tile.
int32_t PictureFormat(int32_t tile_format) {
  const bool kept = tile_format == ZAV_FMT_PAL8 ||
                    (tile_format >= ZAV_FMT_RGBA32 && tile_format <= ZAV_FMT_ARGB1555);
  return kept ? tile_format : ZAV_FMT_BGRA32;
}

bool DefineLikeFirstTile(ZAV_STREAM& stream, const ZAV_LAYER& header, ZAV_SURFACE& picture) {
  const int64_t position = stream.block().position();
  ScopedConverter first;
  const bool there = ReadLayer(stream, first.source, Wanted::kDefinition);
  stream.block().Seek(position);
  int32_t width = 0, height = 0;
  return there && LoadSides(HeaderBytes(header), width, height) &&
         Define(picture, width, height, PictureFormat(first.source.format));
}

/// Allocates the picture and copies the palette of its first tile.
bool StartPicture(ZAV_CONVERTER& reading, const ZAV_SURFACE& first_tile) {
  reading.source.palette = first_tile.palette;
  if (!PrepareDest(reading)) return false;
  if (reading.dest.format == ZAV_FMT_PAL8) {
    // Widen may convert the picture before all indices have been written.
    std::memset(reading.dest.pixels, 0, static_cast<size_t>(ImageBytes(reading.dest)));
  }
  return true;
}

bool SharesPalette(const ZAV_SURFACE& tile, const ZAV_SURFACE& picture) {
  return tile.format == ZAV_FMT_PAL8 && tile.palette != nullptr &&
         std::memcmp(tile.palette, picture.palette, ZAV_PALETTE_BYTES) == 0;
}

/// Converts the picture to ZAV_FMT_BGRA32.
bool Widen(ZAV_SURFACE& picture) {
  ScopedConverter widening;
  widening.source = Borrow(picture);
  if (!Define(widening.dest, picture.width, picture.height, ZAV_FMT_BGRA32) ||
      !ConvertSurface(widening)) {
    return false;
  }
  MoveSurface(picture, widening.dest);
  return true;
}

bool ConvertTile(ZAV_CONVERTER& tile, int32_t format) {
  tile.dest.format = format;
  if (!ConvertSurface(tile)) return false;
  MoveDestToSource(tile, tile);
  return true;
}

/// Copies the pieces of the layout's current tile into the picture.
bool PlaceTile(TileLayout& layout, ZAV_CONVERTER& tile, ZAV_SURFACE& picture) {
  const ZAV_SURFACE& source = tile.source;
  if (picture.format == ZAV_FMT_PAL8 && !SharesPalette(source, picture) && !Widen(picture)) {
    return false;
  }
  // Blocks cannot be converted piece by piece.
  if (IsDxt(source.format) && !ConvertTile(tile, picture.format)) return false;
  for (TilePiece piece; layout.NextPiece(piece);) {
    if (piece.tile_x + piece.width > source.width || piece.tile_y + piece.height > source.height) {
      return false;
    }
    ScopedConverter copy;
    copy.source = View(source, piece.tile_x, piece.tile_y, piece);
    copy.dest = View(picture, piece.x, piece.y, piece);
    if (!ConvertSurface(copy)) return false;
  }
  return true;
}

bool ReadTiles(ZAV_STREAM& stream, TileLayout layout, ZAV_CONVERTER& reading) {
  if (layout.tile_count() > stream.block().remaining() / ShortestLayer()) return false;
  while (layout.NextTile()) {
    ScopedConverter tile;
    if (!ReadLayer(stream, tile.source, Wanted::kPicture)) return false;
    if (reading.dest.pixels == nullptr && !StartPicture(reading, tile.source)) return false;
    if (!PlaceTile(layout, tile, reading.dest)) return false;
  }
  return true;
}

}  // namespace

bool WriteTiledImage(ZAV_STREAM& stream, const char* name, ZAV_LAYER* layer,
                     const ZAV_GFXDEF* definition) {
  ScopedConverter conversion;
  const ZAV_SURFACE* picture = nullptr;
  const auto prepare = [&](ZAV_LAYER& header) {
    if (definition == nullptr) return false;
    const bool palettized = layer->kind == ZAV_LAYER_PAL8 || layer->kind == ZAV_LAYER_PACKEDPAL8;
    picture = InFormat(conversion, *definition, palettized ? ZAV_FMT_PAL8 : ZAV_FMT_BGRA32);
    if (picture == nullptr) return false;
    const TileLayout layout(picture->width, picture->height, kTileSize);
    StoreSides(header, *picture);
    StoreField(header, Field::kTileLog, kTileLog);
    StoreField(header, Field::kTiles, static_cast<uint32_t>(layout.tile_count()));
    return true;
  };
  return WriteImageRecord(
      stream, ZAV_REC_TILED, name, layer, prepare,
      [&](RecordFrame&, ZAV_LAYER&) { return WriteTiles(stream, *layer, *picture); });
}

bool ReadTiledImage(ZAV_STREAM& stream, ZAV_SURFACE& surface, Wanted wanted) {
  ZAV_LAYER header;
  if (!ReadImageHeader(stream, ZAV_REC_TILED, header)) return false;
  const auto log = static_cast<int32_t>(LoadField(HeaderBytes(header), Field::kTileLog));
  ScopedConverter reading;  // the picture is its destination
  ZAV_SURFACE& picture = reading.dest;
  if (log > kTileLog || !DefineLikeFirstTile(stream, header, picture)) return false;
  if (wanted == Wanted::kPicture &&
      !ReadTiles(stream, TileLayout(picture.width, picture.height, 1 << log), reading)) {
    return false;
  }
  MoveSurface(surface, picture);
  return true;
}

}  // namespace zav
