#include "base/paths.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(Paths, AreTakenApart) {
  const struct {
    const char *path, *extension, *folder, *folder_without_slash, *name;
  } rows[] = {
      {"/share/Music/a.MP3", ".MP3", "/share/Music/", "/share/Music", "a.MP3"},
      {"/share/My.Pictures/a", "none", "/share/My.Pictures/", "/share/My.Pictures", "a"},
      {"/share/a.b\\c", "none", "/share/", "/share", "a.b\\c"},
      {"/a.mp3", ".mp3", "/", "/", "a.mp3"},
      {"a/", "none", "before", "a", ""},
      {"a/b/", "none", "a/", "a/b", ""},
      {"/a/", "none", "/", "/a", ""},
      {"/", "none", "/", "/", ""},
      {"a.mp3", ".mp3", "before", "before", ".mp3"},  // a bare name loses its first character
      {"", "none", "before", "before", ""},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(GetFileExtension(row.path, "none"), row.extension) << row.path;
    std::string folder = "before";
    GetParentDirectory(row.path, folder);
    EXPECT_EQ(folder, row.folder) << row.path;
    folder = "before";
    GetParentDirectoryFullPath(row.path, folder);
    EXPECT_EQ(folder, row.folder_without_slash) << row.path;
    EXPECT_EQ(GetFileName(row.path), row.name) << row.path;
  }
}

TEST(FileBaseName, CutsFolderAndExtension) {
  const struct {
    const char *path, *without, *with;
  } rows[] = {{"/a/b.c/song.tar.gz", "song.tar", "song.tar.gz"},
              {"/a/b.c/song", "song", "song"},
              {"/a/b.c/", "b", "b.c"},
              {"song.mp3", "song", "song.mp3"},
              {"/.mp3", "", ".mp3"},
              {"", "", ""}};
  for (const auto& row : rows) {
    EXPECT_EQ(FileBaseName(row.path, "/", false), row.without) << row.path;
    EXPECT_EQ(FileBaseName(row.path, "/", true), row.with) << row.path;
  }
}

TEST(PathDepthOf, CountsSlashesLessTwo) {
  EXPECT_EQ(PathDepthOf("/a/b/c"), 1);
  EXPECT_EQ(PathDepthOf("/sh"), -1);
  EXPECT_EQ(PathDepthOf(""), -2);
}

}  // namespace
}  // namespace corvexal
