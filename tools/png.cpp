// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "png.h"

#include <fmt/core.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <csetjmp>
#include <cstdio>
#include <limits>
#include <new>

#include "error.h"
#include "output.h"

namespace zav::tool {
namespace {

constexpr size_t kSignature = 8;
constexpr int64_t kMaxBytes = std::numeric_limits<int32_t>::max();
/// Deflate expands a byte to at most this many.
constexpr int64_t kMaxExpansion = 1032;

// libpng reports errors by longjmp. Every function below that calls it sets a return point, and has
// no objects with destructors: pixels and strings belong to its callers.

/// A file being read or written.
struct Session {
  png_structp png = nullptr;
  png_infop info = nullptr;
  const unsigned char* next = nullptr;  // reading: the rest of the file
  size_t left = 0;
  std::vector<unsigned char> written;
  std::array<char, 120> reason = {};
  std::array<png_color, 256> colors = {};
  std::array<png_byte, 256> alphas = {};
};

void OnError(png_structp png, png_const_charp what) {
  auto* session = static_cast<Session*>(png_get_error_ptr(png));
  std::snprintf(session->reason.data(), session->reason.size(), "%s", what);
  png_longjmp(png, 1);
}

/// libpng has repaired the file.
void OnWarning(png_structp, png_const_charp) {}

void TakeBytes(png_structp png, png_bytep bytes, size_t size) {
  auto* session = static_cast<Session*>(png_get_io_ptr(png));
  if (size > session->left) png_error(png, "the file is cut off");
  std::copy_n(session->next, size, bytes);
  session->next += size;
  session->left -= size;
}

void KeepBytes(png_structp png, png_bytep bytes, size_t size) {
  auto* session = static_cast<Session*>(png_get_io_ptr(png));
  bool kept = true;
  try {
    session->written.insert(session->written.end(), bytes, bytes + size);
  } catch (const std::bad_alloc&) {
    kept = false;
  }
  if (!kept) png_error(png, "out of memory");
}

void NothingToFlush(png_structp) {}

class Reader : public Session {
 public:
  explicit Reader(const std::vector<unsigned char>& bytes) {
    next = bytes.data();
    left = bytes.size();
    png = png_create_read_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
    if (png != nullptr) info = png_create_info_struct(png);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;
  ~Reader() { png_destroy_read_struct(&png, &info, nullptr); }
};

class Writer : public Session {
 public:
  Writer() {
    png = png_create_write_struct(PNG_LIBPNG_VER_STRING, this, OnError, OnWarning);
    if (png != nullptr) info = png_create_info_struct(png);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer() { png_destroy_write_struct(&png, &info); }
};

/// Everything before the pixels.
bool ReadHeader(Session& session) {
  if (setjmp(png_jmpbuf(session.png)) != 0) return false;
  png_set_user_limits(session.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_set_chunk_malloc_max(session.png, 8'000'000);
  png_set_read_fn(session.png, &session, TakeBytes);
  png_read_info(session.png, session.info);
  return true;
}

/// Asks for whole bytes: indices stay indices, everything else becomes three or four channels.
bool SetTransforms(Session& session) {
  if (setjmp(png_jmpbuf(session.png)) != 0) return false;
  if (png_get_color_type(session.png, session.info) == PNG_COLOR_TYPE_PALETTE) {
    png_set_packing(session.png);
  } else {
    png_set_expand(session.png);  // small grey samples, and the transparent color
    png_set_gray_to_rgb(session.png);
    png_set_scale_16(session.png);
  }
  png_set_interlace_handling(session.png);
  png_read_update_info(session.png, session.info);
  return true;
}

/// Interlaced files are read in passes, each of which adds to the rows.
bool ReadRows(Session& session, unsigned char* pixels, int64_t pitch, int32_t height, int passes) {
  if (setjmp(png_jmpbuf(session.png)) != 0) return false;
  for (int pass = 0; pass < passes; ++pass) {
    for (int64_t y = 0; y < height; ++y) png_read_row(session.png, pixels + y * pitch, nullptr);
  }
  png_read_end(session.png, nullptr);
  return true;
}

Error Unreadable(const std::string& path, const Session& session) {
  return BadFile(path, fmt::format("cannot be read: {}", session.reason.data()));
}

std::string StorageText(Session& session) {
  constexpr std::array<const char*, 7> kNames = {"grey",       "?", "RGB", "palette",
                                                 "grey+alpha", "?", "RGBA"};
  return fmt::format("{}-bit {}{}", png_get_bit_depth(session.png, session.info),
                     kNames[png_get_color_type(session.png, session.info) % kNames.size()],
                     png_get_interlace_type(session.png, session.info) != PNG_INTERLACE_NONE
                         ? ", interlaced"
                         : "");
}

/// Fails for sides that the file's bytes cannot fill, before memory is allocated.
void CheckSides(const std::string& path, Session& session, size_t size) {
  const int64_t width = png_get_image_width(session.png, session.info);
  const int64_t height = png_get_image_height(session.png, session.info);
  const int64_t bits = png_get_bit_depth(session.png, session.info) *
                       int64_t{png_get_channels(session.png, session.info)};
  if (width > kMaxBytes / 4 / height) {
    throw NotSupported(
        path, fmt::format("has {} x {} pixels; pictures are limited to 2^31 bytes", width, height));
  }
  if (width * height * bits / 8 > kMaxExpansion * static_cast<int64_t>(size)) {
    throw BadFile(
        path, fmt::format("is cut off: {} bytes do not hold {} x {} pixels", size, width, height));
  }
}

/// B, G, R, A; missing entries are opaque black.
std::vector<unsigned char> PaletteOf(Session& session) {
  std::vector<unsigned char> palette;
  png_colorp colors = nullptr;
  png_bytep alphas = nullptr;
  int count = 0;
  int alpha_count = 0;
  png_get_PLTE(session.png, session.info, &colors, &count);
  png_get_tRNS(session.png, session.info, &alphas, &alpha_count, nullptr);
  for (int i = 0; i < 256; ++i) {
    const png_color color = i < count ? colors[i] : png_color{};
    const png_byte alpha = i < alpha_count ? alphas[i] : png_byte{0xFF};
    palette.insert(palette.end(), {color.blue, color.green, color.red, alpha});
  }
  return palette;
}

/// Fills the session's palette and returns the number of entries up to the last one in use.
int UsedPalette(Session& session, const ZAV_GFXDEF& definition) {
  unsigned char greatest = 0;
  for (int64_t y = 0; y < definition.height; ++y) {
    const unsigned char* row = definition.pixels + y * definition.pitch;
    greatest = std::max(greatest, *std::max_element(row, row + definition.width));
  }
  for (size_t i = 0; i <= greatest; ++i) {
    const unsigned char* entry = definition.palette + 4 * i;
    session.colors[i] = {entry[2], entry[1], entry[0]};
    session.alphas[i] = entry[3];
  }
  return greatest + 1;
}

bool WriteRows(Session& session, const ZAV_GFXDEF& definition, int entries, int alphas) {
  if (setjmp(png_jmpbuf(session.png)) != 0) return false;
  png_set_user_limits(session.png, PNG_UINT_31_MAX, PNG_UINT_31_MAX);
  png_set_write_fn(session.png, &session, KeepBytes, NothingToFlush);
  png_set_IHDR(session.png, session.info, static_cast<png_uint_32>(definition.width),
               static_cast<png_uint_32>(definition.height), 8,
               definition.format == ZAV_FMT_PAL8     ? PNG_COLOR_TYPE_PALETTE
               : definition.format == ZAV_FMT_RGBA32 ? PNG_COLOR_TYPE_RGB_ALPHA
                                                     : PNG_COLOR_TYPE_RGB,
               PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  if (entries > 0) png_set_PLTE(session.png, session.info, session.colors.data(), entries);
  if (alphas > 0) {
    png_set_tRNS(session.png, session.info, session.alphas.data(), alphas, nullptr);
  }
  png_write_info(session.png, session.info);
  for (int64_t y = 0; y < definition.height; ++y) {
    png_write_row(session.png, definition.pixels + y * definition.pitch);
  }
  png_write_end(session.png, session.info);
  return true;
}

}  // namespace

Picture ReadPng(const std::string& path, std::vector<unsigned char>& bytes, std::string& storage) {
  if (bytes.size() < kSignature || png_sig_cmp(bytes.data(), 0, kSignature) != 0) {
    throw BadFile(path, "is not a PNG file: its signature is missing");
  }
  Reader reader(bytes);
  if (reader.info == nullptr) throw std::bad_alloc();
  if (!ReadHeader(reader)) throw Unreadable(path, reader);
  CheckSides(path, reader, bytes.size());
  storage = StorageText(reader);
  const bool mapped = png_get_color_type(reader.png, reader.info) == PNG_COLOR_TYPE_PALETTE;
  const int passes = png_get_interlace_type(reader.png, reader.info) == PNG_INTERLACE_NONE
                         ? 1
                         : PNG_INTERLACE_ADAM7_PASSES;
  if (!SetTransforms(reader)) throw Unreadable(path, reader);

  Picture borrowed;
  ZAV_GFXDEF& definition = borrowed.definition;
  definition.width = static_cast<int32_t>(png_get_image_width(reader.png, reader.info));
  definition.height = static_cast<int32_t>(png_get_image_height(reader.png, reader.info));
  const int channels = png_get_channels(reader.png, reader.info);
  definition.format = mapped ? ZAV_FMT_PAL8 : channels == 4 ? ZAV_FMT_RGBA32 : ZAV_FMT_RGB24;
  definition.pitch = definition.width * channels;
  std::vector<unsigned char> palette;
  if (mapped) palette = PaletteOf(reader);
  std::vector<unsigned char> pixels(static_cast<size_t>(definition.pitch) *
                                    static_cast<size_t>(definition.height));
  if (!ReadRows(reader, pixels.data(), definition.pitch, definition.height, passes)) {
    throw Unreadable(path, reader);
  }
  definition.pixels = pixels.data();
  definition.palette = palette.data();
  return Convert(path, borrowed, Wanted{});  // a copy that owns its buffers
}

void WritePng(const Picture& picture, const std::string& path) {
  const ZAV_GFXDEF& definition = picture.definition;
  Writer writer;
  if (writer.info == nullptr) throw std::bad_alloc();
  const int entries = definition.format == ZAV_FMT_PAL8 ? UsedPalette(writer, definition) : 0;
  const auto last_clear = std::ranges::find_if(writer.alphas.rend() - entries, writer.alphas.rend(),
                                               [](png_byte alpha) { return alpha != 0xFF; });
  const auto alphas = static_cast<int>(writer.alphas.rend() - last_clear);
  if (!WriteRows(writer, definition, entries, alphas)) {
    throw Error(ErrorKind::kInputOutput, path,
                fmt::format("cannot be written as PNG: {}", writer.reason.data()));
  }
  Output output(path);
  output.Write(writer.written.data(), writer.written.size());
  Output::Commit({&output});
}

}  // namespace zav::tool
