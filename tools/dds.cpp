// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "dds.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <limits>
#include <vector>

#include "error.h"
#include "formats.h"
#include "little_endian.h"
#include "output.h"

namespace zav::tool {
namespace {

// Indices of the header's 32-bit words, the magic first. The others are 0 for a plain picture.
enum : size_t {
  kMagic = 0,
  kSize = 1,   // bytes of the header after the magic
  kFlags = 2,  // which fields are set
  kHeight = 3,
  kWidth = 4,
  kPitch = 5,  // bytes of a row, or of all blocks
  kLevels = 7,
  kFormatSize = 19,
  kFormatFlags = 20,
  kFourCc = 21,
  kBits = 22,
  kRedMask = 23,  // then green, blue, alpha
  kCaps = 27,
  kCaps2 = 28,
  kWords = 32
};
using Header = std::array<uint32_t, kWords>;

constexpr uint32_t kHeaderBytes = 124;
constexpr uint32_t kFormatBytes = 32;
// Flags of the header: caps, height, width, pixel format; pitch; size of all blocks.
constexpr uint32_t kHasBasics = 0x1007;
constexpr uint32_t kHasPitch = 0x8;
constexpr uint32_t kHasLinearSize = 0x80000;
// Flags of the pixel format.
constexpr uint32_t kAlphaPixels = 0x1;
constexpr uint32_t kIsFourCc = 0x4;
constexpr uint32_t kRgb = 0x40;
constexpr uint32_t kCapsTexture = 0x1000;
// Cube maps and volumes.
constexpr uint32_t kCaps2Many = 0x200 | 0x200000;

constexpr uint32_t kDdsMagic = LoadLittle("DDS ", 4);
constexpr uint32_t kDxt1Code = LoadLittle("DXT1", 4);  // the last byte counts the other variants

/// Channels as masks of a little-endian pixel: alpha, red, green, blue.
struct Layout {
  int32_t format;
  uint32_t bits;
  Masks masks;
};
constexpr Layout kLayouts[] = {
    {ZAV_FMT_BGRA32, 32, {0xFF000000, 0xFF0000, 0xFF00, 0xFF}},
    {ZAV_FMT_RGBA32, 32, {0xFF000000, 0xFF, 0xFF00, 0xFF0000}},
    {ZAV_FMT_BGR24, 24, {0, 0xFF0000, 0xFF00, 0xFF}},
    {ZAV_FMT_RGB24, 24, {0, 0xFF, 0xFF00, 0xFF0000}},
    {ZAV_FMT_RGB565, 16, {0, 0xF800, 0x7E0, 0x1F}},
    {ZAV_FMT_RGB555, 16, {0, 0x7C00, 0x3E0, 0x1F}},
    {ZAV_FMT_ARGB4444, 16, {0xF000, 0xF00, 0xF0, 0xF}},
    {ZAV_FMT_ARGB1555, 16, {0x8000, 0x7C00, 0x3E0, 0x1F}},
};

int64_t BlockBytes(int32_t format, int64_t width, int64_t height) {
  return (width + 3) / 4 * ((height + 3) / 4) * (format == ZAV_FMT_DXT1 ? 8 : 16);
}

Header ParseHeader(const std::string& path, const std::vector<unsigned char>& bytes) {
  Header header = {};
  for (size_t i = 0; i < std::min(bytes.size() / 4, header.size()); ++i) {
    header[i] = LoadLittle(&bytes[4 * i], 4);
  }
  if (header[kMagic] != kDdsMagic) {
    throw BadFile(path, "is not a DDS file: it does not begin with DDS");
  }
  if (bytes.size() < 4 * kWords) {
    throw BadFile(path,
                  fmt::format("is cut off: {} bytes of at least {}", bytes.size(), 4 * kWords));
  }
  if (header[kSize] != kHeaderBytes || header[kFormatSize] != kFormatBytes) {
    throw BadFile(path, "is not a DDS file: its header makes no sense");
  }
  const uint64_t pixels = uint64_t{header[kWidth]} * header[kHeight];
  if (pixels == 0 || pixels > std::numeric_limits<int32_t>::max()) {
    throw BadFile(path,
                  fmt::format("has impossible sides: {} x {}", header[kWidth], header[kHeight]));
  }
  if ((header[kCaps2] & kCaps2Many) != 0) {
    throw NotSupported(path, "is a cube map or a volume; only single pictures are supported");
  }
  return header;
}

/// Size, format and masks of the pixels. `opaque`: 32-bit pixels whose fourth byte is unused.
ZAV_GFXDEF ParseFormat(const std::string& path, const Header& header, bool& opaque) {
  ZAV_GFXDEF definition = {};
  definition.width = static_cast<int32_t>(header[kWidth]);
  definition.height = static_cast<int32_t>(header[kHeight]);
  opaque = false;
  if ((header[kFormatFlags] & kIsFourCc) != 0) {
    const uint32_t variant = header[kFourCc] - kDxt1Code;
    if (variant % (1U << 24) == 0 && variant >> 24 < 5) {
      definition.format = ZAV_FMT_DXT1 + static_cast<int32_t>(variant >> 24);
      return definition;
    }
    throw NotSupported(path,
                       fmt::format("has pixels with the code {:08x}; DXT1 to DXT5 are supported",
                                   header[kFourCc]));
  }
  const uint32_t bits = header[kBits];
  if ((header[kFormatFlags] & kRgb) == 0 || (bits != 16 && bits != 24 && bits != 32)) {
    throw NotSupported(path, "has pixels that are neither blocks nor colors of 16 to 32 bits");
  }
  const bool alpha = (header[kFormatFlags] & kAlphaPixels) != 0;
  const Masks masks = {alpha ? header[kRedMask + 3] : 0, header[kRedMask], header[kRedMask + 1],
                       header[kRedMask + 2]};
  for (const Layout& layout : kLayouts) {
    Masks wanted = layout.masks;
    opaque = bits == 32 && masks[0] == 0;
    if (opaque) wanted[0] = 0;
    if (layout.bits != bits || masks != wanted) continue;
    definition.format = layout.format;
    return definition;
  }
  if (bits != 16 || (masks[0] | masks[1] | masks[2] | masks[3]) > 0xFFFF) {
    throw NotSupported(path,
                       fmt::format("has {}-bit pixels with an unknown order of channels", bits));
  }
  definition.format = ZAV_FMT_CUSTOM16_1;
  SetMasks(definition, masks);
  return definition;
}

std::string StorageText(const Header& header, const ZAV_GFXDEF& definition) {
  std::string text =
      IsDxt(definition.format) ? "4 x 4 blocks" : fmt::format("{}-bit", header[kBits]);
  if (header[kLevels] > 1) text += fmt::format(", {} levels", header[kLevels]);
  return text;
}

/// Crops a picture that ends inside its last blocks.
Picture CutBlocks(const std::string& path, const ZAV_GFXDEF& blocks) {
  if (IsCopyOnly(blocks.format)) {
    throw NotSupported(
        path, fmt::format("has {} blocks and sides of {} x {}, which are not multiples of 4",
                          FormatOf(blocks.format).name, blocks.width, blocks.height));
  }
  Picture borrowed;
  borrowed.definition = blocks;
  borrowed.definition.width = (blocks.width + 3) & ~3;
  borrowed.definition.height = (blocks.height + 3) & ~3;
  Picture picture = Convert(path, borrowed, ZAV_FMT_BGRA32);
  picture.definition.width = blocks.width;
  picture.definition.height = blocks.height;
  return picture;
}

}  // namespace

Picture ReadDds(const std::string& path, std::vector<unsigned char>& bytes, std::string& storage) {
  const Header header = ParseHeader(path, bytes);
  bool opaque = false;
  Picture borrowed;
  ZAV_GFXDEF& definition = borrowed.definition;
  definition = ParseFormat(path, header, opaque);
  storage = StorageText(header, definition);

  // Rows have no padding even if the header's pitch says so: many writers get the pitch wrong.
  const int64_t row = RowBytes(definition);
  const bool blocks = IsDxt(definition.format);
  const int64_t needed = blocks ? BlockBytes(definition.format, definition.width, definition.height)
                                : row * definition.height;
  const int64_t held = static_cast<int64_t>(bytes.size()) - static_cast<int64_t>(4 * kWords);
  if (held < needed) {
    throw BadFile(path, fmt::format("is cut off: {} x {} {} pixels do not fit into {} bytes",
                                    definition.width, definition.height,
                                    FormatOf(definition.format).name, bytes.size()));
  }
  if (needed > std::numeric_limits<int32_t>::max()) {
    throw NotSupported(path, "holds more than 2^31 bytes of pixels");
  }
  definition.pixels = bytes.data() + 4 * kWords;
  definition.pitch = static_cast<int32_t>(blocks ? needed : row);
  if (opaque) {
    for (int64_t at = 3; at < needed; at += 4) definition.pixels[at] = 0xFF;
  }
  if (blocks && (definition.width % 4 != 0 || definition.height % 4 != 0)) {
    return CutBlocks(path, definition);
  }
  return Convert(path, borrowed, Wanted{});  // a copy that owns its buffers
}

void WriteDds(const Picture& picture, const std::string& path) {
  const ZAV_GFXDEF& definition = picture.definition;
  const bool blocks = IsDxt(definition.format);
  const int64_t row = RowBytes(definition);
  if (blocks &&
      definition.pitch < BlockBytes(definition.format, definition.width, definition.height)) {
    throw BadFile(path, fmt::format("{} bytes of blocks are too few for {} x {} pixels",
                                    definition.pitch, definition.width, definition.height));
  }
  Header header = {};
  header[kMagic] = kDdsMagic;
  header[kSize] = kHeaderBytes;
  header[kFlags] = kHasBasics | (blocks ? kHasLinearSize : kHasPitch);
  header[kHeight] = static_cast<uint32_t>(definition.height);
  header[kWidth] = static_cast<uint32_t>(definition.width);
  header[kPitch] = static_cast<uint32_t>(blocks ? definition.pitch : row);
  header[kFormatSize] = kFormatBytes;
  header[kCaps] = kCapsTexture;
  if (blocks) {
    header[kFormatFlags] = kIsFourCc;
    header[kFourCc] = kDxt1Code + (static_cast<uint32_t>(definition.format - ZAV_FMT_DXT1) << 24);
  } else {
    const auto* known = std::ranges::find(kLayouts, definition.format, &Layout::format);
    const Masks masks = known != std::end(kLayouts) ? known->masks : MasksOf(definition);
    header[kFormatFlags] = kRgb | (masks[0] != 0 ? kAlphaPixels : 0);
    header[kBits] = static_cast<uint32_t>(FormatOf(definition.format).bits);
    std::copy(masks.begin() + 1, masks.end(), header.begin() + kRedMask);
    header[kRedMask + 3] = masks[0];
  }
  std::vector<unsigned char> bytes(4 * kWords);
  for (size_t i = 0; i < kWords; ++i) StoreLittle(header[i], &bytes[4 * i], 4);
  Output output(path);
  output.Write(bytes.data(), bytes.size());
  if (blocks) {
    output.Write(definition.pixels, static_cast<size_t>(PictureBytes(definition)));
  } else {
    bytes.clear();
    for (int64_t y = 0; y < definition.height; ++y) {
      const unsigned char* pixels = definition.pixels + y * definition.pitch;
      bytes.insert(bytes.end(), pixels, pixels + row);
    }
    output.Write(bytes.data(), bytes.size());
  }
  Output::Commit({&output});
}

}  // namespace zav::tool
