// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/folder_cursor.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <string>
#include <vector>

#include "tests/support/test_files.h"

namespace corvexal {
namespace {

namespace fs = std::filesystem;

std::vector<std::string> entries_of(const std::string& folder) {
  std::vector<std::string> found;
  FolderCursor cursor(folder);
  EXPECT_EQ(cursor.error(), 0);
  while (const FolderEntry* entry = cursor.next())
    found.push_back(std::string(entry->name) + (entry->kind == EntryKind::kFolder ? "/" : ""));
  return found;
}

TEST(FolderCursor, PassesOverWhatMattersToNobody) {
  const testing::TestFolder folder;
  for (const char* name : {"b.mp3", "a.JPG", ".hidden.mp3", "text.txt", "none", "c.srt"})
    folder.write(name, "");
  fs::create_directories(folder.path() + "/.dir");
  fs::create_directories(folder.path() + "/dir.mp3");
  fs::create_symlink("b.mp3", folder.path() + "/link.mp3");
  ASSERT_EQ(mkfifo((folder.path() + "/pipe.mp3").c_str(), 0600), 0);
  EXPECT_EQ(entries_of(folder.path() + "/"),
            (std::vector<std::string>{"a.JPG", "b.mp3", "c.srt", "dir.mp3/"}));
  EXPECT_EQ(FolderCursor(folder.path() + "/b.mp3/").error(), ENOTDIR);
}

TEST(FolderCursor, KnowsPathsOfLessThan512Bytes) {
  const testing::TestFolder folder;
  const std::string deep = folder.path() + "/" + std::string(200, 'x') + "/" + std::string(150, 'y') + "/";
  fs::create_directories(deep);
  const std::string fits = std::string(511 - deep.size() - 4, 'n') + ".mp3";
  for (const std::string& name : {fits, "n" + fits}) {
    const int file = creat((deep + name).c_str(), 0600);
    ASSERT_GE(file, 0);
    close(file);
  }
  EXPECT_EQ(entries_of(deep), std::vector<std::string>{fits});
}

}  // namespace
}  // namespace corvexal
