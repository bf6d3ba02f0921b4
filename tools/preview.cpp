// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>

#include "canvas.h"
#include "commands.h"
#include "container_decode.h"
#include "input.h"
#include "layer_kinds.h"
#include "options.h"
#include "png.h"
#include "terminal.h"

namespace zav::tool {
namespace {

// The sheet is a grid of cards; sizes are in pixels. A mip chain takes two columns, its levels side
// by side.
constexpr int kBox = 27 * Canvas::kAdvance;  // longest side of a picture on its card
constexpr int kPadding = 14;                 // within a card
constexpr int kCard = kBox + 2 * kPadding;
constexpr int kGap = 16;  // between cards
constexpr int kMargin = 28;
constexpr int kLevelGap = 4;
constexpr int kSmall = 128;  // smaller pictures are magnified by a whole number
constexpr int kMaxColumns = 8;
constexpr size_t kMaxCards = 96;

constexpr Color kPaper = {28, 31, 38};
constexpr Color kCardPaper = {39, 43, 52};
constexpr Color kInk = {232, 234, 238};
constexpr Color kFaint = {146, 154, 168};
constexpr Color kAccent = {242, 177, 52};
constexpr Color kWrong = {96, 36, 40};

/// One image on the sheet.
struct Card {
  std::vector<Picture> levels;  // BGRA32, at their size on the sheet before `times`
  int times = 1;
  std::vector<std::string> reason;  // for a missing picture
  std::vector<std::string> caption;
  int span = 1;  // columns

