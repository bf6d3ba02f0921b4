// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "save.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>

#include "error.h"
#include "formats.h"
#include "input.h"
#include "output.h"

namespace zav::tool {
namespace {

int64_t FileBytes(const FileType& type, const ZAV_GFXDEF& definition) {
  const bool mapped = IsPalettized(definition.format);
  const int64_t row = RowBytes(definition);
  if (type.ending == "bmp") return 54 + (mapped ? 1024 : 0) + (row + 3) / 4 * 4 * definition.height;
  return 18 + (mapped ? 768 : 0) + row * definition.height;
}

/// Ignores the fourth byte of palette entries: Targa does not store it, and BMP has a special rule.
bool SamePalette(const unsigned char* a, const unsigned char* b) {
  for (int at = 0; at < ZAV_PALETTE_BYTES; at += 4) {
    if (std::memcmp(a + at, b + at, 3) != 0) return false;
  }
  return true;
}

bool SamePicture(const ZAV_GFXDEF& a, const ZAV_GFXDEF& b) {
  if (a.format != b.format || a.width != b.width || a.height != b.height) return false;
  const size_t row = static_cast<size_t>(RowBytes(a));
  for (int64_t y = 0; y < a.height; ++y) {
    if (std::memcmp(a.pixels + y * a.pitch, b.pixels + y * b.pitch, row) != 0) return false;
  }
  return !IsPalettized(a.format) || SamePalette(a.palette, b.palette);
}

/// Sides have 16 bits in Targa files; the JPEG codec has a slightly lower limit.
int32_t LongestSide(const FileType& type) {
  if (type.ending == "tga") return 65535;
  return type.ending == "jpg" ? 65500 : std::numeric_limits<int32_t>::max();
}

Error ReadsBackOtherwise(const PictureFile& file) {
  return Error(ErrorKind::kInputOutput, file.path, "the written file does not read back the same");
}

/// Neither pixels nor file size can be predicted: a JPEG file counts as complete if it ends with
/// the last marker.
void CheckJpeg(Output& output, const Picture& picture, const PictureFile& file) {
  constexpr int64_t kLargestWrite = 1 << 20;
  std::vector<unsigned char> bytes;
  {
    const FileView view(output.path());
    bytes.assign(view.bytes().begin(), view.bytes().end());
  }
  const size_t size = bytes.size();
  if (size < 4 || bytes[size - 2] != 0xFF || bytes[size - 1] != 0xD9) {
    output.CheckRoom(static_cast<int64_t>(size) + kLargestWrite);
    throw Error(ErrorKind::kInputOutput, file.path, "the library did not write all of it");
  }
  const Picture written = Decode(file.path, ".jpg", bytes, ZAV_FMT_BGR24);
  if (written.definition.width != picture.definition.width ||
      written.definition.height != picture.definition.height) {
    throw ReadsBackOtherwise(file);
  }
}

void CheckExact(Output& output, const Picture& picture, const PictureFile& file) {
  output.CheckSize(FileBytes(*file.type, picture.definition));
  std::vector<unsigned char> bytes = LoadFile(output.path());
  const Picture written = Decode(file.path, fmt::format(".{}", file.type->ending), bytes);
  if (!SamePicture(written.definition, picture.definition)) {
    throw ReadsBackOtherwise(file);
  }
}

}  // namespace

void SaveWithLibrary(const Picture& picture, const PictureFile& file) {
  const std::string& path = file.path;
  const FileType& type = *file.type;
  const ZAV_GFXDEF& definition = picture.definition;
  const auto stored = std::ranges::find(type.stored, definition.format, &Stored::format);
  const int32_t longest = LongestSide(type);
  if (definition.width > longest || definition.height > longest) {
    throw NotSupported(path,
                       fmt::format("the sides of a {} file are at most {}", type.name, longest));
  }

  Output output(path);
  Image image;
  image->source = definition;
  // These files have no alpha in their palettes, or treat it specially.
  std::array<unsigned char, ZAV_PALETTE_BYTES> palette;
  if (IsPalettized(definition.format)) {
    std::copy_n(definition.palette, palette.size(), palette.begin());
    for (size_t at = 3; at < palette.size(); at += 4) palette[at] = 0xFF;
    image->source.palette = palette.data();
  }
  const bool jpeg = stored->save_type >= ZAV_SAVE_JPEG;
  const long save_type = stored->save_type + (jpeg ? file.quality : 0);
  const int result = ZAV_SAVE_BITMAP(image.get(), save_type, output.path().c_str());
  if (result != 1 && !jpeg) {
    throw Error(ErrorKind::kInputOutput, path,
                fmt::format("the library could not write {} x {} {} as {}", definition.width,
                            definition.height, FormatOf(definition.format).name, type.name));
  }
  if (jpeg) {
    CheckJpeg(output, picture, file);
  } else {
    CheckExact(output, picture, file);
  }
  Output::Commit({&output});
}

}  // namespace zav::tool
