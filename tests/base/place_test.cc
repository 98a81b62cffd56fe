// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/place.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>

#include "tests/support/test_files.h"

namespace corvexal {
namespace {

namespace fs = std::filesystem;

TEST(Place, IsFoundFromTheAdministratorsFolderOn) {
  const testing::WorkingFolder here;
  here.write("m/.systemfile/deep/a", "");
  fs::create_symlink(here.path() + "/m/.systemfile/deep", "m/.systemfile/way");
  fs::create_symlink("deep/.", "m/.systemfile/dotted");
  fs::create_symlink("m", "mount");
  fs::create_symlink(".systemfile/hop1", "m/hop0");
  for (int hop = 0; hop <= 40; ++hop)  // from hop1 on there are 40 links to follow
    fs::create_symlink(hop == 40 ? "deep/a" : "hop" + std::to_string(hop + 1),
                       "m/.systemfile/hop" + std::to_string(hop));
  fs::create_symlink("deep", "m/.systemfile/first");
  fs::create_hard_link("m/.systemfile/first", "m/.systemfile/second");
  fs::create_symlink("deep", "m/.systemfile/strange");
  const bool is_strange = geteuid() == 0 && lchown("m/.systemfile/strange", 1000, 1000) == 0;
  const struct {
    const char *path, *folder, *name;
    int error;
  } rows[] = {
      {"m/.systemfile//deep//b", "m/.systemfile/deep", "b", 0},  // which need not be there
      {"mount/.systemfile/way/b", "/m/.systemfile/deep", "b", 0},
      {"m/.systemfile/dotted/a", "m/.systemfile/deep/.", "a", 0},
      {"m/.systemfile/hop1", "m/.systemfile/deep", "a", 0},
      {"m/.systemfile/hop0", "", "", ELOOP},
      {"m/.systemfile/second/a", "", "", ELOOP},
      {"m/.systemfile/strange/a", "m/.systemfile/deep", "a", is_strange ? ELOOP : 0},
      {"m/.systemfile/none/a", "", "", ENOENT},
      {"m/.systemfile/deep/a/b", "", "", ENOTDIR},
      {"m/.systemfile/", "m", ".systemfile", 0},
      {"m/", "", "", EINVAL},
      {"m/a", "m", "a", 0},
      {"/a", "", "a", 0},
  };
  for (const auto& row : rows) {
    const bool from_root = row.folder == std::string("/m/.systemfile/deep");
    if (CORVEXAL_EMULATED && (from_root || row.path[0] == '/')) continue;  // an emulator has its own root
    errno = ENOENT;
    const auto place = find_place(row.path);
    ASSERT_EQ(place.has_value(), row.error == 0) << row.path;
    if (!place) {
      EXPECT_EQ(errno, row.error) << row.path;
      continue;
    }
    EXPECT_EQ(place->folder_path, (from_root ? here.path() : "") + row.folder) << row.path;
    EXPECT_EQ(place->name, row.name) << row.path;
    EXPECT_TRUE(fs::equivalent(place->path_of("."), row.folder[0] == '\0' ? "/" : place->folder_path));
  }
  EXPECT_TRUE(find_place("m/.systemfile/x/y/a", MissingFolders::kMake));
  EXPECT_TRUE(fs::is_directory("m/.systemfile/x/y"));
  EXPECT_FALSE(fs::exists("m/.systemfile/x/y/a"));
  const auto place = find_place("m/.systemfile/deep/a");
  fs::rename("m", "elsewhere");
  EXPECT_TRUE(fs::exists(place->path_of("a"))) << "it leads there whatever the folders are called by now";
}

TEST(Place, OpensWhatIsPlainAlone) {
  const testing::WorkingFolder here;
  here.write("plain", "text");
  here.write("twice", "");
  fs::create_hard_link("twice", "second");
  fs::create_symlink("plain", "link");
  fs::create_directory("folder");
  ASSERT_EQ(mkfifo("pipe", 0600), 0);
  const struct {
    const char* name;
    int flags, error;
    const char* reason;
  } rows[] = {
      {"plain", O_RDWR | O_CREAT, 0, "Success"},
      {"new", O_RDWR | O_CREAT, 0, "Success"},
      {"other", O_RDWR | O_CREAT | O_EXCL, 0, "Success"},
      {"plain/new", O_RDWR | O_CREAT | O_EXCL, ENOTDIR, "Not a directory"},
      {"missing", O_RDWR, ENOENT, "No such file or directory"},
      {"plain", O_RDWR | O_CREAT | O_EXCL, EEXIST, "File exists"},
      {"link", O_RDONLY, ELOOP, "a symbolic link on the way does not belong to root"},
      {"twice", O_RDONLY, EMLINK, "it has a second hard link"},
      {"pipe", O_RDONLY, EINVAL, "it is no regular file"},
      {"folder", O_RDONLY, EINVAL, "it is no regular file"},
  };
  for (const auto& row : rows) {
    errno = ENOENT;  // from an earlier call
    const Descriptor file = open_plain_file(AT_FDCWD, row.name, row.flags, 0640);
    const int error = file ? 0 : errno;
    EXPECT_EQ(error, row.error) << row.name;
    EXPECT_STREQ(why_refused(error), row.reason);
    EXPECT_EQ(is_plain_or_missing(AT_FDCWD, row.name), error == 0 || error == ENOENT || error == EEXIST)
        << row.name;
    struct stat status {};
    const bool is_new = file && row.name != std::string("plain");
    EXPECT_TRUE(!is_new || (fstat(file.get(), &status) == 0 && (status.st_mode & 0137) == 0)) << row.name;
  }
  EXPECT_EQ(testing::read_file("plain"), "text");
  errno = ENOENT;
  EXPECT_TRUE(reopen(Descriptor(open("plain", O_PATH)), AT_FDCWD, "gone by now", O_RDONLY));
}

}  // namespace
}  // namespace corvexal
