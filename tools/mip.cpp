// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <array>
#include <memory>

#include "commands.h"
#include "file_types.h"

namespace zav::tool {

void AddMip(CLI::App& app, int&) {
  struct Options {
    std::string in;
    std::string out;
    std::string type;
  };
  CLI::App* command = app.add_subcommand(
      "mip", "Writes the next mip level: half the sides, colours averaged by alpha");
  const auto options = std::make_shared<Options>();
  command->add_option("IN", options->in, "Picture to read: " + InputEndings())->required();
  command->add_option("OUT", options->out, "Picture to write: " + OutputEndings())->required();
  command->add_option("--type", options->type, kTypeHelp)->type_name("TYPE");
  command->callback([options] {
    CheckTypes(options->type, std::array{options->in, options->out});
    const PictureFile out = OutputFile(options->out, options->type);
    Picture level = MipLevel(options->in, ReadPicture(InputFile(options->in, options->type)));
    const int32_t format = DefaultFormat(*out.type, level);
    if (format != level.definition.format) level = Convert(options->in, level, format);
    WritePicture(level, out);
  });
}

}  // namespace zav::tool
