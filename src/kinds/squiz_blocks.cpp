// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "kinds/squiz_blocks.h"

#include <algorithm>
#include <cstring>

#include "base/checked.h"
#include "base/endian.h"
#include "base/heap.h"
#include "surface/copy.h"

namespace zav {
namespace {

constexpr int64_t kCountOffset = 4;
constexpr int64_t kMaskOffset = 8;

constexpr uint32_t kAlphaBits = 0xFF000000;

/// The bits in which another pixel must agree with this one to have the same key: all, or only
/// alpha if that is 0.
constexpr uint32_t KeyBits(uint32_t word) {
  return (word & kAlphaBits) != 0 ? 0xFFFFFFFF : kAlphaBits;
}
constexpr uint32_t Key(uint32_t word) { return word & ((word & kAlphaBits) != 0 ? 0xFFFFFFFF : 0); }

/// The keys of a palettized picture's indices; unused for other pictures.
struct Palette {
  explicit Palette(const ZAV_SURFACE& picture) {
    for (int i = 0; picture.format == ZAV_FMT_PAL8 && i < 256; ++i) {
      keys[i] = Key(LoadLe32(picture.palette + ptrdiff_t{4} * i));
    }
  }
  uint32_t keys[256] = {};
};

/// The color of a block, if it is uniform.
struct Block {
  uint32_t key;
  uint32_t uniform;
};

/// Neighboring blocks of a row that are all stored, or all background.
struct Run {
  bool stored;
  int64_t x, y;  ///< in the picture
  int64_t width;
  int64_t height;
};

bool IsStored(const uint8_t* mask, int64_t column) {
  return (mask[column / 8] & 0x80 >> column % 8) != 0;
}

/// Calls `use(record, run)` for the runs of all rows of blocks. Stored neighbors are neighbors in
/// the strip too, and only the last block of a row is clipped, so a run can be copied as a whole.
template <typename Use>
void ForEachRun(const uint8_t* records, const SquizGrid& grid, const ZAV_SURFACE& picture,
                Use&& use) {
  const int64_t size = grid.block_size();
  for (int64_t r = 0; r < grid.rows(); ++r, records += grid.row_record_bytes()) {
    const uint8_t* mask = records + kMaskOffset;
    Run run{};
    run.y = r * size;
    run.height = std::min(size, picture.height - run.y);
    for (int64_t start = 0, end = 0; start < grid.columns(); start = end) {
      run.stored = IsStored(mask, start);
      while (end < grid.columns() && IsStored(mask, end) == run.stored) ++end;
      run.x = start * size;
      run.width = std::min(end * size, int64_t{picture.width}) - run.x;
      use(records, run);
    }
  }
}

/// Bytes of the run's blocks in a row of the strip.
int64_t StripBytes(const Run& run, const SquizGrid& grid, int32_t bytes_per_pixel) {
  return RoundUp(run.width, grid.block_size()) * bytes_per_pixel;
}

/// Bits in which the keys of a row of pixels differ from that of `first`. No early exit, so
/// compilers can vectorise it.
uint32_t Differences(const uint8_t* row, int64_t width, uint32_t first, uint32_t bits) {
  uint32_t found = 0;
  for (int64_t x = 0; x < width; ++x) found |= LoadLe32(row + x * 4) ^ first;
  return found & bits;
}

Block ExamineTrueColor(const uint8_t* pixels, int64_t pitch, int64_t width, int64_t height) {
  const uint32_t first = LoadLe32(pixels);
  const uint32_t bits = KeyBits(first);
  for (; height > 0; --height, pixels += pitch) {
    // With the usual width as a constant the loop is unrolled.
    const uint32_t found =
        width == 8 ? Differences(pixels, 8, first, bits) : Differences(pixels, width, first, bits);
    if (found != 0) return {0, 0};
  }
  return {Key(first), 1};
}

Block ExaminePalettized(const uint8_t* pixels, int64_t pitch, int64_t width, int64_t height,
                        const Palette& palette) {
  const uint32_t key = palette.keys[*pixels];
  for (; height > 0; --height, pixels += pitch) {
    for (int64_t x = 0; x < width; ++x) {
      if (palette.keys[pixels[x]] != key) return {0, 0};
    }
  }
  return {key, 1};
}

/// Examines all blocks of a row.
void ExamineRow(const ZAV_SURFACE& picture, const SquizGrid& grid, int64_t row,
                const Palette& palette, Block* blocks) {
  const int64_t size = grid.block_size();
  const int64_t height = std::min(size, picture.height - row * size);
  const uint8_t* pixels = picture.pixels + row * size * picture.pitch;
  for (int64_t c = 0; c < grid.columns(); ++c, pixels += size * picture.bytes_per_pixel) {
    const int64_t width = std::min(size, picture.width - c * size);
    blocks[c] = picture.format == ZAV_FMT_PAL8
                    ? ExaminePalettized(pixels, picture.pitch, width, height, palette)
                    : ExamineTrueColor(pixels, picture.pitch, width, height);
  }
}

/// Finds a row's background, which is transparent at first. A color that occurs in more uniform
/// blocks, without another color in between, than the current background did becomes the
/// background, and the row is examined again. Weights rise with every change, so this ends.
uint32_t ChooseBackground(const Block* blocks, int64_t count) {
  uint32_t background = 0, candidate = 0;
  int64_t background_weight = 0, candidate_weight = 0;
  for (int64_t c = 0; c < count;) {
    const Block& block = blocks[c++];
    if (block.uniform == 0 || block.key == background) continue;
    candidate_weight = block.key == candidate ? candidate_weight + 1 : 1;
    candidate = block.key;
    if (candidate_weight > background_weight) {
      background = candidate;
      background_weight = candidate_weight;
      c = 0;
    }
  }
  return background;
}

/// Fills in a row's record, which is zero before. Returns how many blocks it stores.
int64_t RecordRow(const Block* blocks, int64_t count, uint8_t* record) {
  const uint32_t background = ChooseBackground(blocks, count);
  uint8_t* mask = record + kMaskOffset;
  uint32_t stored = 0;
  for (int64_t c = 0; c < count; ++c) {
    if (blocks[c].uniform != 0 && blocks[c].key == background) continue;
    mask[c / 8] = static_cast<uint8_t>(mask[c / 8] | 0x80 >> c % 8);
    ++stored;
  }
  StoreLe32(record, background);
  StoreLe32(record + kCountOffset, stored);
  return stored;
}

/// Makes the strip's surface, with pixels of zero.
bool PrepareStrip(const ZAV_SURFACE& picture, int64_t width, int64_t height, ZAV_SURFACE& strip) {
  strip.format = picture.format;
  strip.palette = picture.palette;
  if (width == 0) return true;
  if (!SetDefinition(strip, width, height, picture.format)) return false;
  return OwnPixels(strip, AllocateZeroed(ImageBytes(strip)));
}

/// The lowest index with the key; if there is none, the lowest of those with the least sum of
/// squared channel differences.
uint8_t FindIndex(const Palette& palette, uint32_t key) {
  int32_t best = 0;
  int32_t least = INT32_MAX;
  for (int32_t i = 0; i < 256 && least != 0; ++i) {
    int32_t distance = 0;
    for (int32_t shift = 0; shift < 32; shift += 8) {
      const int32_t difference = static_cast<int32_t>(palette.keys[i] >> shift & 0xFF) -
                                 static_cast<int32_t>(key >> shift & 0xFF);
      distance += difference * difference;
    }
    if (distance >= least) continue;
    least = distance;
    best = i;
  }
  return static_cast<uint8_t>(best);
}

void FillTrueColor(uint8_t* pixels, int64_t pitch, const Run& run, uint32_t key) {
  for (int64_t x = 0; x < run.width; ++x) StoreLe32(pixels + x * 4, key);
  for (int64_t y = 1; y < run.height; ++y) FastCopy(pixels + y * pitch, pixels, run.width * 4);
}

void FillPalettized(uint8_t* pixels, int64_t pitch, const Run& run, uint8_t index) {
  for (int64_t y = 0; y < run.height; ++y, pixels += pitch) {
    std::memset(pixels, index, static_cast<size_t>(run.width));
  }
}

/// Fills runs of background. A key is looked up only when it changes.
class Filler {
 public:
  explicit Filler(const ZAV_SURFACE& picture)
      : picture_(picture), palettized_(picture.format == ZAV_FMT_PAL8), palette_(picture) {}

