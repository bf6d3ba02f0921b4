// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <algorithm>
#include <bit>
#include <filesystem>
#include <memory>

#include "commands.h"
#include "container_decode.h"
#include "file_types.h"
#include "formats.h"
#include "input.h"
#include "layer_kinds.h"
#include "options.h"
#include "output.h"
#include "terminal.h"

namespace zav::tool {
namespace {

constexpr int kAllLevels = 32;  // sides have 31 bits

struct Options {
  std::string out;
  std::vector<std::string> inputs;
  std::vector<std::string> layers;
  std::vector<std::string> names;
  std::string type;
  std::vector<std::string> kinds;
  int levels = kAllLevels;
};

/// A picture to be packed.
struct Entry {
  std::string input;
  std::string name;
  int kind = ZAV_REC_IMAGE;
  ZAV_LAYER layer = {};  // kind 0: chosen by the picture
};

Error Usage(const std::string& what) { return UsageError(what, "pack"); }

int RecordKindNamed(const std::string& name) {
  if (name == "plain") return ZAV_REC_IMAGE;
  for (const int kind : {ZAV_REC_TILED, ZAV_REC_SQUIZ, ZAV_REC_MIPMAP}) {
    if (FindRecordKind(kind)->name == name) return kind;
  }
  throw Usage(
      fmt::format("'{}' is not a kind of image; the kinds are plain, tiled, squiz, mipmap", name));
}

/// The input's file name without its ending, cut between UTF-8 characters if it is too long.
std::string NameOf(const std::string& input) {
  if (input == kStandard) return "image";
  std::string name = std::filesystem::path(input).stem().string();
  if (name.size() <= kNameBytes) return name;
  size_t end = kNameBytes;
  while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) --end;
  return name.substr(0, end > 0 ? end : kNameBytes);
}

std::vector<Entry> ParseEntries(const Options& options) {
  const auto fits = [&](const std::vector<std::string>& values, const char* option) {
    if (values.size() <= 1 || values.size() == options.inputs.size()) return;
    throw Usage(fmt::format("{} {} for {} pictures; give one, or one for each picture in order",
                            values.size(), option, options.inputs.size()));
  };
  fits(options.layers, "--layer");
  fits(options.kinds, "--kind");
  if (!options.names.empty() && options.names.size() != options.inputs.size()) {
    throw Usage(fmt::format("{} --name for {} pictures; give one for each picture in order",
                            options.names.size(), options.inputs.size()));
  }
  std::vector<Entry> entries;
  for (size_t i = 0; i < options.inputs.size(); ++i) {
    Entry entry;
    entry.input = options.inputs[i];
    entry.name = options.names.empty() ? NameOf(entry.input) : options.names[i];
    if (entry.name.size() > kNameBytes) {
      throw Usage(fmt::format("the name '{}' has {} bytes; the limit is {}", Printable(entry.name),
                              entry.name.size(), kNameBytes));
    }
    if (!options.kinds.empty()) {
      entry.kind = RecordKindNamed(options.kinds[options.kinds.size() == 1 ? 0 : i]);
    }
    if (!options.layers.empty()) {
      entry.layer = ParseLayer(options.layers[options.layers.size() == 1 ? 0 : i]);
    }
    entries.push_back(std::move(entry));
  }
  return entries;
}

/// The format in which the library gets the picture. It would convert the picture itself, but would
/// not say why it cannot. Levels and blocks are made from true color, tiles and strips from indices
/// if indices are stored.
int32_t FormatFor(int kind, const ZAV_LAYER& layer, int32_t source) {
  if (CutsBits(layer) && IsPal8Layer(layer.kind)) return ZAV_FMT_BGRA32;
  if (kind == ZAV_REC_MIPMAP) return ZAV_FMT_BGRA32;
  const int32_t stored = StoredFormat(layer);
  if (IsPal8Layer(layer.kind) && source != ZAV_FMT_PAL8) return ZAV_FMT_BGRA32;
  return IsDxt(stored) || (kind != ZAV_REC_IMAGE && stored != ZAV_FMT_PAL8) ? ZAV_FMT_BGRA32
                                                                            : stored;
}

/// Levels in a full chain, down to one pixel or one block, but at most `wanted`.
size_t LevelsOf(const Record& level, const ZAV_LAYER& layer, int wanted) {
  const auto longer = static_cast<uint32_t>(std::max(level.width, level.height));
  const auto all = static_cast<int>(std::bit_width(longer / (IsDxtLayer(layer.kind) ? 4U : 1U)));
  return static_cast<size_t>(std::clamp(wanted, 1, std::max(all, 1)));
}

class Packer {
 public:
  explicit Packer(const Options& options)
      : options_(options), output_(options.out), stream_(ZAV_OPEN_WRITE(output_.path().c_str())) {
    if (stream_ == nullptr) {
      throw Error(ErrorKind::kInputOutput, options.out, "the library could not open it");
    }
  }
  Packer(const Packer&) = delete;
  Packer& operator=(const Packer&) = delete;
  ~Packer() { ZAV_CLOSE(stream_); }

  void Add(Entry& entry) {
    Picture source = ReadPicture(InputFile(entry.input, options_.type));
    if (entry.layer.kind == 0) {
      entry.layer = ParseLayer(IsPalettized(source.definition.format) ? "packedpal8" : "packed32");
    }
    const int32_t format = FormatFor(entry.kind, entry.layer, source.definition.format);
    source = InFormat(entry.input, std::move(source), format);
    if (Write(entry, source.definition) == 0) return;
    CheckRoom(0);
    throw NotSupported(
        entry.input,
        fmt::format("{} x {} {}: storing it as {} {} is not supported", source.definition.width,
                    source.definition.height, FormatOf(format).name,
                    FindRecordKind(entry.kind)->name, LayerText(entry.layer)));
  }

