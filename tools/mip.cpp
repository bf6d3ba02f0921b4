// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <memory>
#include <utility>

#include "commands.h"
#include "file_types.h"
#include "options.h"

namespace zav::tool {

void AddMip(CLI::App& app, int&) {
  CLI::App* command = app.add_subcommand(
      "mip", "Writes the next mip level: half the sides, colors weighted by alpha");
  const auto files = std::make_shared<InOut>();
  AddInOut(*command, *files, OutputEndings());
  command->callback([files] {
    const PictureFile out = files->Output();
    Picture level = MipLevel(files->in, files->Read());
    const int32_t format = DefaultFormat(*out.type, level);
    WritePicture(InFormat(files->in, std::move(level), format), out);
  });
}

}  // namespace zav::tool
