// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include "options.h"

#include <array>

namespace zav::tool {

void AddType(CLI::App& command, std::string& type) {
  command.add_option("--type", type, "File type of -; IN:OUT where both are -")->type_name("TYPE");
}

void AddContainer(CLI::App& command, std::string& file) {
  command.add_option("FILE", file, "Container: .zav; - for standard input")->required();
}

PictureFile InOut::Output() const {
  CheckTypes(type, std::array{in, out});
  return OutputFile(out, type);
}

Picture InOut::Read() const { return ReadPicture(InputFile(in, type)); }

void AddInOut(CLI::App& command, InOut& files, const std::string& out_endings) {
  command.add_option("IN", files.in, "Picture to read: " + InputEndings())->required();
  command.add_option("OUT", files.out, "Picture to write: " + out_endings)->required();
  AddType(command, files.type);
}

}  // namespace zav::tool
