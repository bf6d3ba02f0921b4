// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <new>

#include "commands.h"
#include "formats.h"
#include "terminal.h"

namespace zav::tool {

void Report(std::string_view subject, std::string_view what) noexcept {
  try {
    // Keeps the order if both streams go to one file.
    std::fflush(stdout);
    fmt::print(stderr, StyleOn(stderr, fmt::emphasis::bold | fg(fmt::terminal_color::red)), "zav:");
    if (!subject.empty()) fmt::print(stderr, " {}:", subject);
    fmt::print(stderr, " {}\n", what);
  } catch (const std::exception&) {
    // Standard error is closed or full. The exit code still gives the result.
  }
}

void Report(const Error& error) noexcept { Report(error.subject(), error.what()); }

namespace {

constexpr char kExitCodes[] =
    "Exit codes: 0 success, 1 usage, 2 input or output, 3 bad file, 5 not supported, 7 different\n"
    "(compare). Output is written next to its target and renamed when it is complete.\n";

int Dispatch(int argc, char** argv) {
  CLI::App app("ZAV: turns pictures into the forms a renderer uploads.", "zav");
  app.set_version_flag("--version", "zav " ZAV_VERSION_STRING);
  app.require_subcommand(0, 1);  // none is reported below, after misspelled ones
  app.footer([] { return FormatHelp() + "\n" + kExitCodes; });
  int exit_code = 0;
  AddConvert(app, exit_code);
  AddInfo(app, exit_code);
  AddMip(app, exit_code);
  AddPalette(app, exit_code);
  AddCompare(app, exit_code);
  AddPack(app, exit_code);
  AddList(app, exit_code);
  AddExtract(app, exit_code);
  AddPreview(app, exit_code);
  AddVerify(app, exit_code);
  try {
    app.parse(argc, argv);
  } catch (const CLI::Success& asked) {  // --help, --version
    return app.exit(asked);
  } catch (const CLI::ParseError& error) {
    throw UsageError(fmt::format("{} (zav --help shows the usage)", error.what()));
  }
  if (app.get_subcommands().empty()) {
    throw UsageError("a command is required (zav --help lists them)");
  }
  return exit_code;
}

}  // namespace
}  // namespace zav::tool

int main(int argc, char** argv) {
  using namespace zav::tool;
  // A write past the file size limit should fail with its reason instead of killing the process.
  std::signal(SIGXFSZ, SIG_IGN);
  try {
    const int exit_code = Dispatch(argc, argv);
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) throw SystemError("standard output");
    return exit_code;
  } catch (const Error& error) {
    Report(error);
    return error.exit_code();
  } catch (const std::bad_alloc&) {
    Report("", "out of memory");
  } catch (const std::exception& error) {
    Report("", error.what());
  }
  return static_cast<int>(ErrorKind::kInputOutput);
}
