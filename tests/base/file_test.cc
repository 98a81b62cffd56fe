#include "base/file.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <fstream>

#include "base/byte_reader.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::TestFolder;

TEST(File, ReadsWhatIsThereAndNoMore) {
  const TestFolder folder;
  File file(folder.write("a", "0123456789"));
  ASSERT_TRUE(file);
  EXPECT_EQ(file.size(), 10U);
  std::array<std::uint8_t, 4> bytes{};
  const struct {
    std::uint64_t offset;
    std::size_t read;
  } rows[] = {{0, 4}, {8, 2}, {10, 0}, {11, 0}, {UINT64_MAX, 0}, {INT64_MAX - 1ULL, 0}};
  for (const auto& row : rows) EXPECT_EQ(file.read_at(row.offset, bytes), row.read) << row.offset;
  EXPECT_FALSE(file.failed());
}

TEST(File, EndsWhereItEndedWhenItWasOpened) {
  const TestFolder folder;
  const std::string path = folder.write("a", "0123");
  File file(path);
  std::ofstream(path, std::ios::app) << "456789";
  std::array<std::uint8_t, 4> bytes{};
  EXPECT_EQ(file.size(), 4U);
  EXPECT_EQ(file.read_at(2, bytes), 2U);
  EXPECT_EQ(file.read_at(4, bytes), 0U);
  std::filesystem::resize_file(path, 1);
  EXPECT_EQ(file.read_at(0, bytes), 1U);
  EXPECT_FALSE(file.failed());
}

TEST(File, KnowsWhereAHoleEnds) {
  constexpr std::uint64_t kOffset = 1 << 20;
  const TestFolder folder;
  const File file(folder.write_sparse("a", "head", kOffset, "tail"));
  EXPECT_EQ(file.next_data(0), 0U);
  // How fine the holes are is up to the file system.
  EXPECT_GE(file.next_data(kOffset / 2), kOffset / 2);
  EXPECT_LE(file.next_data(kOffset / 2), kOffset);
  EXPECT_EQ(file.next_data(kOffset), kOffset);
  EXPECT_EQ(file.next_data(kOffset + 4), kOffset + 4);
  EXPECT_EQ(file.next_data(kOffset + 400), kOffset + 4);
}

TEST(File, OpensRegularFilesOnly) {
  const TestFolder folder;
  const std::string pipe = folder.path() + "/pipe";
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  for (const std::string& path : {pipe, folder.path(), folder.path() + "/missing"})
    EXPECT_FALSE(File(path)) << path;
}

TEST(ByteReader, StopsAtTheEndWithoutMoving) {
  const std::uint8_t bytes[] = {1, 2, 3, 4, 5, 6, 7};
  ByteReader in(bytes);
  std::uint32_t word = 0;
  std::uint16_t half = 0;
  EXPECT_TRUE(in.be32(word));
  EXPECT_EQ(word, 0x01020304U);
  EXPECT_FALSE(in.le32(word));
  EXPECT_EQ(word, 0x01020304U);
  EXPECT_TRUE(in.le16(half));
  EXPECT_EQ(half, 0x0605);
  EXPECT_FALSE(in.skip(2));
  EXPECT_TRUE(in.skip(1));
  EXPECT_EQ(in.left(), 0U);
}

}  // namespace
}  // namespace corvexal
