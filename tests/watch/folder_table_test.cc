// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/folder_table.h"

#include <gtest/gtest.h>

#include <map>
#include <random>

namespace corvexal {
namespace {

TEST(FolderTable, KeepsPathsRightUnderRenamedFolders) {
  FolderTable table;
  table.put(1, 0, "/share");
  table.put(2, 1, "a");
  table.put(5, 2, "b");
  EXPECT_EQ(table.path(5), "/share/a/b");
  table.put(2, 1, "renamed");
  EXPECT_EQ(table.path(5), "/share/renamed/b");
  EXPECT_TRUE(table.is_at(5, 2, "b"));
  EXPECT_FALSE(table.is_at(5, 1, "b"));
  EXPECT_EQ(table.first_from(3), 5);
  EXPECT_EQ(table.first_from(6), 0);
  table.remove(2);
  EXPECT_EQ(table.path(5), std::nullopt);
  EXPECT_EQ(table.orphans(), std::vector<int>{5});
  table.put(5, 6, "b");
  table.put(6, 5, "c");
  EXPECT_EQ(table.path(5), std::nullopt) << "no way up ends in a circle";
}

// Against a plain map, with enough coming and going for names and folders to be packed many times.
TEST(FolderTable, HoldsManyFoldersAndForgetsThemInNoOrder) {
  std::mt19937 random(20);
  FolderTable table;
  std::map<int, std::string> model;
  table.put(1, 0, "/s");
  for (int watch = 2; watch < 60'000; ++watch) {
    std::string name(random() % 250, static_cast<char>('a' + random() % 26));
    name += std::to_string(watch);
    table.put(watch, 1, name);
    model[watch] = name;
    if (random() % 2 == 0) table.put(watch, 1, model[watch] = "new" + name);
    const auto victim = model.lower_bound(static_cast<int>(random() % static_cast<unsigned>(watch)));
    if (model.size() > 2000 && victim != model.end()) {
      table.remove(victim->first);
      model.erase(victim);
    }
  }
  ASSERT_EQ(table.size(), model.size() + 1);
  EXPECT_LT(table.bytes(), 3'000'000U) << "room is used again";
  int watch = 1;
  for (const auto& [expected, name] : model) {
    watch = table.first_from(watch + 1);
    ASSERT_EQ(watch, expected);
    ASSERT_EQ(table.path(watch), "/s/" + name);
  }
}

}  // namespace
}  // namespace corvexal
