// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <algorithm>
#include <memory>

#include "commands.h"
#include "file_types.h"
#include "formats.h"
#include "json.h"
#include "options.h"
#include "terminal.h"

namespace zav::tool {
namespace {

struct Options {
  std::vector<std::string> files;
  std::string type;
  bool json = false;
};

struct Facts {
  std::string file;
  std::string type;
  std::string storage;
  ZAV_GFXDEF definition;  // its pointers are dangling
  size_t bytes = 0;
};

Facts Look(const std::string& name, const std::string& type) {
  const PictureFile file = InputFile(name, type);
  Facts facts;
  facts.file = name;
  facts.definition = ReadPicture(file, &facts.storage, &facts.bytes).definition;
  facts.type = file.type->name;
  return facts;
}

Json ToJson(const Facts& facts) {
  const PixelFormat& format = FormatOf(facts.definition.format);
  return {{"file", facts.file},
          {"type", facts.type},
          {"storage", facts.storage},
          {"width", facts.definition.width},
          {"height", facts.definition.height},
          {"format", format.name},
          {"bits", format.bits},
          {"pitch", facts.definition.pitch},
          {"alpha", HasAlpha(facts.definition)},
          {"bytes", facts.bytes}};
}

void Print(const std::vector<Facts>& all) {
  size_t widest = 0;
  for (const Facts& facts : all) widest = std::max(widest, facts.file.size());
  for (const Facts& facts : all) {
    fmt::print(StyleOn(stdout, fmt::emphasis::bold), "{:<{}}", facts.file, widest);
    fmt::print("  {:<11} {:>11}  {:<10}  {:<18} {:>9} bytes\n", facts.type,
               fmt::format("{} x {}", facts.definition.width, facts.definition.height),
               FormatOf(facts.definition.format).name, facts.storage, facts.bytes);
  }
}

void Run(const Options& options, int& exit_code) {
  CheckTypes(options.type, options.files);
  std::vector<Facts> all;
  Json array = Json::array();
  for (const std::string& file : options.files) {
    try {
      all.push_back(Look(file, options.type));
      array.push_back(ToJson(all.back()));
    } catch (const Error& error) {
      Report(error);
      exit_code = std::max(exit_code, error.exit_code());
      array.push_back({{"file", file}, {"error", error.what()}});
    }
  }
  if (options.json) {
    PrintJson(array);
  } else {
    Print(all);
  }
}

}  // namespace

void AddInfo(CLI::App& app, int& exit_code) {
  CLI::App* command = app.add_subcommand("info", "Describes pictures");
  const auto options = std::make_shared<Options>();
  command->add_option("FILE", options->files, "Pictures: " + InputEndings())->required();
  AddType(*command, options->type);
  command->add_flag("--json", options->json, "Print an array of objects");
  command->footer("A bad file does not end the list; the exit code is that of the worst file.");
  command->callback([options, &exit_code] { Run(*options, exit_code); });
}

}  // namespace zav::tool
