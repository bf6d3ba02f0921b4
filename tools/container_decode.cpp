// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "container_decode.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <memory>

#include "commands.h"
#include "formats.h"
#include "layer_kinds.h"
#include "terminal.h"

namespace zav::tool {
namespace {

struct CloseStream {
  void operator()(void* stream) const { ZAV_CLOSE(stream); }
};

/// A container of this record alone, so that the library cannot read the bytes of another one.
std::vector<unsigned char> Alone(ByteSpan file, const Record& record) {
  constexpr std::array<unsigned char, 4> kMagic = {'Z', 'A', 'V', 0};
  const ByteSpan stored =
      file.subspan(static_cast<size_t>(record.offset), static_cast<size_t>(record.size));
  std::vector<unsigned char> bytes(kMagic.size() + stored.size());
  std::ranges::copy(stored, std::ranges::copy(kMagic, bytes.begin()).out);
  return bytes;
}

Problem Undecodable(const Record& record) {
  return {record.offset, fmt::format("the library cannot decode this {} record",
                                     FindRecordKind(record.kind())->name)};
}

Picture DecodeLayer(const std::string& subject, ByteSpan file, const Record& layer) {
  const std::vector<unsigned char> bytes = Alone(file, layer);
  const std::unique_ptr<void, CloseStream> stream(
      ZAV_OPEN_READ(bytes.data(), static_cast<int>(bytes.size())));
  Image image;
  // The library decodes by the layer's header; a longer record is wrong about its size.
  int next = 0;
  if (stream == nullptr || ZAV_DECODE_BITMAP(stream.get(), image.get()) != 0 ||
      ZAV_GET_LAYER_TYPE(stream.get(), &next) != 0 || next != ZAV_KIND_END) {
    throw AsError(subject, Undecodable(layer));
  }
  Picture picture = TakeSource(image);

  // DXT layers decode to the padded size.
  ZAV_GFXDEF& definition = picture.definition;
  if ((definition.width > layer.width || definition.height > layer.height) &&
      !IsCopyOnly(definition.format)) {
    Picture pixels = Convert(subject, picture, ZAV_FMT_BGRA32);
    pixels.definition.width = layer.width;
    pixels.definition.height = layer.height;
    return pixels;
  }
  return picture;
}

}  // namespace

Error AsError(const std::string& subject, const Problem& problem) {
  return BadFile(subject, fmt::format("at offset {}: {}", problem.offset, problem.what));
}

void ReportProblems(const std::string& subject, const Walk& walk, int& exit_code) {
  for (const Problem& problem : walk.problems) {
    Report(AsError(subject, problem));
    exit_code = static_cast<int>(ErrorKind::kBadFile);
  }
}

Picture DecodeRecord(const std::string& subject, ByteSpan file, const Record& record) {
  if (!IsImageRecord(record.kind())) return DecodeLayer(subject, file, record);
  if (record.kind() == ZAV_REC_IMAGE || record.kind() == ZAV_REC_MIPMAP) {
    if (record.layers.empty()) throw AsError(subject, Undecodable(record));
    return DecodeLayer(subject, file, record.layers[0]);
  }
  std::vector<unsigned char> bytes = Alone(file, record);
  Image image;
  if (ZAV_CONVERT_MEMFILE(image.get(), ".zav", bytes.data(), static_cast<long>(bytes.size())) !=
      1) {
    throw AsError(subject, Undecodable(record));
  }
  return TakeSource(image);
}

void VerifyPictures(const std::string& subject, ByteSpan file, Walk& walk) {
  Progress progress(subject, static_cast<int64_t>(file.size()));
  const auto decode = [&](const Record& record) {
    if (!record.sound || walk.problems.size() >= kMaxProblems) return false;
    try {
      DecodeRecord(subject, file, record);
    } catch (const Error&) {
      walk.problems.push_back(Undecodable(record));
      return false;
    }
    return true;
  };
  for (const Record& record : walk.records) {
    bool sound = true;
    for (const Record& layer : record.layers) sound &= decode(layer);
    const bool composed = record.kind() == ZAV_REC_TILED || record.kind() == ZAV_REC_SQUIZ;
    if (sound && (composed || !IsImageRecord(record.kind()))) decode(record);
    progress.Advance(record.size);
  }
  std::ranges::stable_sort(walk.problems, {}, &Problem::offset);
}

}  // namespace zav::tool
