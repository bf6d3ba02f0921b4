// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "raw.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "error.h"
#include "formats.h"
#include "input.h"
#include "json.h"
#include "output.h"

namespace zav::tool {
namespace {

struct MaskField {
  const char* name;
  uint32_t ZAV_GFXDEF::*mask;
};
constexpr MaskField kMasks[] = {{"alpha", &ZAV_GFXDEF::alpha_mask},
                                {"red", &ZAV_GFXDEF::red_mask},
                                {"green", &ZAV_GFXDEF::green_mask},
                                {"blue", &ZAV_GFXDEF::blue_mask}};

Json PaletteToJson(const unsigned char* palette) {
  Json entries = Json::array();
  for (int at = 0; at < ZAV_PALETTE_BYTES; at += 4) {
    entries.push_back(fmt::format("#{:02x}{:02x}{:02x}{:02x}", palette[at + 2], palette[at + 1],
                                  palette[at], palette[at + 3]));
  }
  return entries;
}

uint32_t HexField(const Json& field, size_t prefix, size_t digits) {
  const std::string text = field.get<std::string>();
  const std::string hex = text.substr(std::min(prefix, text.size()));
  if (hex.size() != digits || hex.find_first_not_of("0123456789abcdefABCDEF") != hex.npos) {
    throw std::runtime_error(
        fmt::format("'{}' is not a hexadecimal number of {} digits", text, digits));
  }
  return static_cast<uint32_t>(std::strtoul(hex.c_str(), nullptr, 16));
}

std::vector<unsigned char> PaletteFromJson(const Json& entries) {
  std::vector<unsigned char> palette;
  for (const Json& entry : entries) {
    const uint32_t rgba = HexField(entry, 1, 8);
    for (const int shift : {8, 16, 24, 0}) {
      palette.push_back(static_cast<unsigned char>(rgba >> shift));
    }
  }
  if (palette.size() != ZAV_PALETTE_BYTES) throw std::runtime_error("a palette has 256 entries");
  return palette;
}

int32_t Positive(const Json& sidecar, const char* name) {
  const int64_t value = sidecar.at(name).get<int64_t>();
  if (value < 1 || value > std::numeric_limits<int32_t>::max()) {
    throw std::runtime_error(fmt::format("\"{}\" is out of range", name));
  }
  return static_cast<int32_t>(value);
}

/// The definition in the sidecar, and its palette if it has one.
ZAV_GFXDEF ParseSidecar(const Json& sidecar, std::vector<unsigned char>& palette) {
  ZAV_GFXDEF definition = {};
  definition.format = FormatNamed(sidecar.at("format").get<std::string>()).code;
  definition.width = Positive(sidecar, "width");
  definition.height = Positive(sidecar, "height");
  definition.pitch = Positive(sidecar, "pitch");
  if (IsHicolor(definition.format)) {
    for (const MaskField& field : kMasks) {
      definition.*field.mask = HexField(sidecar.at("masks").at(field.name), 2, 4);
    }
  }
  if (IsPalettized(definition.format)) {
    palette = PaletteFromJson(sidecar.at("palette"));
    definition.palette = palette.data();
  }
  return definition;
}

ZAV_GFXDEF ReadSidecar(const std::string& path, std::vector<unsigned char>& palette) {
  const std::vector<unsigned char> text = LoadFile(path);
  try {
    return ParseSidecar(Json::parse(text), palette);
  } catch (const std::exception& error) {  // from the parser, its accessors, or the functions above
    throw BadFile(path, fmt::format("does not describe raw pixels: {}", error.what()));
  }
}

}  // namespace

std::string SidecarOf(const std::string& path) { return path + ".json"; }

Picture ReadRaw(const std::string& path, std::vector<unsigned char>& bytes) {
  std::vector<unsigned char> palette;
  Picture borrowed;
  borrowed.definition = ReadSidecar(SidecarOf(path), palette);
  ZAV_GFXDEF& definition = borrowed.definition;
  if (static_cast<int64_t>(bytes.size()) < PictureBytes(definition)) {
    throw BadFile(
        path, fmt::format("is cut off: {} bytes of {}", bytes.size(), PictureBytes(definition)));
  }
  const int64_t row_bits = int64_t{definition.width} * FormatOf(definition.format).bits;
  const int64_t least = IsDxt(definition.format) ? row_bits * definition.height / 8 : row_bits / 8;
  if (definition.pitch < least) {
    throw BadFile(SidecarOf(path),
                  fmt::format("gives a pitch of {} for rows of {} bytes", definition.pitch, least));
  }
  definition.pixels = bytes.data();
  return Convert(path, borrowed, Wanted{});  // a copy that owns its buffers
}

void WriteRaw(const Picture& picture, const std::string& path) {
  const ZAV_GFXDEF& definition = picture.definition;
  const int64_t size = PictureBytes(definition);
  Json sidecar = {{"format", FormatOf(definition.format).name},
                  {"width", definition.width},
                  {"height", definition.height},
                  {"bytes_per_pixel", definition.bytes_per_pixel},
                  {"pitch", definition.pitch},
                  {"bytes", size}};
  if (IsHicolor(definition.format)) {
    for (const MaskField& field : kMasks) {
      sidecar["masks"][field.name] = fmt::format("0x{:04x}", definition.*field.mask);
    }
  }
  if (IsPalettized(definition.format)) sidecar["palette"] = PaletteToJson(definition.palette);
  const std::string text = sidecar.dump(2) + "\n";

  Output description(SidecarOf(path));
  description.Write(text.data(), text.size());
  Output pixels(path);
  pixels.Write(definition.pixels, static_cast<size_t>(size));
  Output::Commit({&description, &pixels});
}

}  // namespace zav::tool
