#pragma once

#include <cstdint>
#include <fstream>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "metadata/song_info.h"
#include "tests/support/test_files.h"

namespace corvexal::testing {

using Row = std::vector<std::string>;

// A cell without the spaces around it and with the bytes that it writes as %XX.
inline std::string cell(std::string text) {
  text.erase(0, text.find_first_not_of(' '));
  text.erase(text.find_last_not_of(' ') + 1);
  for (std::size_t at = 0; (at = text.find('%', at)) != std::string::npos; ++at)
    text.replace(at, 3, 1, static_cast<char>(std::stoi(text.substr(at + 1, 2), nullptr, 16)));
  return text;
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
