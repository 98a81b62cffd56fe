#include "metadata/id3_guard.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/metadata/id3_bytes.h"
#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

using namespace std::string_literals;

bool bounded(const std::string& path) {
  File file(path);
  return id3_tags_are_bounded(file);
}

TEST(Id3Guard, LetsOnlyTagsOfBoundedSizeThrough) {
  for (const testing::Row& row : testing::table("id3_guard"))
    EXPECT_EQ(testing::row_of(row[0], bounded(testing::sample("../" + row[0]))), row);

  const testing::TestFolder folder;
  for (const testing::Row& row : testing::table("id3_guard_sizes")) {
    const int version = std::stoi(row[0]);
    std::string frames(1000 * std::stoul(row[5]), 'x');
    frames = testing::id3_frame(version, row[2], row[4] + frames, std::stoi(row[3]));
    const std::string path =
        folder.write("a.mp3", testing::id3_tag_bytes(version, frames, std::stoi(row[1])));
    EXPECT_EQ(std::to_string(bounded(path)), row[6]) << ::testing::PrintToString(row);
  }
  const std::string cut = "ID3\4\0\0\x7F\x7F\x7F\x7F"s;
  EXPECT_TRUE(bounded(folder.write("a.mp3", cut + std::string(47U << 20, 'x'))));
  EXPECT_FALSE(bounded(folder.write("a.mp3", cut + std::string(49U << 20, 'x'))));
}

}  // namespace
}  // namespace corvexal
