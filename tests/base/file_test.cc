#include "base/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

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
}

TEST(File, OpensRegularFilesOnly) {
  const testing::TestFolder folder;
  ASSERT_EQ(mkfifo((folder.path() + "/pipe").c_str(), 0600), 0);
  for (const char* name : {"/pipe", "/", "/missing"}) EXPECT_FALSE(File(folder.path() + name)) << name;
}

}  // namespace
}  // namespace corvexal
