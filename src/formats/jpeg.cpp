// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "formats/jpeg.h"

#include "codecs/jpeg_codec.h"
#include "convert/pipeline.h"
#include "platform/output_file.h"
#include "surface/surface.h"

namespace zav {
namespace {

struct DecodedForm {
  int32_t format;
  JpegOrder order;
};

/// Every other destination is converted from the last one.
constexpr DecodedForm kDecodedForms[] = {
    {ZAV_FMT_RGB24, JpegOrder::kRgb},
    {ZAV_FMT_BGR24, JpegOrder::kBgr},
    {ZAV_FMT_RGBA32, JpegOrder::kRgba},
    {ZAV_FMT_BGRA32, JpegOrder::kBgra},
};

const DecodedForm& FormFor(int32_t format) {
  const DecodedForm* form = kDecodedForms;
  while (form->format != format && form->format != ZAV_FMT_BGRA32) ++form;
  return *form;
}

/// Opened with its first bytes: a picture that cannot be encoded must not empty an existing file.
struct LateFile {
  const char* path;
  OutputFile file{};
};

bool WriteToFile(void* context, const uint8_t* bytes, int64_t count) {
  auto* late = static_cast<LateFile*>(context);
  if (!late->file.is_open() && !late->file.Open(late->path)) return false;
  return late->file.Write(bytes, count);
}

}  // namespace

bool JpegGetFormat(ZAV_GFXDEF& out, const uint8_t* data, int64_t size) {
  JpegHeader header;
  ZAV_SURFACE surface{};
  if (!ReadJpegHeader(data, size, header) ||
      !SetDefinition(surface, header.width, header.height, ZAV_FMT_BGRA32)) {
    return false;
  }
  ReportDefinition(out, surface);
  return true;
}

bool JpegRead(ZAV_CONVERTER& converter, const uint8_t* data, int64_t size) {
  JpegHeader header;
  if (!ReadJpegHeader(data, size, header) || !header.plausible) return false;
  const DecodedForm& form = FormFor(converter.dest.format);
  ZAV_SURFACE& source = converter.source;
  if (!AllocSurface(source, header.width, header.height, form.format) ||
      !DecodeJpeg(data, size,
                  {source.pixels, source.width, source.height, source.pitch, form.order})) {
    return false;
  }
  return converter.dest.format == 0 || ConvertSurface(converter);
}

bool JpegWrite(ZAV_CONVERTER& converter, const char* path, int32_t quality) {
  ScopedConverter picture;
  picture.source = Borrow(converter.source);
  ZAV_SURFACE& dest = picture.dest;
  dest.format = ZAV_FMT_BGR24;
  dest.width = converter.source.width;
  dest.height = converter.source.height;
  if (!ConvertSurface(picture)) return false;
  LateFile file{path};
  return EncodeJpeg({dest.pixels, dest.width, dest.height, dest.pitch, JpegOrder::kBgr},
                    JpegSampling::k2x1, quality, {WriteToFile, &file});
}

}  // namespace zav
