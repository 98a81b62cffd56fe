// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <filesystem>
#include <fstream>

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
  for (const std::string& path : {folder.path() + "/pipe", folder.path(), folder.path() + "/missing",
                                  std::string("/dev/null"), std::string("/dev/tty")})
    EXPECT_FALSE(File(path)) << path;
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
