// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/disk_walk.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <set>
#include <string>
#include <utility>

#include "tests/support/test_files.h"

namespace corvexal::report {
namespace {

TEST(DiskWalk, FollowsTheOrderOfTheRows) {
  std::mt19937 random(3);
  const testing::TestFolder folder;
  std::set<std::pair<std::string, std::string>> written;
  static constexpr std::string_view kNames[] = {"a", "a b", "a!", "a0", "A", "é", "\xFF", "b"};
  for (int i = 0; i < 100; ++i) {
    std::string below;
    for (auto depth = random() % 4; depth > 0; --depth)
      below.append(kNames[random() % std::size(kNames)]) += '/';
    const std::string name = std::string(kNames[random() % std::size(kNames)]) + ".mp3";
    folder.write(below + name, "");
    written.insert({folder.path() + '/' + below, name});
  }
  DiskWalk walk(folder.path() + '/');
  for (const auto& [where, name] : written) {
    ASSERT_TRUE(walk.next());
    ASSERT_EQ(walk.file().folder, where);
    ASSERT_EQ(walk.file().name, name);
  }
  EXPECT_FALSE(walk.next());
  EXPECT_EQ(walk.unreadable(), 0U);
}

}  // namespace
}  // namespace corvexal::report
