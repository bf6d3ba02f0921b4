// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <cctype>
#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "container/record.h"

namespace zav::test {
namespace {

using std::regex;
using std::smatch;

// The manual, the container document and the command, which only uses the manual's interface,
// repeat the table of header fields. These tests read them as text.

/// One text for each field of each kind: "kind 1: tilelog at 45, 2 bytes".
using Fields = std::set<std::string>;

std::string Describe(int kind, std::string name, int offset, int bytes) {
  std::erase(name, '_');
  for (char& letter : name) letter = static_cast<char>(std::tolower(letter));
  return "kind " + std::to_string(kind) + ": " + name + " at " + std::to_string(offset) + ", " +
         std::to_string(bytes) + " bytes";
}

Fields LibraryFields() {
  constexpr const char* kNames[kFieldCount] = {
      "name",   "width",   "height",  "pitch", "tile_log", "tiles", "block_size",
      "levels", "entries", "variant", "flags", "quality",  "cut",   "bits"};
  Fields fields;
  for (const FieldRow& row : kFieldRows) {
    for (int kind = row.first_kind; kind <= row.last_kind; ++kind) {
      const char* name = kNames[static_cast<size_t>(row.field)];
      fields.insert(Describe(kind, name, row.offset, row.bytes));
    }
  }
  return fields;
}

/// The matches of the pattern in the text, one after the other.
std::vector<smatch> Matches(const std::string& text, const regex& pattern) {
  return {std::sregex_iterator(text.begin(), text.end(), pattern), std::sregex_iterator()};
}

std::string Text(const char* path) {
  std::ifstream file(std::string(ZAV_ROOT "/") + path);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

/// The kinds of "20 to 23" or "33".
std::pair<int, int> Kinds(const smatch& match, size_t group) {
  const int first = std::stoi(match[group]);
  return {first, match[group + 1].matched ? std::stoi(match[group + 1]) : first};
}

TEST(RecordFields, TheManualListsThem) {
  const std::string manual = Text("include/zav.h");
  std::map<std::string, int> bytes;
  for (const auto& row : Matches(manual, regex(R"(\n//   (\w+) +(\d+) bytes?[;,])"))) {
    bytes[row[1]] = std::stoi(row[2]);
  }
  Fields listed;
  for (const auto& row : Matches(manual, regex(R"(\n//   (\d+)(?: to (\d+))? +(\d+)  +(\d.*))"))) {
    const auto [first, last] = Kinds(row, 1);
    const std::string fields = row[4];
    for (int kind = first; kind <= last; ++kind) {
      EXPECT_EQ(std::stoi(row[3]), HeaderLength(static_cast<uint8_t>(kind))) << kind;
      for (const auto& field : Matches(fields, regex(R"((\d+) (\w+))"))) {
        listed.insert(Describe(kind, field[2], std::stoi(field[1]), bytes[field[2]]));
      }
    }
  }
  EXPECT_EQ(listed, LibraryFields());
}

TEST(RecordFields, TheCommandListsThem) {
  const std::string manual = Text("include/zav.h"), command = Text("tools/layer_kinds.cpp");
  std::map<std::string, std::string> kinds, lists;
  for (const auto& row : Matches(manual, regex(R"((ZAV_\w+) = (\d+))"))) kinds[row[1]] = row[2];
  for (const auto& row : Matches(command, regex(R"(FieldPlace (k\w+)\[\] = ([^;]*);)"))) {
    lists[row[1]] = row[2];
  }
  Fields listed;
  for (const auto& row : Matches(command, regex(R"(\{(ZAV_\w+), "\w+", (k\w+)\})"))) {
    for (const auto& field : Matches(lists[row[2]], regex(R"(k(\w+), (\d+), (\d+))"))) {
      listed.insert(
          Describe(std::stoi(kinds[row[1]]), field[1], std::stoi(field[2]), std::stoi(field[3])));
    }
  }
  EXPECT_EQ(listed, LibraryFields());
}

TEST(RecordFields, TheDocumentListsThem) {
  // Headings give the kinds; the cells of fields start with a name.
  const std::string document = Text("docs/container-format.md");
  const regex line(R"(\n## .*|\n\| (\d+) \| (\d+) \| (`.*) \|)");
  const regex heading(R"(\n## .*, kinds? (\d+)(?: to (\d+))?)");
  const regex name(R"(`([a-z_]+)`(?: \(kinds? (\d+)(?: to (\d+))?\))?)");
  Fields listed;
  std::pair<int, int> kinds;
  for (const smatch& row : Matches(document, line)) {
    const std::string text = row[0], cell = row[3];
    smatch match;
    if (!row[1].matched) {
      kinds = std::regex_match(text, match, heading) ? Kinds(match, 1) : std::pair{0, -1};
    } else if (std::stoi(row[1]) >= kRecordStart) {
      for (const smatch& field : Matches(cell, name)) {
        const auto [first, last] = field[2].matched ? Kinds(field, 2) : kinds;
        for (int kind = first; kind <= last; ++kind) {
          listed.insert(Describe(kind, field[1], std::stoi(row[1]), std::stoi(row[2])));
        }
      }
    }
  }
  EXPECT_EQ(listed, LibraryFields());
}

}  // namespace
}  // namespace zav::test
