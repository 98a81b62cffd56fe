// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <utility>

#include "tests/support/test_files.h"

namespace corvexal {
namespace {

TEST(File, EndsWhereItEndedWhenItWasOpened) {
  const testing::TestFolder folder;
  const std::string path = folder.write("a", "0123456789");
  File file(path);
  std::ofstream(path, std::ios::app) << "more";
  std::array<std::uint8_t, 4> bytes{};
  for (const auto& [offset, size] :
       {std::pair<std::uint64_t, std::size_t>{0, 4}, {8, 2}, {11, 0}, {UINT64_MAX, 0}})
    EXPECT_EQ(file.read_at(offset, bytes), size) << offset;
  std::filesystem::resize_file(path, 1);
  EXPECT_EQ(file.read_at(0, bytes), 1U);
  EXPECT_FALSE(file.failed());

  for (int turn = 0; turn < 2; ++turn) {  // each copy stands at the beginning
    const Descriptor copy(file.duplicate());
    EXPECT_EQ(read(copy.get(), bytes.data(), bytes.size()), 1) << turn;
  }
}

TEST(File, OpensRegularFilesOnly) {
  const testing::TestFolder folder;
  ASSERT_EQ(mkfifo((folder.path() + "/pipe").c_str(), 0600), 0);
  const std::pair<std::string, int> rows[] = {{folder.path() + "/pipe", EINVAL},
                                              {folder.path(), EINVAL},
                                              {folder.path() + "/missing", ENOENT},
                                              {"/dev/null", EINVAL}};
  for (const auto& [path, error] : rows) {
    EXPECT_FALSE(File(path)) << path;
    EXPECT_EQ(errno, error) << path;
  }
  EXPECT_FALSE(File("/dev/tty"));
}

TEST(SaysGone, OnlyOfErrorsThatLeaveNoDoubt) {
  for (const int error : {ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG}) EXPECT_TRUE(says_gone(error)) << error;
  for (const int error : {0, EACCES, EIO, ENOMEM}) EXPECT_FALSE(says_gone(error)) << error;
}

TEST(File, KnowsItsHoles) {
  const testing::TestFolder folder;
  constexpr std::uint64_t kHole = 1 << 20;
  const std::string path = folder.write_sparse("a", "head", 3 * kHole, "tail");
  std::filesystem::resize_file(path, 5 * kHole);
  File file(path);
  const off_t end_of_head = lseek(Descriptor(file.duplicate()).get(), 0, SEEK_HOLE);
  if (file.next_data(kHole) == kHole) GTEST_SKIP() << "this file system knows no holes";
  EXPECT_EQ(file.next_data(4 * kHole), 5 * kHole);
  for (const auto& [offset, data] : {std::pair{0 * kHole, 0 * kHole},
                                     {1, 1},
                                     {static_cast<std::uint64_t>(end_of_head), 3 * kHole},
                                     {kHole, 3 * kHole},
                                     {3 * kHole + 1, 3 * kHole + 1},
                                     {2 * kHole, 3 * kHole}})
    EXPECT_EQ(file.next_data(offset), data) << offset;
  EXPECT_EQ(file.last_in_hole(kHole, 100, 7), kHole + (2 * kHole - 100) / 7 * 7);
  EXPECT_EQ(file.last_in_hole(kHole, 2 * kHole + 1, 7), kHole);
  EXPECT_EQ(file.last_in_hole(0, 1, 7), 0U);
}

TEST(File, NeedsNoProc) {
  if (geteuid() != 0) GTEST_SKIP() << "only root may change the root";
  const testing::TestFolder folder;
  folder.write("a", "");
  ASSERT_EQ(mkfifo((folder.path() + "/pipe").c_str(), 0600), 0);
  EXPECT_EXIT(_exit(chroot(folder.path().c_str()) == 0 && File("/a") && !File("/pipe") ? 0 : 1),
              ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace corvexal
