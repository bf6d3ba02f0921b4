// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "commands.h"
#include "file_types.h"
#include "formats.h"
#include "json.h"
#include "options.h"
#include "terminal.h"

namespace zav::tool {
namespace {

struct Options {
  std::string a;
  std::string b;
  std::string type;
  bool json = false;
};

struct Channel {
  const char* name;
  int byte;  // of a BGRA32 pixel
  int greatest = 0;
  int64_t differing = 0;
  int64_t squares = 0;
};

struct Difference {
  std::array<Channel, 4> channels = {{{"red", 2}, {"green", 1}, {"blue", 0}, {"alpha", 3}}};
  int64_t pixels = 0;
  int64_t differing = 0;  // pixels that differ in any channel
};

/// Peak signal to noise ratio in dB; infinite for equal samples.
double Psnr(int64_t squares, int64_t samples) {
  return 10 *
         std::log10(255.0 * 255.0 * static_cast<double>(samples) / static_cast<double>(squares));
}

/// Of the three color channels together.
double ColorPsnr(const Difference& difference) {
  int64_t squares = 0;
  for (int i = 0; i < 3; ++i) squares += difference.channels[static_cast<size_t>(i)].squares;
  return Psnr(squares, 3 * difference.pixels);
}

Difference Measure(const ZAV_GFXDEF& a, const ZAV_GFXDEF& b) {
  Difference difference;
  difference.pixels = int64_t{a.width} * a.height;
  for (int64_t y = 0; y < a.height; ++y) {
    const unsigned char* left = a.pixels + y * a.pitch;
    const unsigned char* right = b.pixels + y * b.pitch;
    for (int32_t x = 0; x < a.width; ++x, left += 4, right += 4) {
      bool differs = false;
      for (Channel& channel : difference.channels) {
        const int distance = std::abs(left[channel.byte] - right[channel.byte]);
        channel.greatest = std::max(channel.greatest, distance);
        channel.differing += distance != 0;
        channel.squares += int64_t{distance} * distance;
        differs |= distance != 0;
      }
      difference.differing += differs;
    }
  }
  return difference;
}

Json Decibels(double psnr) { return std::isfinite(psnr) ? Json(psnr) : Json(nullptr); }

Json ToJson(const Options& options, const ZAV_GFXDEF& a, const ZAV_GFXDEF& b,
            const Difference* difference) {
  Json result = {{"a", {{"file", options.a}, {"width", a.width}, {"height", a.height}}},
                 {"b", {{"file", options.b}, {"width", b.width}, {"height", b.height}}},
                 {"same_size", difference != nullptr},
                 {"identical", difference != nullptr && difference->differing == 0}};
  if (difference != nullptr) {
    result["pixels"] = difference->pixels;
    result["differing"] = difference->differing;
    result["psnr"] = Decibels(ColorPsnr(*difference));
    for (const Channel& channel : difference->channels) {
      result["channels"][channel.name] = {
          {"psnr", Decibels(Psnr(channel.squares, difference->pixels))},
          {"greatest", channel.greatest},
          {"differing", channel.differing}};
    }
  }
  return result;
}

std::string PsnrText(double psnr) {
  return std::isfinite(psnr) ? fmt::format("{:.2f} dB", psnr) : "equal";
}

void Print(const ZAV_GFXDEF& a, const ZAV_GFXDEF& b, const Difference* difference) {
  const auto differ = StyleOn(stdout, fg(fmt::terminal_color::yellow));
  if (difference == nullptr) {
    fmt::print(differ, "different sizes");
    fmt::print(": {} x {} and {} x {}\n", a.width, a.height, b.width, b.height);
    return;
  }
  if (difference->differing == 0) {
    fmt::print(StyleOn(stdout, fg(fmt::terminal_color::green)), "identical");
    fmt::print(": {} x {} pixels\n", a.width, a.height);
    return;
  }
  fmt::print(differ, "different");
  fmt::print(": {} of {} pixels, colors {}\n", difference->differing, difference->pixels,
             PsnrText(ColorPsnr(*difference)));
  for (const Channel& channel : difference->channels) {
    fmt::print("  {:<6} {:>9}, greatest difference {:>3}, {} pixels\n", channel.name,
               PsnrText(Psnr(channel.squares, difference->pixels)), channel.greatest,
               channel.differing);
  }
}

void Run(const Options& options, int& exit_code) {
  CheckTypes(options.type, std::array{options.a, options.b});
  const Picture a =
      Convert(options.a, ReadPicture(InputFile(options.a, options.type)), ZAV_FMT_BGRA32);
  const Picture b =
      Convert(options.b, ReadPicture(InputFile(options.b, options.type)), ZAV_FMT_BGRA32);
  const bool same_size =
      a.definition.width == b.definition.width && a.definition.height == b.definition.height;
  Difference measured;
  if (same_size) measured = Measure(a.definition, b.definition);
  const Difference* difference = same_size ? &measured : nullptr;
  if (options.json) {
    PrintJson(ToJson(options, a.definition, b.definition, difference));
  } else {
    Print(a.definition, b.definition, difference);
  }
  if (!same_size || measured.differing != 0) exit_code = kExitDiffer;
}

}  // namespace

void AddCompare(CLI::App& app, int& exit_code) {
  CLI::App* command = app.add_subcommand("compare", "Reports how two pictures differ");
  const auto options = std::make_shared<Options>();
  command->add_option("A", options->a, "Picture: " + InputEndings())->required();
  command->add_option("B", options->b, "Picture")->required();
  AddType(*command, options->type);
  command->add_flag("--json", options->json, "Print an object; psnr is null for equal samples");
  command->footer(
      "Exit code 0: identical; 7: different pixels or sizes. Both are compared as 32-bit pixels.");
  command->callback([options, &exit_code] { Run(*options, exit_code); });
}

}  // namespace zav::tool
