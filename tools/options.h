// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_OPTIONS_H_
#define ZAV_TOOLS_OPTIONS_H_

#include <CLI/CLI.hpp>
#include <string>

#include "file_types.h"

namespace zav::tool {

// Arguments that several commands share.

void AddType(CLI::App& command, std::string& type);
void AddContainer(CLI::App& command, std::string& file);

/// The files of a command that makes one picture from another.
struct InOut {
  std::string in;
  std::string out;
  std::string type;

  /// The file to write, checked before anything is read.
  PictureFile Output() const;
  Picture Read() const;
};

void AddInOut(CLI::App& command, InOut& files, const std::string& out_endings);

}  // namespace zav::tool

#endif  // ZAV_TOOLS_OPTIONS_H_
