// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <memory>

#include "commands.h"
#include "container_decode.h"
#include "formats.h"
#include "input.h"
#include "json.h"
#include "layer_kinds.h"
#include "options.h"
#include "terminal.h"

namespace zav::tool {
namespace {

struct Options {
  std::string file;
  bool json = false;
};

std::string KindText(const Record& record) {
  if (!IsImageRecord(record.kind())) return LayerText(record.header);
  return std::string(FindRecordKind(record.kind())->name);
}

/// Stored bytes divided by those of the raw pixels; 0 without pixels.
double Ratio(const Record& record) {
  const int64_t raw = record.RawBytes();
  return raw == 0 ? 0 : static_cast<double>(record.size) / static_cast<double>(raw);
}

Json ToJson(const Record& record) {
  Json result = {{"kind", FindRecordKind(record.kind())->name}, {"code", record.kind()}};
  if (IsImageRecord(record.kind())) {
    result["name"] = record.name;
  } else {
    result["layer"] = LayerText(record.header);
    result["format"] = FormatOf(StoredFormat(record.header)).name;
  }
  result["width"] = record.width;
  result["height"] = record.height;
  result["offset"] = record.offset;
  result["bytes"] = record.size;
  result["raw_bytes"] = record.RawBytes();
  result["ratio"] = Ratio(record);
  result["sound"] = record.sound;
  if (record.kind() == ZAV_REC_SQUIZ) {
    result["blocks"] = record.blocks;
    result["stored_blocks"] = record.stored_blocks;
  }
  if (IsImageRecord(record.kind())) {
    result["layers"] = Json::array();
    for (const Record& layer : record.layers) result["layers"].push_back(ToJson(layer));
  }
  return result;
}

Json ToJson(const Options& options, int64_t bytes, const Walk& walk) {
  Json result = {{"file", options.file},
                 {"bytes", bytes},
                 {"records", Json::array()},
                 {"problems", Json::array()}};
  for (const Record& record : walk.records) result["records"].push_back(ToJson(record));
  for (const Problem& problem : walk.problems) {
    result["problems"].push_back({{"offset", problem.offset}, {"what", problem.what}});
  }
  return result;
}

/// What follows the kind and name of an image record.
std::string Detail(const Record& record) {
  switch (record.kind()) {
    case ZAV_REC_TILED:
      return "  " + Counted(record.layers.size(), "tile");
    case ZAV_REC_SQUIZ:
      return fmt::format("  {} of {} blocks stored", record.stored_blocks, record.blocks);
    case ZAV_REC_MIPMAP:
      return "  " + Counted(record.layers.size(), "level");
    default:
      return "";
  }
}

void PrintRow(const Record& record, int depth) {
  const double ratio = Ratio(record);
  fmt::print("{:>10} {:>10} {:>6} {:>13}  {:{}}{}", record.offset, record.size,
             ratio == 0 ? "" : fmt::format("{:.2f}", ratio),
             record.width == 0 ? "" : fmt::format("{} x {}", record.width, record.height), "",
             2 * depth, KindText(record));
  if (IsImageRecord(record.kind())) {
    fmt::print(StyleOn(stdout, fmt::emphasis::bold), " \"{}\"", Printable(record.name));
    fmt::print("{}", Detail(record));
  } else {
    const std::string_view format = FormatOf(StoredFormat(record.header)).name;
    if (!KindText(record).starts_with(format)) fmt::print("  {}", format);
  }
  fmt::print("\n");
  for (const Record& layer : record.layers) PrintRow(layer, depth + 1);
}

void Run(const Options& options, int& exit_code) {
  const FileView view(options.file);
  const Walk walk = WalkContainer(view.bytes());
  if (options.json) {
    PrintJson(ToJson(options, static_cast<int64_t>(view.bytes().size()), walk));
  } else if (!walk.records.empty()) {
    fmt::print(StyleOn(stdout, fmt::emphasis::faint), "{:>10} {:>10} {:>6} {:>13}  {}\n", "offset",
               "bytes", "ratio", "size", "record");
    for (const Record& record : walk.records) PrintRow(record, 0);
  }
  ReportProblems(options.file, walk, exit_code);
}

}  // namespace

void AddList(CLI::App& app, int& exit_code) {
  CLI::App* command = app.add_subcommand("list", "Lists the records of a container");
  const auto options = std::make_shared<Options>();
  AddContainer(*command, options->file);
  command->add_flag("--json", options->json, "Print an object");
  command->footer(
      "Ratio: stored bytes divided by those of the raw pixels; DXT and JPEG pixels count as "
      "32-bit.\n"
      "Only headers are read; zav verify decodes the pixels.");
  command->callback([options, &exit_code] { Run(*options, exit_code); });
}

}  // namespace zav::tool
