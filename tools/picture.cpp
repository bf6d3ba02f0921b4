// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "picture.h"

#include <fmt/core.h>

#include <new>
#include <utility>

#include "error.h"
#include "formats.h"

namespace zav::tool {
namespace {

/// Takes the destination out of an image after a successful operation.
Picture TakeDestination(Image& image) {
  ZAV_DETACH(image.get());
  Picture picture;
  picture.definition = std::exchange(image->dest, ZAV_GFXDEF{});
  picture.pixels.reset(picture.definition.pixels);
  picture.palette.reset(picture.definition.palette);
  return picture;
}

/// The library has no size for premultiplied blocks; they are laid out like those of the next code.
int32_t CopiedAs(int32_t format) {
  return format == ZAV_FMT_DXT2 || format == ZAV_FMT_DXT4 ? format + 1 : format;
}

bool HasWholeBlocks(const ZAV_GFXDEF& source, const Wanted& wanted) {
  const bool resized = wanted.width != 0 || wanted.height != 0;
  return (resized ? wanted.width : source.width) % 4 == 0 &&
         (resized ? wanted.height : source.height) % 4 == 0;
}

Error CannotConvert(const std::string& subject, const ZAV_GFXDEF& source, const Wanted& wanted) {
  const std::string_view from = FormatOf(source.format).name;
  const std::string_view to = FormatOf(wanted.format).name;
  const bool resized = wanted.width != 0 || wanted.height != 0;
  std::string what = fmt::format("{} cannot be converted to {}", from, to);
  if (IsCopyOnly(source.format) || IsCopyOnly(wanted.format)) {
    what = fmt::format("{} can only be copied: {} x {} {} cannot become {}",
                       IsCopyOnly(source.format) ? from : to, source.width, source.height, from,
                       resized ? fmt::format("{} x {} {}", wanted.width, wanted.height, to) : to);
  } else if (IsDxt(wanted.format) && !HasWholeBlocks(source, wanted)) {
    what = fmt::format(
        "{} needs sides that are multiples of 4, which {} x {} are not; --size changes them", to,
        resized ? wanted.width : source.width, resized ? wanted.height : source.height);
  } else if (resized) {
    what = fmt::format("{} x {} {} cannot be converted to {} x {} {}", source.width, source.height,
                       from, wanted.width, wanted.height, to);
  }
  return NotSupported(subject, what);
}

}  // namespace

Image::Image() {
  ZAV_INIT(&image_);
  if (image_.converter == nullptr) throw std::bad_alloc();
}

Masks MasksOf(const ZAV_GFXDEF& definition) {
  return {definition.alpha_mask, definition.red_mask, definition.green_mask, definition.blue_mask};
}

void SetMasks(ZAV_GFXDEF& definition, const Masks& masks) {
  definition.alpha_mask = masks[0];
  definition.red_mask = masks[1];
  definition.green_mask = masks[2];
  definition.blue_mask = masks[3];
}

Picture TakeSource(Image& image) {
  const int32_t format = image->source.format;
  image->source.format = CopiedAs(format);
  // Only a destination can be detached. A conversion to the source's format hands over its buffer,
  // or copies it if the source does not own one.
  image->dest.format = image->source.format;
  if (ZAV_CONVERT_RAW(image.get()) != 1) throw std::bad_alloc();
  Picture picture = TakeDestination(image);
  picture.definition.format = format;
  return picture;
}

Picture Decode(const std::string& subject, const std::string& name,
               std::vector<unsigned char>& bytes, int32_t format) {
  Image image;
  image->dest.format = format;
  const long size = static_cast<long>(bytes.size());
  if (ZAV_CONVERT_MEMFILE(image.get(), name.c_str(), bytes.data(), size) != 1) {
    throw BadFile(subject, "cannot be read: the library rejects its contents");
  }
  return format == 0 ? TakeSource(image) : TakeDestination(image);
}

Picture Convert(const std::string& subject, const Picture& source, const Wanted& wanted) {
  // One code serves many layouts, and the library just copies between equal codes.
  if (wanted.format == source.definition.format && IsCustom(wanted.format) &&
      wanted.masks != MasksOf(source.definition)) {
    return Convert(subject, Convert(subject, source, ZAV_FMT_BGRA32), wanted);
  }
  const bool copied = (wanted.format == 0 || wanted.format == source.definition.format) &&
                      wanted.width == 0 && wanted.height == 0;
  Image image;
  image->source = source.definition;
  if (copied && IsDxt(source.definition.format)) return TakeSource(image);
  image->dest.format = wanted.format != 0 ? wanted.format : source.definition.format;
  image->dest.width = wanted.width;
  image->dest.height = wanted.height;
  if (IsCustom(image->dest.format)) {
    SetMasks(image->dest, wanted.format != 0 ? wanted.masks : MasksOf(source.definition));
  }
  if (wanted.bilinear) ZAV_SETENV(image.get(), ZAV_ENV_FILTER);
  if (ZAV_CONVERT_RAW(image.get()) != 1) {
    Wanted asked = wanted;
    asked.format = image->dest.format;
    throw CannotConvert(subject, source.definition, asked);
  }
  return TakeDestination(image);
}

Picture Convert(const std::string& subject, const Picture& source, int32_t format) {
  Wanted wanted;
  wanted.format = format;
  return Convert(subject, source, wanted);
}

Picture InFormat(const std::string& subject, Picture picture, int32_t format) {
  if (picture.definition.format == format) return picture;
  return Convert(subject, picture, format);
}

bool ShowsAlpha(const Picture& picture) {
  const int32_t format = picture.definition.format;
  if (!HasAlpha(picture.definition) && format != ZAV_FMT_PAL8) return false;
  if (IsCopyOnly(format)) return false;
  const Picture pixels = Convert("", picture, ZAV_FMT_BGRA32);
  const ZAV_GFXDEF& definition = pixels.definition;
  for (int64_t y = 0; y < definition.height; ++y) {
    const unsigned char* alpha = definition.pixels + y * definition.pitch + 3;
    for (int32_t x = 0; x < definition.width; ++x, alpha += 4) {
      if (*alpha != 0xFF) return true;
    }
  }
  return false;
}

Picture MipLevel(const std::string& subject, const Picture& source) {
  Image image;
  image->source = source.definition;
  if (ZAV_GEN_MIPMAPLEVEL(image.get()) != 1) {
    throw NotSupported(subject, fmt::format("no mip level can be made from {}",
                                            FormatOf(source.definition.format).name));
  }
  return TakeDestination(image);
}

}  // namespace zav::tool
