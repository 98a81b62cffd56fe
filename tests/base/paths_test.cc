#include "base/paths.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(Paths, AreTakenApart) {
  const struct {
    const char *path, *extension, *folder, *folder_without_slash, *name;
  } rows[] = {
      {"/share/My.Pictures/a", "none", "/share/My.Pictures/", "/share/My.Pictures", "a"},
      {"/share/a.b\\c", "none", "/share/", "/share", "a.b\\c"},
      {"/a.MP3", ".MP3", "/", "/", "a.MP3"},
      {"a/b/", "none", "a/", "a/b", ""},
      {"/", "none", "/", "/", ""},
      {"a.mp3", ".mp3", "before", "before", ".mp3"},  // a bare name loses its first character
      {"", "none", "before", "before", ""},
  };
  for (const auto& row : rows) {
    std::string folder = "before", full = "before";
    GetParentDirectory(row.path, folder);
    GetParentDirectoryFullPath(row.path, full);
    EXPECT_EQ(GetFileExtension(row.path, "none"), row.extension) << row.path;
    EXPECT_EQ(folder, row.folder) << row.path;
    EXPECT_EQ(full, row.folder_without_slash) << row.path;
    EXPECT_EQ(GetFileName(row.path), row.name) << row.path;
  }
  EXPECT_EQ(FileBaseName("/a/song.tar.gz", "/", false), "song.tar");
  EXPECT_EQ(FileBaseName("/a/b.c/", "/", true), "b.c");
}

}  // namespace
}  // namespace corvexal