  void Fill(uint8_t* pixels, const Run& run, uint32_t key) {
    if (!palettized_) return FillTrueColor(pixels, picture_.pitch, run, key);
    if (!found_ || key != last_key_) index_ = FindIndex(palette_, key);
    found_ = true;
    last_key_ = key;
    FillPalettized(pixels, picture_.pitch, run, index_);
  }

 private:
  const ZAV_SURFACE& picture_;
  const bool palettized_;
  const Palette palette_;
  bool found_ = false;
  uint32_t last_key_ = 0;
  uint8_t index_ = 0;
};

}  // namespace

SquizGrid::SquizGrid(int32_t width, int32_t height, int32_t block_size)
    : block_size_(block_size),
      columns_((int64_t{width} + block_size - 1) / block_size),
      rows_((int64_t{height} + block_size - 1) / block_size),
      row_record_bytes_(kMaskOffset + RoundUp(columns_, 8)) {}

SquizParts::~SquizParts() {
  FreeBytes(records);
  ReleaseSurface(strip);
}

bool EncodeSquiz(const ZAV_SURFACE& picture, const SquizGrid& grid, SquizParts& parts) {
  parts.records = AllocateZeroed(grid.record_bytes());
  const Scratch scratch(grid.columns() * static_cast<int64_t>(sizeof(Block)));
  if (parts.records == nullptr || scratch.get() == nullptr) return false;
  auto* blocks = reinterpret_cast<Block*>(scratch.get());
  const Palette palette(picture);
  int64_t stored = 0;
  for (int64_t r = 0; r < grid.rows(); ++r) {
    ExamineRow(picture, grid, r, palette, blocks);
    stored += RecordRow(blocks, grid.columns(), parts.records + r * grid.row_record_bytes());
  }
  ZAV_SURFACE& strip = parts.strip;
  if (!PrepareStrip(picture, stored * grid.block_size(), grid.block_size(), strip)) return false;
  const int32_t bytes_per_pixel = picture.bytes_per_pixel;
  int64_t cell = 0;
  ForEachRun(parts.records, grid, picture, [&](const uint8_t*, const Run& run) {
    if (!run.stored) return;
    CopyRows(strip.pixels + cell, picture.pixels + run.y * picture.pitch + run.x * bytes_per_pixel,
             run.width * bytes_per_pixel, run.height, strip.pitch, picture.pitch);
    cell += StripBytes(run, grid, bytes_per_pixel);
  });
  return true;
}

int64_t CountStoredBlocks(const uint8_t* records, const SquizGrid& grid) {
  int64_t stored = 0;
  for (int64_t r = 0; r < grid.rows(); ++r, records += grid.row_record_bytes()) {
    for (int64_t c = 0; c < grid.columns(); ++c) stored += IsStored(records + kMaskOffset, c);
  }
  return stored;
}

void DecodeSquiz(const ZAV_SURFACE& strip, const uint8_t* records, const SquizGrid& grid,
                 const ZAV_SURFACE& picture) {
  Filler filler(picture);
  const int32_t bytes_per_pixel = picture.bytes_per_pixel;
  int64_t cell = 0;
  ForEachRun(records, grid, picture, [&](const uint8_t* record, const Run& run) {
    uint8_t* pixels = picture.pixels + run.y * picture.pitch + run.x * bytes_per_pixel;
    if (!run.stored) {
      filler.Fill(pixels, run, LoadLe32(record));
      return;
    }
    CopyRows(pixels, strip.pixels + cell, run.width * bytes_per_pixel, run.height, picture.pitch,
             strip.pitch);
    cell += StripBytes(run, grid, bytes_per_pixel);
  });
}

}  // namespace zav
