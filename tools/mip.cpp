// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <memory>

#include "commands.h"
#include "file_types.h"

namespace zav::tool {

void AddMip(CLI::App& app, int&) {
  struct Options {
    std::string in;
    std::string out;
  };
  CLI::App* command = app.add_subcommand(
      "mip", "Writes the next mip level: half the sides, colours averaged by alpha");
  const auto options = std::make_shared<Options>();
  command->add_option("IN", options->in, "Picture to read: .bmp, .tga, .dds, .raw")->required();
  command->add_option("OUT", options->out, "Picture to write: .bmp, .tga, .dds, .raw")->required();
  command->callback([options] {
    const FileType& type = TypeOf(options->out);
    Picture level = MipLevel(options->in, ReadPicture(options->in));
    const int32_t format = DefaultFormat(type, level);
    if (format != level.definition.format) level = Convert(options->in, level, format);
    WritePicture(level, options->out);
  });
}

}  // namespace zav::tool
