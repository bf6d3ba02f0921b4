// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#ifndef ZAV_TOOLS_COMMANDS_H_
#define ZAV_TOOLS_COMMANDS_H_

#include <CLI/CLI.hpp>
#include <string_view>

#include "error.h"

namespace zav::tool {

/// Each adds one command to the application. A command that runs to its end leaves `exit_code` at 0
/// or sets it to its result; otherwise it throws an Error.
void AddConvert(CLI::App& app, int& exit_code);
void AddInfo(CLI::App& app, int& exit_code);
void AddMip(CLI::App& app, int& exit_code);
void AddPalette(CLI::App& app, int& exit_code);
void AddCompare(CLI::App& app, int& exit_code);
void AddPack(CLI::App& app, int& exit_code);
void AddList(CLI::App& app, int& exit_code);
void AddExtract(CLI::App& app, int& exit_code);
void AddPreview(CLI::App& app, int& exit_code);
void AddVerify(CLI::App& app, int& exit_code);

/// Prints "zav: SUBJECT: what" on stderr, without the subject if it is empty.
void Report(std::string_view subject, std::string_view what) noexcept;
void Report(const Error& error) noexcept;

}  // namespace zav::tool

#endif  // ZAV_TOOLS_COMMANDS_H_
