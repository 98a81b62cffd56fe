#include "catalogue/folder_flags.h"

#include <algorithm>
#include <random>

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

// Short texts of few characters, so that many match and many nearly do.
std::string random_path(std::mt19937& random) {
  static const auto pieces = testing::words(
      "/ a A b _ % \xC3\xA9 \xC3\x89 \xE2\x82\xAC \xC3 \xA9 \xFF \xEF\xBF\xBD \xEF\xBF\xBE \xED\xA0\x80 "
      "\xF0\x9F\x98\x80 "
      "\xC1\x81 \xFD\x80\x80\x80\x80\x80 \x80");
  std::string path;
  for (auto length = random() % 6; length > 0; --length) path += pieces[random() % pieces.size()];
  return path;
}

TEST(FolderSet, AgreesWithLikeOnAnyBytes) {
  std::mt19937 random(20101);
  int matches = 0;
  for (int round = 0; round < 2000; ++round) {
    FolderSet set;
    std::vector<std::string> folders(random() % 12);
    for (std::string& folder : folders) set.add(folder = random_path(random));
    set.sort();
    for (int i = 0; i < 20; ++i) {
      const std::string path = random_path(random);
      const bool expected = std::any_of(folders.begin(), folders.end(), [&path](const std::string& folder) {
        return sqlite3_strlike((path + '%').c_str(), folder.c_str(), 0) == 0;
      });
      ASSERT_EQ(set.any_below(path), expected) << "round " << round << ", path " << path;
      matches += expected ? 1 : 0;
    }
  }
  EXPECT_GT(matches, 4000);
  EXPECT_LT(matches, 36000);
}

}  // namespace
}  // namespace corvexal
