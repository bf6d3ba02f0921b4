// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <cmath>
#include <cstdio>
#include <memory>

#include "commands.h"
#include "file_types.h"
#include "formats.h"
#include "options.h"

namespace zav::tool {
namespace {

struct Options {
  InOut files;
  std::string format;
  std::string masks;
  std::string size;
  std::string filter = "point";
  int quality = -1;
};

Error Usage(const std::string& what) { return UsageError(what, "convert"); }

/// "320x200" or "50%"; a percentage gives at least one pixel.
void ParseSize(const std::string& text, const ZAV_GFXDEF& source, Wanted& wanted) {
  int end = 0;
  if (std::sscanf(text.c_str(), "%9dx%9d%n", &wanted.width, &wanted.height, &end) == 2 &&
      text.size() == static_cast<size_t>(end) && wanted.width > 0 && wanted.height > 0) {
    return;
  }
  double percent = 0;
  end = 0;
  if (std::sscanf(text.c_str(), "%lf%%%n", &percent, &end) != 1 || end == 0 ||
      text.size() != static_cast<size_t>(end) || !(percent > 0 && percent <= 1e6)) {
    throw Usage(fmt::format("'{}' is not a size; use 320x200 or 50%", text));
  }
  const auto scaled = [&](int32_t side) {
    const double result = std::max(1.0, std::round(side * percent / 100));
    if (result > 0x7FFFFFFF) throw Usage(fmt::format("{} of {} pixels is too large", text, side));
    return static_cast<int32_t>(result);
  };
  wanted.width = scaled(source.width);
  wanted.height = scaled(source.height);
}

void ParseMasks(const Options& options, Wanted& wanted) {
  if (!IsCustom(wanted.format)) {
    if (options.masks.empty()) return;
    throw Usage("--masks goes with --format custom16_1 and custom16_2");
  }
  int end = 0;
  Masks& masks = wanted.masks;
  if (std::sscanf(options.masks.c_str(), "%x,%x,%x,%x%n", &masks[0], &masks[1], &masks[2],
                  &masks[3], &end) != 4 ||
      options.masks.size() != static_cast<size_t>(end) ||
      (masks[0] | masks[1] | masks[2] | masks[3]) > 0xFFFF) {
    throw Usage(fmt::format("{} needs --masks A,R,G,B: four hexadecimal numbers up to ffff",
                            options.format));
  }
}

void Run(const Options& options) {
  Wanted wanted;
  if (!options.format.empty()) wanted.format = FormatNamed(options.format).code;
  ParseMasks(options, wanted);
  if (options.filter != "point" && options.filter != "bilinear") {
    throw Usage(fmt::format("there is no filter '{}'; use point or bilinear", options.filter));
  }
  wanted.bilinear = options.filter == "bilinear";
  PictureFile out = options.files.Output();
  if (options.quality >= 0) {
    if (out.type->ending != "jpg") throw Usage("--quality goes with JPEG files");
    out.quality = options.quality;
  }
  if (wanted.format != 0) CheckHolds(out, wanted.format);

  const Picture source = options.files.Read();
  if (!options.size.empty()) ParseSize(options.size, source.definition, wanted);
  if (wanted.format == 0) {
    const int32_t format = DefaultFormat(*out.type, source);
    if (format != source.definition.format) wanted.format = format;
  }
  WritePicture(Convert(options.files.in, source, wanted), out);
}

}  // namespace

void AddConvert(CLI::App& app, int&) {
  CLI::App* command = app.add_subcommand("convert", "Converts a picture to another format or size");
  const auto options = std::make_shared<Options>();
  AddInOut(*command, options->files, OutputEndings());
  command
      ->add_option("--format", options->format,
                   "Pixel format to store. Default: that of the picture if the file can hold "
                   "it, else 32 bits with alpha, 24 without")
      ->type_name("NAME");
  command->add_option("--masks", options->masks, "Bits of the channels in custom16 pixels, in hex")
      ->type_name("A,R,G,B");
  command->add_option("--size", options->size, "Scale to this size or percentage")
      ->type_name("WxH|P%");
  command->add_option("--filter", options->filter, "How to scale: point (default) or bilinear")
      ->type_name("NAME");
  command
      ->add_option("--quality", options->quality,
                   fmt::format("JPEG quality; default: {}", kDefaultQuality))
      ->type_name("0..100")
      ->check(CLI::Range(0, 100));
  command->footer([] {
    return "Endings choose the file types; - is standard input or output:\n"
           "  zav convert - - --type png:tga <in.png >out.tga\n\n"
           "bmp holds pal8, bgr24; tga holds pal8, rgb555, bgr24, bgra32; png holds pal8, rgb24,\n"
           "rgba32; jpg holds bgr24 with 4:2:2 sampling; rgb can only be read; dds holds all "
           "formats\n"
           "but palettized ones, by default dxt5 where a pixel is not opaque, else dxt1; raw "
           "holds\n"
           "every format: the bytes as they are in memory, and NAME.raw.json with size, pitch, "
           "masks\n"
           "and palette. DXT formats need sides that are multiples of 4.\n\n" +
           FormatHelp();
  });
  command->callback([options] { Run(*options); });
}

}  // namespace zav::tool
