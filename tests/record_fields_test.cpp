// SPDX-FileCopyrightText: 2026 the ZAV authors
// SPDX-License-Identifier: MIT
#include <gtest/gtest.h>

#include <fstream>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "container/record.h"

namespace zav::test {
namespace {

// The manual and the container document repeat the table of header fields for people who write
// readers of their own. These tests read both as text.

const char* Name(Field field) {
  constexpr const char* kNames[kFieldCount] = {
      "name",   "width",   "height",  "pitch", "tile_log", "tiles", "block_size",
      "levels", "entries", "variant", "flags", "quality",  "cut",   "bits"};
  return kNames[static_cast<size_t>(field)];
}

/// Names of the fields by kind and offset. The library's have one name each.
using Fields = std::map<int, std::map<int, std::set<std::string>>>;

Fields LibraryFields() {
  Fields fields;
  for (const FieldRow& row : kFieldRows) {
    for (int kind = row.first_kind; kind <= row.last_kind; ++kind) {
      fields[kind][row.offset].insert(Name(row.field));
    }
  }
  return fields;
}

/// Whether the library has a field of this name, at this offset where one is given, of this length.
void ExpectBytes(const std::string& name, int offset, int bytes) {
  for (const FieldRow& row : kFieldRows) {
    if (name != Name(row.field) || (offset >= 0 && row.offset != offset)) continue;
    EXPECT_EQ(row.bytes, bytes) << name;
    return;
  }
  ADD_FAILURE() << "the library has no field " << name << " at " << offset;
}

std::vector<std::string> Lines(const char* path) {
  std::ifstream file(std::string(ZAV_ROOT "/") + path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

/// All matches of the pattern in the text.
std::vector<std::smatch> Matches(const std::string& text, const std::regex& pattern) {
  return {std::sregex_iterator(text.begin(), text.end(), pattern), std::sregex_iterator()};
}

/// The kinds of "20 to 23" or "33".
std::pair<int, int> Kinds(const std::smatch& match, size_t group) {
  const int first = std::stoi(match[group]);
  return {first, match[group + 1].matched ? std::stoi(match[group + 1]) : first};
}

TEST(RecordFields, TheManualListsThem) {
  const std::regex header_row(R"(//   (\d+)(?: to (\d+))? +(\d+)  +(\d.*))");
  const std::regex field(R"((\d+) (\w+))");
  const std::regex length_row(R"(//   (\w+) +(\d+) bytes?; .*|//   (\w+) +(\d+) bytes?, .*)");
  Fields listed;
  std::set<std::string> described;
  for (const std::string& line : Lines("include/zav.h")) {
    std::smatch row;
    if (std::regex_match(line, row, header_row)) {
      const auto [first, last] = Kinds(row, 1);
      const std::string fields = row[4];
      for (int kind = first; kind <= last; ++kind) {
        EXPECT_EQ(std::stoi(row[3]), HeaderLength(static_cast<uint8_t>(kind))) << kind;
        for (const std::smatch& entry : Matches(fields, field)) {
          listed[kind][std::stoi(entry[1])].insert(entry[2]);
        }
      }
    } else if (std::regex_match(line, row, length_row)) {
      const size_t group = row[1].matched ? 1 : 3;
      ExpectBytes(row[group], -1, std::stoi(row[group + 1]));
      described.insert(row[group]);
    }
  }
  EXPECT_EQ(listed, LibraryFields());
  EXPECT_GE(described.size(), kFieldCount - 1);  // one line describes both sides
}

TEST(RecordFields, TheDocumentListsThem) {
  const std::regex heading(R"(## .*, kinds? (\d+)(?: to (\d+))?)");
  const std::regex field_row(R"(\| (\d+) \| (\d+) \| (`.*) \|)");
  const std::regex name(R"(`([a-z_]+)`(?: \(kinds? (\d+)(?: to (\d+))?\))?)");
  Fields listed;
  std::pair<int, int> kinds{0, -1};
  for (const std::string& line : Lines("docs/container-format.md")) {
    std::smatch row;
    if (line.starts_with("## ")) {
      kinds = std::regex_match(line, row, heading) ? Kinds(row, 1) : std::pair{0, -1};
    } else if (std::regex_match(line, row, field_row) && std::stoi(row[1]) >= kRecordStart) {
      const int offset = std::stoi(row[1]);
      const std::string cell = row[3];
      for (const std::smatch& entry : Matches(cell, name)) {
        const auto [first, last] = entry[2].matched ? Kinds(entry, 2) : kinds;
        for (int kind = first; kind <= last; ++kind) listed[kind][offset].insert(entry[1]);
        ExpectBytes(entry[1], offset, std::stoi(row[2]));
      }
    }
  }
  EXPECT_EQ(listed, LibraryFields());
}

}  // namespace
}  // namespace zav::test