  /// The library does not report failed writes, so the file is verified before it is renamed.
  void Finish(const std::vector<Entry>& entries) {
    ZAV_CLOSE(std::exchange(stream_, nullptr));
    const FileView view(output_.path());
    Walk walk = WalkContainer(view.bytes());
    if (walk.problems.empty()) VerifyPictures(options_.out, view.bytes(), walk);
    if (!walk.problems.empty() || walk.records.size() != entries.size()) {
      CheckRoom(walk.needed);
      std::string what = "the written container does not read back";
      if (!walk.problems.empty()) {
        what += fmt::format(": offset {}: {}", walk.problems[0].offset, walk.problems[0].what);
      }
      throw Error(ErrorKind::kInputOutput, options_.out, what);
    }
    CheckLevels(walk, entries);
    Output::Commit({&output_});
  }

 private:
  int Write(Entry& entry, ZAV_GFXDEF& definition) {
    char* name = entry.name.data();
    switch (entry.kind) {
      case ZAV_REC_TILED:
        return ZAV_WRITE_TILEDIMAGE(stream_, name, &entry.layer, &definition);
      case ZAV_REC_SQUIZ:
        return ZAV_WRITE_SQUIZIMAGE(stream_, name, &entry.layer, &definition);
      case ZAV_REC_MIPMAP:
        CheckSides(entry, definition);
        return ZAV_WRITE_MIPMAPIMAGE(stream_, name, options_.levels, &entry.layer, &definition);
      default:
        return ZAV_WRITE_IMAGE(stream_, name, &entry.layer, &definition);
    }
  }

  static void CheckSides(const Entry& entry, const ZAV_GFXDEF& definition) {
    if (std::has_single_bit(static_cast<uint32_t>(definition.width)) &&
        std::has_single_bit(static_cast<uint32_t>(definition.height))) {
      return;
    }
    throw NotSupported(entry.input,
                       fmt::format("mip levels need sides that are powers of two; {} x {} are not",
                                   definition.width, definition.height));
  }

  /// The library skips levels that it cannot store.
  void CheckLevels(const Walk& walk, const std::vector<Entry>& entries) {
    for (size_t i = 0; i < entries.size(); ++i) {
      if (entries[i].kind != ZAV_REC_MIPMAP) continue;
      const Record& record = walk.records[i];
      const size_t expected = LevelsOf(record, entries[i].layer, options_.levels);
      if (record.layers.size() == expected) continue;
      throw NotSupported(entries[i].input,
                         fmt::format("only {} of {} levels could be stored as {}",
                                     record.layers.size(), expected, LayerText(entries[i].layer)));
    }
  }

  /// Fails with the system's reason if the disk is full, as far as that is known: a file that was
  /// stopped by a full disk lacks less than one write of the library.
  void CheckRoom(int64_t needed) {
    constexpr int64_t kLargestWrite = 1 << 20;
    const FileView view(output_.path());
    const auto size = static_cast<int64_t>(view.bytes().size());
    output_.CheckRoom(std::max(needed, size + kLargestWrite));
  }

  const Options& options_;
  Output output_;
  void* stream_;
};

void Run(const Options& options) {
  if (options.levels != kAllLevels && std::ranges::count(options.kinds, "mipmap") == 0) {
    throw Usage("--levels goes with --kind mipmap");
  }
  CheckTypes(options.type, options.inputs);
  if (options.out != kStandard && !options.out.ends_with(".zav")) {
    throw Usage(fmt::format(
        "'{}' does not end in .zav; the container comes first, then the pictures", options.out));
  }
  std::vector<Entry> entries = ParseEntries(options);
  Packer packer(options);
  {
    Progress progress("packing", static_cast<int64_t>(entries.size()));
    for (Entry& entry : entries) {
      packer.Add(entry);
      progress.Advance();
    }
  }
  packer.Finish(entries);
}

}  // namespace

void AddPack(CLI::App& app, int&) {
  CLI::App* command = app.add_subcommand("pack", "Writes pictures into a container");
  const auto options = std::make_shared<Options>();
  command->add_option("OUT", options->out, "Container to write: .zav; - for standard output")
      ->required();
  command->add_option("IN", options->inputs, "Pictures to read: " + InputEndings())->required();
  AddType(*command, options->type);
  command
      ->add_option("--layer", options->layers,
                   "How pixels are stored; once for all, or once for each picture. Default: "
                   "packed32, or packedpal8 for palettized pictures; both are lossless")
      ->type_name("KIND[:VARIANT]...")
      ->allow_extra_args(false);
  command
      ->add_option("--name", options->names,
                   "Name in the container, at most 32 bytes; once for each picture. Default: the "
                   "file's name without its ending")
      ->type_name("NAME")
      ->allow_extra_args(false);
  command
      ->add_option("--kind", options->kinds,
                   "plain (default), tiled, squiz, mipmap; once for all, or once for each picture")
      ->type_name("KIND")
      ->allow_extra_args(false);
  command
      ->add_option("--levels", options->levels,
                   "Maximum number of mip levels, the picture included")
      ->type_name("N")
      ->check(CLI::Range(1, kAllLevels));
  command->footer([] { return LayerHelp(); });
  command->callback([options] { Run(*options); });
}

}  // namespace zav::tool
