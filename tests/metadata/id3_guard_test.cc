#include "metadata/id3_guard.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/metadata/id3_bytes.h"
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

TEST(Id3Guard, LetsOnlyTagsOfBoundedSizeThrough) {
  const auto x = [](std::size_t count) { return std::string(count, 'x'); };
  // A picture of so many bytes behind its type and description.
  const auto picture = [&](int version, std::size_t size, int format = 0) {
    return id3_frame(version, "APIC", "\1image/jpeg\0\3\xFF\xFE\x41\0\0\0"s + x(size), format);
  };
  const std::string unpacked_23 = id3_frame(3, "TIT2", be(2 * kMiB, 4) + "x", 0x80);
  const std::string unpacked_24 = id3_frame(4, "TIT2", syncsafe(2 * kMiB) + "x", 0x09);
  const std::string footed =
      "music" + id3_tag_bytes(4, unpacked_24, 0x10) + "3DI\4\0\x10"s + syncsafe(unpacked_24.size());
  const struct {
    const char* what;
    std::string file;
    bool bounded;
  } rows[] = {
      {"cut short behind 47 MiB", "ID3\4\0\0\x7F\x7F\x7F\x7F"s + x(47 * kMiB), true},
      {"cut short behind 49 MiB", "ID3\4\0\0\x7F\x7F\x7F\x7F"s + x(49 * kMiB), false},
      {"a size byte of eight bits", "ID3\4\0\0\x80\x7F\x7F\x7F"s + x(50 * kMiB), true},
      {"a text of 1 MB", id3_tag_bytes(4, id3_text(4, "TIT2", x(1'000'000))), true},
      {"a text of 2 MiB in 2.2", id3_tag_bytes(2, id3_text(2, "TT2", x(2 * kMiB))), false},
      {"a text of 2 MiB in 2.9", id3_tag_bytes(9, id3_text(4, "TIT2", x(2 * kMiB))), false},
      {"a picture of 23 MiB", id3_tag_bytes(3, picture(3, 23 * kMiB)), true},
      {"a picture of 25 MiB", id3_tag_bytes(3, picture(3, 25 * kMiB)), false},
      {"a picture of 17 MiB, unsynchronised", id3_tag_bytes(3, picture(3, 17 * kMiB), 0x80), false},
      {"a frame of 17 MiB, unsynchronised", id3_tag_bytes(4, picture(4, 17 * kMiB, 2)), false},
      {"a picture without a description's end",
       id3_tag_bytes(3, id3_frame(3, "APIC", "\0a\0\3"s + x(9 * kMiB))), false},
      {"an object", id3_tag_bytes(3, id3_frame(3, "GEOB", "\0a\0b\0c\0"s + x(9 * kMiB))), true},
      {"private data", id3_tag_bytes(3, id3_frame(3, "PRIV", "a\0"s + x(9 * kMiB))), true},
      {"a chapter", id3_tag_bytes(3, id3_frame(3, "CHAP", x(9 * kMiB))), true},
      {"unpacks to 2 MiB", id3_tag_bytes(3, unpacked_23), false},
      {"unpacks to 2 MiB behind padding", id3_tag_bytes(3, "\0"s + unpacked_23), true},
      {"unpacks to 2 MiB behind a header", id3_tag_bytes(3, be(6, 4) + "123456" + unpacked_23, 0x40), false},
      {"the same in 2.4", id3_tag_bytes(4, syncsafe(6) + "12" + unpacked_24, 0x40), false},
      {"the same in a group and encrypted",
       id3_tag_bytes(4, id3_frame(4, "TIT2", "GE" + syncsafe(2 * kMiB) + "x", 0x4D)), false},
      {"the same behind 0xFF and 0",
       id3_tag_bytes(3, id3_text(3, "TIT2", "\xFF") + "\0"s + unpacked_23, 0x80), false},
      {"a SEEK frame", id3_tag_bytes(4, id3_frame(4, "SEEK", be(0, 4))), false},
      {"unpacks to 2 MiB in the last 128 bytes", "music" + id3_tag_bytes(4, unpacked_24) + x(103), false},
      {"a footer's tag", footed, false},
      {"a footer's tag in front of ID3v1", footed + testing::id3v1_bytes("", "", "", 0), false},
      {"a footer's tag would begin before the file", "3DI\4\0\x10"s + syncsafe(1000), true},
  };
  const testing::TestFolder folder;
  for (const auto& row : rows) {
    File file(folder.write("a.mp3", row.file));
    EXPECT_EQ(id3_tags_are_bounded(file), row.bounded) << row.what;
  }
}

}  // namespace
}  // namespace corvexal
