// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <algorithm>
#include <memory>

#include "commands.h"
#include "container_decode.h"
#include "input.h"
#include "options.h"
#include "terminal.h"

namespace zav::tool {
namespace {

void Run(const std::string& file, int& exit_code) {
  const FileView view(file);
  Walk walk = WalkContainer(view.bytes());
  VerifyPictures(file, view.bytes(), walk);
  ReportProblems(file, walk, exit_code);
  if (!walk.problems.empty()) return;
  size_t layers = 0;
  for (const Record& record : walk.records) layers += std::max<size_t>(record.layers.size(), 1);
  fmt::print(StyleOn(stdout, fg(fmt::terminal_color::green)), "sound");
  fmt::print(": {} records at the top level, {} layers, {} bytes\n", walk.records.size(), layers,
             view.bytes().size());
}

}  // namespace

void AddVerify(CLI::App& app, int& exit_code) {
  CLI::App* command =
      app.add_subcommand("verify", "Walks a container and decodes everything in it");
  const auto file = std::make_shared<std::string>();
  AddContainer(*command, *file);
  command->footer(
      "Problems are reported with their offsets, and the exit code is 3. Containers have no\n"
      "checksums, so a changed pixel goes unnoticed.");
  command->callback([file, &exit_code] { Run(*file, exit_code); });
}

}  // namespace zav::tool
