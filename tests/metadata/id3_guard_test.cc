// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/id3_guard.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/metadata/id3_bytes.h"
#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

bool bounded(const std::string& path) {
  File file(path);
  return id3_tags_are_bounded(file);
}

TEST(Id3Guard, LetsOnlyTagsOfBoundedSizeThrough) {
  const testing::TestFolder folder;
  for (const testing::Row& row : testing::table("id3_guard"))
    EXPECT_EQ(testing::row_of(row[0], row[1], bounded(testing::file_of(row, folder))), row);
  for (const testing::Row& row : testing::table("id3_guard_sizes")) {
    const int version = std::stoi(row[0]);
    const std::string body = row[4] + std::string(1000 * std::stoul(row[5]), row[4].back());
    const std::string frame = testing::id3_frame(version, row[2], body, std::stoi(row[3]));
    const std::string tag = testing::id3_tag_bytes(version, frame, std::stoi(row[1]));
    EXPECT_EQ(std::to_string(bounded(folder.write("a.mp3", tag))), row[6]) << ::testing::PrintToString(row);
  }
}

}  // namespace
}  // namespace corvexal