  int height() const {  // of the part above the caption
    if (levels.empty()) return 2 * kPadding + static_cast<int>(reason.size()) * Canvas::kLine;
    return times * levels[0].definition.height;
  }
};

struct Sheet {
  std::string title;
  std::string facts;
  std::vector<Card> cards;
  size_t left_out = 0;
};

constexpr int InnerWidth(int span) { return span * (kCard + kGap) - kGap - 2 * kPadding; }

/// Lines of at most `width` pixels, broken at spaces, else after colons, else anywhere.
std::vector<std::string> Wrap(std::string_view text, int width) {
  const auto most = static_cast<size_t>(width / Canvas::kAdvance);
  std::vector<std::string> lines;
  while (text.size() > most) {
    const size_t space = text.substr(0, most + 1).rfind(' ');
    const size_t colon = text.substr(0, most).rfind(':');
    size_t end = space != text.npos ? space : colon != text.npos ? colon + 1 : most;
    if (end == 0) end = most;
    lines.emplace_back(text.substr(0, end));
    text.remove_prefix(end);
    if (text.starts_with(' ')) text.remove_prefix(1);
  }
  lines.emplace_back(text);
  return lines;
}

std::string BytesText(int64_t bytes) {
  if (bytes < 10'000) return fmt::format("{} bytes", bytes);
  const auto size = static_cast<double>(bytes);
  return size < 1e6 ? fmt::format("{:.1f} kB", size / 1e3) : fmt::format("{:.1f} MB", size / 1e6);
}

std::string KindText(const Record& record) {
  const size_t layers = record.layers.size();
  switch (record.kind()) {
    case ZAV_REC_TILED:
      return "tiled, " + Counted(layers, "tile");
    case ZAV_REC_SQUIZ:
      return fmt::format("squiz, {}/{} blocks", record.stored_blocks, record.blocks);
    case ZAV_REC_MIPMAP:
      return "mipmap, " + Counted(layers, "level");
    default:
      return "plain";
  }
}

/// Name, kind, encoding, sizes.
std::vector<std::string> CaptionOf(const Record& record, int width) {
  std::vector<std::string> caption = {record.name.empty() ? "unnamed" : record.name};
  if (static_cast<int>(caption[0].size()) * Canvas::kAdvance > width) {
    caption[0] = caption[0].substr(0, static_cast<size_t>(width / Canvas::kAdvance) - 2) + "..";
  }
  const bool nested = IsImageRecord(record.kind());
  const auto add = [&](const std::string& text) {
    for (std::string& line : Wrap(text, width)) caption.push_back(std::move(line));
  };
  if (nested) add(KindText(record));
  if (!nested || !record.layers.empty()) {
    add(LayerText(nested ? record.layers[0].header : record.header));
  }
  const std::string bytes = BytesText(record.size);
  add(record.width > 0 ? fmt::format("{} x {}, {}", record.width, record.height, bytes) : bytes);
  return caption;
}

/// The picture at that size. It is halved first, so that every pixel counts.
Picture Shrink(const std::string& subject, Picture picture, int32_t width, int32_t height) {
  while (picture.definition.width >= 2 * width && picture.definition.height >= 2 * height) {
    picture = MipLevel(subject, picture);
  }
  if (picture.definition.width == width && picture.definition.height == height) return picture;
  Wanted wanted;
  wanted.width = width;
  wanted.height = height;
  wanted.bilinear = true;
  return Convert(subject, picture, wanted);
}

void AddPictures(const std::string& subject, ByteSpan file, const Record& record, Card& card) {
  std::vector<const Record*> sources;
  if (record.kind() == ZAV_REC_MIPMAP) {
    for (const Record& level : record.layers) sources.push_back(&level);
  }
  if (sources.empty()) sources.push_back(&record);
  int64_t width = 0;
  for (const Record* source : sources) width += std::max(source->width, 1);
  const auto count = static_cast<int64_t>(sources.size());
  const int64_t room = InnerWidth(card.span) - (kLevelGap + 1) * (count - 1);
  const int64_t side = std::max({record.width, record.height, 1});
  const double factor = std::min({1.0, static_cast<double>(room) / static_cast<double>(width),
                                  static_cast<double>(kBox) / static_cast<double>(side)});
  card.times = static_cast<int>(std::max<int64_t>(1, std::min(kSmall / side, room / width)));
  const auto scaled = [&](int32_t length) {
    return std::max(1, static_cast<int32_t>(std::lround(length * factor)));
  };
  std::vector<Picture> levels;
  for (const Record* source : sources) {
    Picture picture = Convert(subject, DecodeRecord(subject, file, *source), ZAV_FMT_BGRA32);
    levels.push_back(
        Shrink(subject, std::move(picture), scaled(source->width), scaled(source->height)));
  }
  card.levels = std::move(levels);
}

void Explain(Card& card, const std::string& reason) {
  card.levels.clear();
  card.reason = Wrap(reason, InnerWidth(card.span) - 2 * kPadding);
}

bool LiesIn(const Record& record, const Problem& problem) {
  return problem.offset >= record.offset && problem.offset < record.offset + record.size;
}

/// Reports a record that cannot be decoded; its card then shows the reason.
Card MakeCard(const std::string& subject, ByteSpan file, const Record& record, const Walk& walk,
              int& exit_code) {
  Card card;
  if (record.kind() == ZAV_REC_MIPMAP && record.layers.size() > 1) card.span = 2;
  card.caption = CaptionOf(record, InnerWidth(card.span));
  if (!record.sound) {
    const auto problem = std::ranges::find_if(
        walk.problems, [&](const Problem& candidate) { return LiesIn(record, candidate); });
    if (problem != walk.problems.end()) Explain(card, AsError(subject, *problem).what());
    return card;
  }
  try {
    AddPictures(subject, file, record, card);
  } catch (const Error& error) {
    Report(error);
    exit_code = std::max(exit_code, error.exit_code());
    Explain(card, error.what());
  }
  return card;
}

Sheet MakeSheet(const std::string& subject, ByteSpan file, int& exit_code) {
  const Walk walk = WalkContainer(file);
  if (walk.records.empty() && !walk.problems.empty()) throw AsError(subject, walk.problems[0]);
  Sheet sheet;
  sheet.title =
      subject == kStandard ? "standard input" : std::filesystem::path(subject).filename().string();
  sheet.facts = fmt::format("{}, {}", Counted(walk.records.size(), "image"),
                            BytesText(static_cast<int64_t>(file.size())));
  ReportProblems(subject, walk, exit_code);
  Progress progress("drawing", static_cast<int64_t>(file.size()));
  for (const Record& record : walk.records) {
    if (sheet.cards.size() == kMaxCards) break;
    sheet.cards.push_back(MakeCard(subject, file, record, walk, exit_code));
    progress.Advance(record.size);
  }
  sheet.left_out = walk.records.size() - sheet.cards.size();
  // Problems outside the records of the walk.
  for (const Problem& problem : walk.problems) {
    const auto in = [&](const Record& record) { return LiesIn(record, problem); };
    if (std::ranges::any_of(walk.records, in) || sheet.cards.size() >= kMaxCards) continue;
    sheet.cards.emplace_back().caption = {"unreadable"};
    Explain(sheet.cards.back(), AsError(subject, problem).what());
  }
  return sheet;
}

// --- drawing -------------------------------------------------------------------------------------

/// Cards in one row, and the greatest heights of their parts.
struct Row {
  size_t begin = 0;
  size_t end = 0;
  int pictures = 0;
  int caption = 0;

  int height() const { return 3 * kPadding + pictures + caption; }
};

/// As many as make the sheet somewhat wider than high.
int Columns(const Sheet& sheet) {
  int units = 0;
  for (const Card& card : sheet.cards) units += card.span;
  return std::clamp(static_cast<int>(std::lround(std::sqrt(1.3 * units))), 2, kMaxColumns);
}

std::vector<Row> Rows(const Sheet& sheet, int columns) {
  std::vector<Row> rows;
  int used = columns;
  for (size_t i = 0; i < sheet.cards.size(); ++i) {
    const Card& card = sheet.cards[i];
    if (used + card.span > columns) {
      rows.push_back({i, i, 0, 0});
      used = 0;
    }
    used += card.span;
    Row& row = rows.back();
    row.end = i + 1;
    row.pictures = std::max(row.pictures, card.height());
    row.caption = std::max(row.caption, static_cast<int>(card.caption.size()) * Canvas::kLine);
  }
  return rows;
}

/// Levels on one baseline, the chain centered on the card.
void DrawLevels(Canvas& canvas, const Card& card, int x, int y, int height) {
  int width = kLevelGap * (static_cast<int>(card.levels.size()) - 1);
  for (const Picture& level : card.levels) width += level.definition.width * card.times;
  x += (InnerWidth(card.span) - width) / 2;
  const int baseline = y + (height + card.height()) / 2;
  for (const Picture& level : card.levels) {
    canvas.Draw(x, baseline - level.definition.height * card.times, level.definition, card.times);
    x += level.definition.width * card.times + kLevelGap;
  }
}

void DrawCard(Canvas& canvas, const Card& card, int x, int y, const Row& row) {
  const int width = InnerWidth(card.span);
  canvas.Box(x, y, width + 2 * kPadding, row.height(), kCardPaper);
  x += kPadding;
  y += kPadding;
  if (card.levels.empty()) {
    canvas.Box(x, y, width, row.pictures, kWrong);
    int line = y + kPadding;
    for (const std::string& text : card.reason) {
      canvas.Text(x + kPadding, line, text, kInk);
      line += Canvas::kLine;
    }
  } else {
    DrawLevels(canvas, card, x, y, row.pictures);
  }
  y += row.pictures + kPadding;
  for (const std::string& line : card.caption) {
    canvas.Text(x, y, line, &line == &card.caption.front() ? kInk : kFaint);
    y += Canvas::kLine;
  }
}

Canvas DrawSheet(const Sheet& sheet) {
  const int columns = Columns(sheet);
  const std::vector<Row> rows = Rows(sheet, columns);
  const int width = 2 * kMargin + columns * (kCard + kGap) - kGap;
  int height = 2 * kMargin + 2 * Canvas::kLine;
  for (const Row& row : rows) height += kGap + row.height();
  if (sheet.left_out > 0) height += kGap + Canvas::kLine;

  Canvas canvas(width, height, kPaper);
  const auto most = static_cast<size_t>((width - 2 * kMargin) / Canvas::kAdvance);
  int y = kMargin;
  canvas.Text(kMargin, y, sheet.title.substr(0, most), kAccent);
  canvas.Text(kMargin, y + Canvas::kLine, sheet.facts, kFaint);
  y += 2 * Canvas::kLine + kGap;
  for (const Row& row : rows) {
    int x = kMargin;
    for (size_t i = row.begin; i < row.end; ++i) {
      DrawCard(canvas, sheet.cards[i], x, y, row);
      x += sheet.cards[i].span * (kCard + kGap);
    }
    y += row.height() + kGap;
  }
  if (sheet.left_out > 0) {
    canvas.Text(kMargin, y, fmt::format("and {} more that are not shown", sheet.left_out), kAccent);
  }
  return canvas;
}

}  // namespace

void AddPreview(CLI::App& app, int& exit_code) {
  struct Options {
    std::string file;
    std::string out;
  };
  CLI::App* command =
      app.add_subcommand("preview", "Draws all images of a container as one picture");
  const auto options = std::make_shared<Options>();
  AddContainer(*command, options->file);
  command->add_option("OUT", options->out, "PNG to write; - for standard output")->required();
  command->footer(fmt::format(
      "Shows every image with its name, kind, encoding and size, mip levels side by side, on a\n"
      "checkerboard where it is not opaque; at most {} images. Images that cannot be read are\n"
      "marked, and the exit code is that of the worst one.",
      kMaxCards));
  command->callback([options, &exit_code] {
    const FileView view(options->file);
    Canvas canvas = DrawSheet(MakeSheet(options->file, view.bytes(), exit_code));
    Picture borrowed;
    borrowed.definition = canvas.definition();
    WritePng(borrowed, options->out);
  });
}

}  // namespace zav::tool
