// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "container_walk.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstring>
#include <limits>

#include "formats.h"
#include "layer_kinds.h"

namespace zav::tool {
namespace {

constexpr int64_t kMagicBytes = 4;
constexpr int64_t kMaxBytes = std::numeric_limits<int32_t>::max();

int64_t RoundUp(int64_t value, int64_t unit) { return (value + unit - 1) / unit * unit; }

/// How many layers an image record's header announces.
size_t LayersOf(const ZAV_LAYER& image) {
  switch (image.kind) {
    case ZAV_REC_TILED:
      return static_cast<size_t>(FieldValue(image, Field::kTiles));
    case ZAV_REC_MIPMAP:
      return static_cast<size_t>(FieldValue(image, Field::kLevels));
    default:
      return 1;
  }
}

class Walker {
 public:
  explicit Walker(ByteSpan file) : file_(file), size_(static_cast<int64_t>(file.size())) {}

  Walk Run() {
    walk_.needed = std::max(size_, kMagicBytes);
    if (size_ < kMagicBytes || std::memcmp(file_.data(), "ZAV", 3) != 0) {
      Blame(0, "is not a container: it does not begin with ZAV");
    } else if (size_ > kMaxBytes) {
      Blame(kMaxBytes, "a container has at most this many bytes");
    } else {
      walk_.records = Records(kMagicBytes, size_, nullptr);
    }
    return std::move(walk_);
  }

 private:
  const unsigned char* At(int64_t offset) const { return file_.data() + offset; }
  bool Full() const { return walk_.problems.size() >= kMaxProblems; }

  bool Blame(int64_t offset, std::string what) {
    if (!Full()) walk_.problems.push_back({offset, std::move(what)});
    return false;
  }

  /// Records that fill the bytes from `at` to `end`, inside `parent` or at the top level.
  std::vector<Record> Records(int64_t at, int64_t end, const Record* parent) {
    std::vector<Record> records;
    while (at < end && !Full()) {
      Record record;
      record.offset = at;
      if (!ReadFrame(record, end, parent)) break;
      at += record.size;
      const size_t before = walk_.problems.size();
      if (ReadHeader(record, parent)) {
        if (IsImageRecord(record.kind())) ReadImage(record);
        record.sound = walk_.problems.size() == before;
        records.push_back(std::move(record));
      }
    }
    return records;
  }

  /// Reads kind and size. False when the next record cannot be found.
  bool ReadFrame(Record& record, int64_t end, const Record* parent) {
    const int64_t at = record.offset;
    if (end - at < kFrameBytes) {
      walk_.needed = std::max(walk_.needed, at + kFrameBytes);
      return Blame(at, fmt::format("a record is cut off: {} bytes are left", end - at));
    }
    std::memcpy(&record.header, At(at), kFrameBytes);
    record.size = FieldValue(record.header, Field::kSize);
    if (record.size < kFrameBytes) {
      return Blame(
          at, fmt::format("a record of kind {} gives its size as {}", record.kind(), record.size));
    }
    if (record.size > end - at) {
      walk_.needed = std::max(walk_.needed, at + record.size);
      return Blame(at, fmt::format("a record of kind {} is cut off: {} bytes of {} are left{}",
                                   record.kind(), end - at, record.size,
                                   parent == nullptr ? "" : " in its image"));
    }
    const RecordKind* kind = FindRecordKind(record.kind());
    if (kind != nullptr && record.size < kind->header()) {
      return Blame(record.offset,
                   fmt::format("the {} record of {} bytes is shorter than its header", kind->name,
                               record.size));
    }
    return true;
  }

  /// False for records of which only the extent is known.
  bool ReadHeader(Record& record, const Record* parent) {
    const RecordKind* kind = FindRecordKind(record.kind());
    if (kind == nullptr) {
      return Blame(record.offset, fmt::format("there are no records of kind {}", record.kind()));
    }
    if (parent != nullptr && IsImageRecord(record.kind())) {
      return Blame(record.offset, "an image record is inside another one");
    }
    std::memcpy(&record.header, At(record.offset), static_cast<size_t>(kind->header()));
    const std::span<const unsigned char> name = FieldBytes(record.header, Field::kName);
    record.name.assign(name.begin(), std::ranges::find(name, 0));
    if (FieldBytes(record.header, Field::kWidth).empty()) return true;
    const int64_t width = FieldValue(record.header, Field::kWidth);
    const int64_t height = FieldValue(record.header, Field::kHeight);
    if (width < 1 || height < 1 || width * height > kMaxBytes) {
      return Blame(record.offset,
                   fmt::format("the {} record has the sides {} x {}", kind->name, width, height));
    }
    record.width = static_cast<int32_t>(width);
    record.height = static_cast<int32_t>(height);
    return true;
  }

  void ReadImage(Record& image) {
    const int64_t end = image.offset + image.size;
    int64_t at = image.offset + FindRecordKind(image.kind())->header();
    if (image.kind() == ZAV_REC_SQUIZ && !ReadBlockRows(image, at)) return;
    const size_t problems = walk_.problems.size();
    image.layers = Records(at, end, &image);
    if (walk_.problems.size() != problems) return;

    const size_t count = image.layers.size();
    const size_t announced = LayersOf(image.header);
    if (count != announced) {
      Blame(image.offset, fmt::format("the {} record holds {} layers instead of {}",
                                      FindRecordKind(image.kind())->name, count, announced));
      return;
    }
    if (image.width == 0 && count > 0) {
      image.width = image.layers[0].width;
      image.height = image.layers[0].height;
    }
  }

  /// Reads the row records of a squiz image and moves `at` past them. Each has a background color
  /// and a count (4 bytes each), then a mask with a bit for every block that is stored. The mask
  /// takes a byte, not a bit, for each block, rounded up to a multiple of 8.
  bool ReadBlockRows(Record& image, int64_t& at) {
    const int64_t side = FieldValue(image.header, Field::kBlockSize);
    if (side == 0) return Blame(image.offset, "the squiz record has a block size of 0");
    const int64_t columns = (image.width + side - 1) / side;
    const int64_t rows = (image.height + side - 1) / side;
    const int64_t row_bytes = 8 + RoundUp(columns, 8);
    const int64_t left = image.offset + image.size - at;
    if (rows > left / row_bytes) {
      return Blame(at, fmt::format("{} rows of blocks take more than the {} bytes that are left",
                                   rows, left));
    }
    image.blocks = columns * rows;
    for (int64_t row = 0; row < rows; ++row, at += row_bytes) {
      for (int64_t column = 0; column < columns; ++column) {
        image.stored_blocks += (*At(at + 8 + column / 8) & 0x80 >> column % 8) != 0;
      }
    }
    return true;
  }

  ByteSpan file_;
  int64_t size_;
  Walk walk_;
};

}  // namespace

int64_t Record::RawBytes() const {
  if (!IsImageRecord(kind())) {
    const int32_t format = StoredFormat(header);
    return int64_t{width} * height * (IsDxt(format) ? 4 : FormatOf(format).bits / 8);
  }
  if (layers.empty()) return 0;
  if (kind() == ZAV_REC_TILED || kind() == ZAV_REC_SQUIZ) {
    return int64_t{width} * height * (IsPal8Layer(layers[0].kind()) ? 1 : 4);
  }
  int64_t bytes = 0;
  for (const Record& layer : layers) bytes += layer.RawBytes();
  return bytes;
}

Walk WalkContainer(ByteSpan file) { return Walker(file).Run(); }

}  // namespace zav::tool
