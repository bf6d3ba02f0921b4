// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "frame/image_operation.h"

namespace zav {

void LoadRecords(ZAV_IMAGE& image) {
  ZAV_CONVERTER& converter = *image.converter;
  converter.source.definition() = image.source;
  converter.dest.definition() = image.dest;
  // A pointer that the host has replaced is the host's. Forget the old one: the heap may return the
  // same address again.
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
  // A buffer that was handed over is returned, not freed as a new one.
  if (converter_.dest.pixels == loaded_source_.pixels) DisownPixels(converter_.dest);
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
  ZAV_SURFACE& aside = aside_.source;
  if (DisownPixels(source)) OwnPixels(aside, source.pixels);
  if (source.pixels == converter_.placed_pixels) {
    aside.pixels = source.pixels;
    source.pixels = nullptr;
  }
  if (DisownPalette(source)) OwnPalette(aside, source.palette);
  if (source.palette == converter_.placed_palette) {
    aside.palette = source.palette;
    source.palette = nullptr;
  }
  found_source_ = source;
}

void ImageOperation::Succeed() {
  succeeded_ = true;
  ZAV_SURFACE& source = converter_.source;
  // A buffer that was set aside and then filled in place is owned again.
  ZAV_SURFACE& aside = aside_.source;
  if (source.pixels == aside.pixels && DisownPixels(aside)) OwnPixels(source, source.pixels);
  if (source.palette == aside.palette && DisownPalette(aside)) OwnPalette(source, source.palette);
  if (source.pixels != found_source_.pixels) converter_.placed_pixels = source.pixels;
  if (source.palette != found_source_.palette) converter_.placed_palette = source.palette;
  StoreRecords(image_);
}

}  // namespace zav
