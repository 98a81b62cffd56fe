// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/like_folders.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

#include <algorithm>
#include <cstdlib>
#include <random>

namespace corvexal {
namespace {

// Texts of few characters, so that many match and many nearly do; some are longer than a machine word.
std::string random_path(std::mt19937& random) {
  static const std::vector<std::string> kPieces = {"/",
                                                   "a",
                                                   "A",
                                                   "b",
                                                   "_",
                                                   "%",
                                                   "aaaaaaaaaaaaaaaaaaaaaaaaaaaa",
                                                   "\xC3\xA9",
                                                   "\xC3\x89",
                                                   "\xE2\x82\xAC",
                                                   "\xC3",
                                                   "\xA9",
                                                   "\xFF",
                                                   "\xEF\xBF\xBD",
                                                   "\xEF\xBF\xBE",
                                                   "\xED\xA0\x80",
                                                   "\xF0\x9F\x98\x80",
                                                   "\xC1\x81",
                                                   "\xFD\x80\x80\x80\x80\x80",
                                                   "\x80",
                                                   std::string(1, '\0')};
  // Mostly the plain ones in front.
  const std::size_t choice = random() % 3 == 0 ? kPieces.size() : 7;
  std::string path;
  for (auto length = random() % 9; length > 0; --length) path += kPieces[random() % choice];
  return path;
}

// CORVEXAL_LIKE_CASES=10000000 compares more of them.
long cases() {
  const char* wanted = std::getenv("CORVEXAL_LIKE_CASES");
  return wanted != nullptr ? std::atol(wanted) : 60'000;
}

TEST(FolderSet, AgreesWithLikeOnAnyBytes) {
  std::mt19937 random(20101);
  long matches = 0;
  for (long round = 0; round < cases() / 20; ++round) {
    std::vector<std::string> folders(random() % 12);
    std::generate(folders.begin(), folders.end(), [&random] { return random_path(random); });
    const FolderSet set(folders);
    for (int i = 0; i < 20; ++i) {
      const std::string path = random_path(random);
      const bool expected = std::any_of(folders.begin(), folders.end(), [&path](const std::string& folder) {
        return sqlite3_strlike((path.c_str() + std::string("%")).c_str(), folder.c_str(), 0) == 0;
      });
      ASSERT_EQ(set.any_below(path), expected) << "round " << round << ", path " << path;
      matches += expected ? 1 : 0;
    }
  }
  EXPECT_GT(matches, cases() / 10);
  EXPECT_LT(matches, cases() / 10 * 9);
}

}  // namespace
}  // namespace corvexal
