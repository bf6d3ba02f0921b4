// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <array>
#include <bitset>
#include <cstdio>
#include <memory>

#include "commands.h"
#include "file_types.h"
#include "formats.h"
#include "input.h"
#include "little_endian.h"

namespace zav::tool {
namespace {

struct Options {
  std::string in;
  std::string out;
  std::string type;
};

/// Different colours of a 32-bit picture, alpha left aside.
size_t CountColours(const ZAV_GFXDEF& picture) {
  const auto seen = std::make_unique<std::bitset<1 << 24>>();
  for (int64_t y = 0; y < picture.height; ++y) {
    const unsigned char* pixel = picture.pixels + y * picture.pitch;
    for (int32_t x = 0; x < picture.width; ++x, pixel += 4) {
      seen->set(LoadLittle(pixel, 3));
    }
  }
  return seen->count();
}

/// Entries that pixels of an 8-bit picture point at.
size_t CountEntries(const ZAV_GFXDEF& picture) {
  std::bitset<256> seen;
  for (int64_t y = 0; y < picture.height; ++y) {
    const unsigned char* index = picture.pixels + y * picture.pitch;
    for (int32_t x = 0; x < picture.width; ++x) seen.set(index[x]);
  }
  return seen.count();
}

void Run(const Options& options) {
  CheckTypes(options.type, std::array{options.in, options.out});
  const PictureFile out = OutputFile(options.out, options.type);
  CheckHolds(out, ZAV_FMT_PAL8);
  const Picture source = ReadPicture(InputFile(options.in, options.type));
  const Picture colours = Convert(options.in, source, ZAV_FMT_BGRA32);
  const Picture mapped = Convert(options.in, source, ZAV_FMT_PAL8);
  WritePicture(mapped, out);
  fmt::print(options.out == kStandard ? stderr : stdout, "{}: {} colours, {} in the palette\n",
             options.in, CountColours(colours.definition), CountEntries(mapped.definition));
}

}  // namespace

void AddPalette(CLI::App& app, int&) {
  CLI::App* command =
      app.add_subcommand("palette", "Writes an 8-bit picture and tells how many colours it kept");
  const auto options = std::make_shared<Options>();
  command->add_option("IN", options->in, "Picture to read: " + InputEndings())->required();
  command->add_option("OUT", options->out, "Picture to write: bmp, tga, png, raw")->required();
  command->add_option("--type", options->type, kTypeHelp)->type_name("TYPE");
  command->callback([options] { Run(*options); });
}

}  // namespace zav::tool
