#pragma once

#include <random>
#include <string>
#include <vector>

namespace corvexal::testing {

// Every beginning of a file, then copies with four bytes spoilt at random, the same ones in every run.
inline std::vector<std::string> damaged_copies(const std::string& whole) {
  std::vector<std::string> copies;
  for (std::size_t size = 0; size <= whole.size(); ++size) copies.push_back(whole.substr(0, size));
  std::mt19937 random(1);  // NOLINT(cert-msc*)
  for (int round = 0; round < 500; ++round) {
    copies.push_back(whole);
    for (int i = 0; i < 4; ++i) copies.back()[random() % whole.size()] = static_cast<char>(random());
  }
  return copies;
}

}  // namespace corvexal::testing
