// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <map>
#include <memory>
#include <set>

#include "commands.h"
#include "container_decode.h"
#include "file_types.h"
#include "formats.h"
#include "input.h"
#include "layer_kinds.h"
#include "options.h"
#include "terminal.h"

namespace zav::tool {
namespace {

struct Options {
  std::string file;
  std::string directory = ".";
  std::vector<std::string> names;
  std::string type = "tga";
  bool levels = false;
};

/// One picture to write.
struct Task {
  const Record* record;  // an image, or a layer of one
  std::string path;
};

/// Turns a name from an untrusted container into a file name that stays in its directory, is not
/// hidden, and has no control characters.
std::string SafeName(const std::string& name) {
  std::string safe = name.empty() ? "image" : name;
  for (char& c : safe) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F || c == '/' || c == '\\') c = '_';
  }
  if (safe[0] == '.') safe[0] = '_';
  return safe;
}

/// Gives every image a different file name: "sky", "sky-2", "sky-3". Names that differ only in case
/// count as equal, so that the files can be copied to any file system.
class FileNames {
 public:
  std::string Take(const std::string& name) {
    const std::string safe = SafeName(name);
    int& number = next_[Folded(safe)];
    for (;;) {
      std::string candidate = ++number == 1 ? safe : fmt::format("{}-{}", safe, number);
      if (taken_.insert(Folded(candidate)).second) return candidate;
    }
  }

 private:
  static std::string Folded(std::string name) {
    for (char& c : name) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return name;
  }

  std::set<std::string> taken_;
  std::map<std::string, int> next_;
};

std::vector<Task> Plan(const Options& options, const Walk& walk) {
  std::vector<Task> tasks;
  FileNames files;
  std::set<std::string> found;
  for (const Record& record : walk.records) {
    if (!IsImageRecord(record.kind())) continue;
    // Numbered before they are chosen, so that an image always has the same file name.
    const std::string name = files.Take(record.name);
    if (!options.names.empty() && std::ranges::count(options.names, record.name) == 0) continue;
    found.insert(record.name);
    const auto add = [&](const Record& picture, const std::string& suffix) {
      const std::string file = fmt::format("{}{}.{}", name, suffix, options.type);
      tasks.push_back({&picture, (std::filesystem::path(options.directory) / file).string()});
    };
    if (options.levels && record.kind() == ZAV_REC_MIPMAP) {
      for (size_t i = 0; i < record.layers.size(); ++i) {
        add(record.layers[i], fmt::format(".level{}", i));
      }
    } else {
      add(record, "");
    }
  }
  for (const std::string& name : options.names) {
    if (found.count(name) != 0) continue;
    throw UsageError(fmt::format("has no image named '{}'", Printable(name)), options.file);
  }
  return tasks;
}

void Extract(const Options& options, ByteSpan file, const Task& task) {
  Picture picture = DecodeRecord(options.file, file, *task.record);
  const PictureFile out = OutputFile(task.path);
  int32_t format = DefaultFormat(*out.type, picture);
  if (format == ZAV_FMT_BGRA32 && options.type == "tga" && !ShowsAlpha(picture)) {
    format = ZAV_FMT_BGR24;
  }
  WritePicture(InFormat(options.file, std::move(picture), format), out);
}

void Run(const Options& options, int& exit_code) {
  TypeNamed(options.type);  // fails once, not for every picture
  const FileView view(options.file);
  const Walk walk = WalkContainer(view.bytes());
  const auto fail = [&](const Error& error) {
    Report(error);
    exit_code = std::max(exit_code, error.exit_code());
  };
  ReportProblems(options.file, walk, exit_code);
  const std::vector<Task> tasks = Plan(options, walk);
  std::error_code refused;
  std::filesystem::create_directories(options.directory, refused);
  if (refused) throw SystemError(options.directory, refused.value());

  Progress progress("extracting", static_cast<int64_t>(tasks.size()));
  for (const Task& task : tasks) {
    if (task.record->sound) {  // otherwise reported already
      try {
        Extract(options, view.bytes(), task);
        progress.Hide();
        fmt::print("{}\n", Printable(task.path));
      } catch (const Error& error) {
        progress.Hide();
        fail(error);
      }
    }
    progress.Advance();
  }
}

}  // namespace

void AddExtract(CLI::App& app, int& exit_code) {
  CLI::App* command = app.add_subcommand("extract", "Writes the images of a container to files");
  const auto options = std::make_shared<Options>();
  AddContainer(*command, options->file);
  command->add_option("-o", options->directory, "Directory to write to; created if it is missing")
      ->type_name("DIR");
  command->add_option("--name", options->names, "Only images of this name; may be repeated")
      ->type_name("N")
      ->allow_extra_args(false);
  command->add_option("--type", options->type, OutputEndings() + "; default: tga")
      ->type_name("TYPE");
  command->add_flag("--levels", options->levels, "Every mip level instead of the first");
  command->footer(
      "Prints the names of the files it writes; existing files are replaced. They are named after\n"
      "the images, with _ for what a file name cannot hold, and numbers after equal names. Targa\n"
      "files have 8 bits for palettized pictures, 32 where a pixel is not opaque, else 24.");
  command->callback([options, &exit_code] { Run(*options, exit_code); });
}

}  // namespace zav::tool
