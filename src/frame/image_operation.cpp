// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "frame/image_operation.h"

namespace zav {

void LoadRecords(ZAV_IMAGE& image) {
  ZAV_CONVERTER& converter = *image.converter;
  converter.source.definition() = image.source;
  converter.dest.definition() = image.dest;
  // A pointer that the host has replaced is the host's; the library must not take it for its own
  // when the heap hands out the same address again.
  if (image.source.pixels != converter.placed_pixels) converter.placed_pixels = nullptr;
  if (image.source.palette != converter.placed_palette) converter.placed_palette = nullptr;
}

void StoreRecords(ZAV_IMAGE& image) {
  image.source = image.converter->source.definition();
  image.dest = image.converter->dest.definition();
}

ImageOperation::ImageOperation(ZAV_IMAGE& image) : image_(image), converter_(*image.converter) {
  LoadRecords(image);
  loaded_source_ = converter_.source;
  loaded_dest_ = converter_.dest;
  found_source_ = converter_.source;
}

ImageOperation::~ImageOperation() {
  if (succeeded_) return;
  // A buffer that was handed over goes back, instead of being freed as new.
  if (converter_.dest.pixels == loaded_source_.pixels) {
    converter_.dest.flags &= ~ZAV_SURF_OWNS_PIXELS;
  }
  RestoreSurface(converter_.dest, loaded_dest_);
  RestoreSurface(converter_.source, found_source_);
  if (aside_.source.flags != 0 || aside_.source.pixels != nullptr ||
      aside_.source.palette != nullptr) {
    converter_.source = loaded_source_;
    aside_.source = ZAV_SURFACE{};
  }
}

void ImageOperation::MakeRoomForReader() {
  ZAV_SURFACE& source = converter_.source;
  const bool placed_pixels = source.pixels == converter_.placed_pixels;
  if (source.pixels != nullptr && (placed_pixels || source.owns_pixels())) {
    aside_.source.pixels = source.pixels;
    aside_.source.flags |= source.flags & ZAV_SURF_OWNS_PIXELS;
    if (placed_pixels) source.pixels = nullptr;
  }
  const bool placed_palette = source.palette == converter_.placed_palette;
  if (source.palette != nullptr && (placed_palette || source.owns_palette())) {
    aside_.source.palette = source.palette;
    aside_.source.flags |= source.flags & ZAV_SURF_OWNS_PALETTE;
    if (placed_palette) source.palette = nullptr;
  }
  source.flags &= ~(ZAV_SURF_OWNS_PIXELS | ZAV_SURF_OWNS_PALETTE);
  found_source_ = source;
}

void ImageOperation::Succeed() {
  succeeded_ = true;
  ZAV_SURFACE& source = converter_.source;
  // What was taken aside and is in use again, filled in place, is owned again.
  ZAV_SURFACE& aside = aside_.source;
  if (source.pixels == aside.pixels) {
    source.flags |= aside.flags & ZAV_SURF_OWNS_PIXELS;
    aside.flags &= ~ZAV_SURF_OWNS_PIXELS;
  }
  if (source.palette == aside.palette) {
    source.flags |= aside.flags & ZAV_SURF_OWNS_PALETTE;
    aside.flags &= ~ZAV_SURF_OWNS_PALETTE;
  }
  if (source.pixels != found_source_.pixels) converter_.placed_pixels = source.pixels;
  if (source.palette != found_source_.palette) converter_.placed_palette = source.palette;
  StoreRecords(image_);
}

}  // namespace zav
