// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "metadata/song_info.h"
#include "tests/support/bytes.h"
#include "tests/support/test_files.h"

namespace corvexal::testing {

using Row = std::vector<std::string>;

// The bytes that a cell writes up to `end`: %XX is one, <...>N is N times what is between, and [...] an atom
// of an MPEG-4 file, whose size is put before what is between.
inline std::string bytes_until(char end, std::istream& cell) {
  std::string bytes;
  for (char c = 0; cell.get(c) && c != end;) {
    if (c == '%') {
      char digits[3] = {};
      cell.read(digits, 2);
      bytes += static_cast<char>(std::stoi(digits, nullptr, 16));
    } else if (c == '<') {
      const std::string once = bytes_until('>', cell);
      int count = 0;
      for (cell >> count; count > 0; --count) bytes += once;
    } else if (c == '[') {
      const std::string atom = bytes_until(']', cell);
      bytes += be(atom.size() + 4, 4) + atom;
    } else {
      bytes += c;
    }
  }
  return bytes;
}

// A cell's bytes, without the spaces around it.
inline std::string cell(std::string text) {
  text.erase(0, text.find_first_not_of(' '));
  text.erase(text.find_last_not_of(' ') + 1);
  std::istringstream bytes(text);
  return bytes_until('\0', bytes);
}

// The rows of tests/metadata/tables/<name>: what is to be made of what. A "#" begins a comment.
inline std::vector<Row> table(const std::string& name) {
  std::ifstream file(sample("../tests/metadata/tables/") + name);
  std::vector<Row> rows;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('#')) continue;
    std::istringstream cells(line);
    rows.emplace_back();
    for (std::string text; std::getline(cells, text, '|');) rows.back().push_back(cell(text));
  }
  if (rows.empty()) throw std::runtime_error("no table " + name);
  return rows;
}

// The file that a row begins with: a sample, or a name and the bytes that the folder gets under it.
inline std::string file_of(const Row& row, const TestFolder& folder) {
  return row[0].starts_with("samples/") ? sample("../" + row[0]) : folder.write(row[0], row[1]);
}

// The bytes of a table's row that builds a file of the given name.
inline std::string bytes_of(const std::string& name, const std::string& file) {
  for (const Row& row : table(name))
    if (row[0] == file) return row[1];
  throw std::runtime_error("no row " + file);
}

inline std::string shown(const Text& text) {
  return text.value_or("-");
}
inline std::string shown(std::int64_t number) {
  return std::to_string(number);
}

Row row_of(const auto&... fields) {
  return {shown(fields)...};
}

// Every beginning of a file, then copies with four bytes spoilt at random, the same ones in every run.
inline std::vector<std::string> damaged_copies(const std::string& whole) {
  std::vector<std::string> copies;
  for (std::size_t size = 0; size <= whole.size(); ++size) copies.push_back(whole.substr(0, size));
  std::mt19937 random(1);  // NOLINT(cert-msc*)
  for (int round = 0; round < 200; ++round) {
    copies.push_back(whole);
    for (int i = 0; i < 4; ++i) copies.back()[random() % whole.size()] = static_cast<char>(random());
  }
  return copies;
}

}  // namespace corvexal::testing
