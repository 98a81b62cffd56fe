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

std::string file_of(const std::string& frames, int version = 4, int flags = 0) {
  return id3_tag_bytes(version, frames, flags);
}

// A picture of so many bytes behind its type and description.
std::string picture(int version, std::size_t size, int format = 0) {
  const std::string preface =
      version == 2 ? "\0JPG\3a\0\xFF\xD8\xFF\xE0\0"s : "\1image/jpeg\0\3\xFF\xFE\x41\0\0\0"s;
  return id3_frame(version, version == 2 ? "PIC" : "APIC", preface + std::string(size, 'x'), format);
}

TEST(Id3Guard, LetsOnlyTagsOfBoundedSizeThrough) {
  const std::string title = id3_text(4, "TIT2", "title");
  const std::string unpacked2 = id3_frame(3, "TIT2", be(2 * kMiB, 4) + "x", 0x80);
  const std::string unpacked1 = id3_frame(3, "APIC", be(700'000, 4) + "x", 0x80);
  const std::string unpacked2_of_24 = id3_frame(4, "TIT2", syncsafe(2 * kMiB) + "x", 0x09);
  const std::string seek = id3_frame(4, "SEEK", be(0, 4));
  const std::string footer = "3DI\4\0\x10"s;
  const std::string v1 = testing::id3v1_bytes("", "", "", 0);
  const std::string no_description = "\0image/jpeg\0\3"s + std::string(9 * kMiB, 'x');
  std::string little_frames;
  for (int i = 0; i < 100'000; ++i) little_frames += id3_text(3, "TIT2", "");
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
      {"cut short behind 17 MiB", "ID3\4\0\0\x7F\x7F\x7F\x7F"s + std::string(17 * kMiB, 'a'), true},
      {"cut short behind 49 MiB", "ID3\4\0\0\x7F\x7F\x7F\x7F"s + std::string(49 * kMiB, 'a'), false},
      {"a size byte of eight bits", "ID3\4\0\0\x80\x7F\x7F\x7F"s + std::string(50 * kMiB, 'a'), true},
      {"no version", "ID3\xFF\0\0\x7F\x7F\x7F\x7F"s + std::string(50 * kMiB, 'a'), true},
      {"a text of 1 MB", file_of(id3_text(4, "TIT2", std::string(1'000'000, 'a'))), true},
      {"a text of 2 MiB", file_of(id3_text(4, "TIT2", std::string(2 * kMiB, 'a'))), false},
      {"a text of 2 MiB in 2.2", file_of(id3_text(2, "TT2", std::string(2 * kMiB, 'a')), 2), false},
      {"a text of 2 MiB in 2.9", file_of(id3_text(4, "TIT2", std::string(2 * kMiB, 'a')), 9), false},
      {"a picture of 15 MiB in 2.2", file_of(picture(2, 15 * kMiB), 2), true},
      {"a picture of 17 MiB", file_of(title + picture(3, 17 * kMiB), 3), true},
      {"a picture of 17 MiB in 2.4", file_of(title + picture(4, 17 * kMiB)), true},
      {"a picture of 25 MiB", file_of(picture(3, 25 * kMiB), 3), false},
      {"a picture of 17 MiB, unsynchronised", file_of(picture(3, 17 * kMiB), 3, 0x80), false},
      {"a frame of 17 MiB, unsynchronised", file_of(picture(4, 17 * kMiB, 2)), false},
      {"a picture of 11 MiB, unsynchronised", file_of(picture(4, 11 * kMiB, 2)), true},
      {"a picture with a long description", file_of(id3_frame(3, "APIC", no_description), 3), false},
      {"an object", file_of(id3_frame(3, "GEOB", "\0a\0b\0c\0"s + std::string(9 * kMiB, 'x')), 3), true},
      {"private data", file_of(id3_frame(3, "PRIV", "a\0"s + std::string(9 * kMiB, 'x')), 3), true},
      {"a chapter", file_of(id3_frame(3, "CHAP", std::string(9 * kMiB, 'x')), 3), true},
      {"a hundred thousand frames", file_of(little_frames, 3), false},
      {"a little frame compressed", file_of(id3_frame(3, "TIT2", be(100, 4) + "x", 0x80), 3), true},
      {"unpacks to 2 MiB", file_of(unpacked2, 3), false},
      {"unpacks to 1.4 MB in two", file_of(unpacked1 + unpacked1, 3), false},
      {"unpacks to 2 MiB behind padding", file_of("\0"s + unpacked2, 3), true},
      {"unpacks to 2 MiB behind an extended header", file_of(be(6, 4) + "123456" + unpacked2, 3, 0x40),
       false},
      {"the same in 2.4", file_of(syncsafe(6) + "12" + unpacked2_of_24, 4, 0x40), false},
      {"unpacks to 2 MiB in 2.4", file_of(unpacked2_of_24), false},
      {"the same in a group and encrypted",
       file_of(id3_frame(4, "TIT2", "GE" + syncsafe(2 * kMiB) + "x", 0x4D)), false},
      {"unsynchronised", file_of(id3_text(3, "TIT2", "\xFF") + "\0"s + unpacked2, 3, 0x80), false},
      {"a SEEK frame", file_of(title + seek), false},
      {"a SEEK frame in the last 128 bytes", "music" + file_of(seek + std::string(128 - 10 - 14, '\0')),
       false},
      {"unpacks to 2 MiB in the last 128 bytes", "music" + file_of(unpacked2_of_24) + std::string(103, 'x'),
       false},
      {"a footer's tag", "music" + file_of(title, 4, 0x10) + footer + syncsafe(title.size()), true},
      {"a footer's tag unpacks to 2 MiB",
       "music" + file_of(unpacked2_of_24, 4, 0x10) + footer + syncsafe(unpacked2_of_24.size()), false},
      {"the same in front of an ID3v1 tag",
       "music" + file_of(unpacked2_of_24, 4, 0x10) + footer + syncsafe(unpacked2_of_24.size()) + v1, false},
      {"the same in front of a tag of version 2.1",
       "music" + file_of(unpacked2_of_24, 4, 0x10) + footer + syncsafe(unpacked2_of_24.size()) +
           file_of(std::string(118, '\0'), 1),
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
