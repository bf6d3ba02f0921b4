// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <bitset>
#include <cstdio>
#include <memory>

#include "commands.h"
#include "file_types.h"
#include "formats.h"
#include "input.h"
#include "little_endian.h"
#include "options.h"

namespace zav::tool {
namespace {

/// Different colors of a 32-bit picture, ignoring alpha.
size_t CountColors(const ZAV_GFXDEF& picture) {
  const auto seen = std::make_unique<std::bitset<1 << 24>>();
  for (int64_t y = 0; y < picture.height; ++y) {
    const unsigned char* pixel = picture.pixels + y * picture.pitch;
    for (int32_t x = 0; x < picture.width; ++x, pixel += 4) {
      seen->set(LoadLittle(pixel, 3));
    }
  }
  return seen->count();
}

/// Palette entries that an 8-bit picture uses.
size_t CountEntries(const ZAV_GFXDEF& picture) {
  std::bitset<256> seen;
  for (int64_t y = 0; y < picture.height; ++y) {
    const unsigned char* index = picture.pixels + y * picture.pitch;
    for (int32_t x = 0; x < picture.width; ++x) seen.set(index[x]);
  }
  return seen.count();
}

void Run(const InOut& files) {
  const PictureFile out = files.Output();
  CheckHolds(out, ZAV_FMT_PAL8);
  const Picture source = files.Read();
  const Picture colors = Convert(files.in, source, ZAV_FMT_BGRA32);
  const Picture mapped = Convert(files.in, source, ZAV_FMT_PAL8);
  WritePicture(mapped, out);
  fmt::print(files.out == kStandard ? stderr : stdout, "{}: {} colors, {} in the palette\n",
             files.in, CountColors(colors.definition), CountEntries(mapped.definition));
}

}  // namespace

void AddPalette(CLI::App& app, int&) {
  CLI::App* command =
      app.add_subcommand("palette", "Writes an 8-bit picture and reports how many colors it kept");
  const auto files = std::make_shared<InOut>();
  AddInOut(*command, *files, "bmp, tga, png, raw");
  command->callback([files] { Run(*files); });
}

}  // namespace zav::tool
