#include "metadata/id3_guard.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/metadata/id3_bytes.h"
#include "tests/support/bytes.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using testing::be;
using testing::id3_frame;
using testing::id3_tag_bytes;
using testing::id3_text;
using testing::syncsafe;

constexpr std::size_t kMiB = 1U << 20;

std::string file_of(const std::string& frames, int version = 4, int flags = 0) {
  return id3_tag_bytes(version, frames, flags);
}

std::string seek(std::size_t distance) {
  return id3_frame(4, "SEEK", be(static_cast<std::int64_t>(distance), 4));
}

TEST(Id3Guard, LetsOnlyTagsOfBoundedSizeThrough) {
  const std::string title = id3_text(4, "TIT2", "title");
  const std::string unpacked17 = id3_frame(3, "TIT2", be(17 * kMiB, 4) + "x", 0x80);
  const std::string unpacked9 = id3_frame(3, "APIC", be(9 * kMiB, 4) + "x", 0x80);
  const std::string unpacked17_of_24 = id3_frame(4, "TIT2", syncsafe(17 * kMiB) + "x", 0x09);
  const std::string chained = file_of(title + seek(0));
  const std::string footer = "3DI\4\0\x10"s;
  const struct {
    const char* what;
    std::string file;
    bool bounded;
  } rows[] = {
      {"empty", "", true},
      {"no tag", std::string(4000, '\xFF'), true},
      {"one frame", file_of(title), true},
      {"cut in its header", "ID3\4\0\0\x7F", true},
      {"cut short, whatever its size", "ID3\4\0\0\x7F\x7F\x7F\x7F"s + title, true},
      {"15 MiB", file_of(id3_text(4, "TIT2", std::string(15 * kMiB, 'a'))), true},
      {"17 MiB", file_of(id3_text(4, "TIT2", std::string(17 * kMiB, 'a'))), false},
      {"cut short behind 17 MiB", "ID3\4\0\0\x7F\x7F\x7F\x7F"s + std::string(17 * kMiB, 'a'), false},
      {"a little frame compressed", file_of(id3_frame(3, "TIT2", be(100, 4) + "x", 0x80), 3), true},
      {"unpacks to 17 MiB", file_of(unpacked17, 3), false},
      {"unpacks to 18 MiB in two", file_of(unpacked9 + unpacked9, 3), false},
      {"unpacks to 17 MiB behind padding", file_of("\0"s + unpacked17, 3), true},
      {"unpacks to 17 MiB behind an extended header", file_of(be(6, 4) + "123456" + unpacked17, 3, 0x40),
       false},
      {"the same in 2.4", file_of(syncsafe(6) + "12" + unpacked17_of_24, 4, 0x40), false},
      {"unpacks to 17 MiB in 2.4", file_of(unpacked17_of_24), false},
      {"the same in a group and encrypted",
       file_of(id3_frame(4, "TIT2", "GE" + syncsafe(17 * kMiB) + "x", 0x4D)), false},
      {"unsynchronised", file_of(id3_text(3, "TIT2", "\xFF") + "\0"s + unpacked17, 3, 0x80), false},
      {"four tags in a chain", chained + chained + chained + file_of(title), true},
      {"five tags in a chain", chained + chained + chained + chained + file_of(title), false},
      {"a chain over a gap", file_of(seek(100)) + std::string(100, 'x') + file_of(unpacked17_of_24), false},
      {"a chain out of the file", file_of(seek(0xFFFFFFF0)), true},
      {"a footer's tag", "music" + file_of(title, 4, 0x10) + footer + syncsafe(title.size()), true},
      {"a footer's tag unpacks to 17 MiB",
       "music" + file_of(unpacked17_of_24, 4, 0x10) + footer + syncsafe(unpacked17_of_24.size()), false},
      {"the same in front of an ID3v1 tag",
       "music" + file_of(unpacked17_of_24, 4, 0x10) + footer + syncsafe(unpacked17_of_24.size()) +
           testing::id3v1_bytes("", "", "", 0),
       false},
      {"a footer's tag would begin before the file", footer + syncsafe(1000), true},
  };
  const testing::TestFolder folder;
  for (const auto& row : rows) {
    File file(folder.write("a.mp3", row.file));
    EXPECT_EQ(id3_tags_are_bounded(file), row.bounded) << row.what;
  }
}

}  // namespace
}  // namespace corvexal
