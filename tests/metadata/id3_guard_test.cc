#include "metadata/id3_guard.h"

#include <gtest/gtest.h>

#include <string>

#include "tests/metadata/id3_bytes.h"
#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using testing::id3_frame;
using testing::id3_tag_bytes;
using testing::id3_text;

bool bounded(const std::string& path) {
  File file(path);
  return id3_tags_are_bounded(file);
}

TEST(Id3Guard, LetsOnlyTagsOfBoundedSizeThrough) {
  for (const testing::Row& row : testing::table("id3_guard"))
    EXPECT_EQ(bounded(testing::sample("../" + row[0])), row[1] == "1") << row[0];

  const auto mib = [](std::size_t count) { return std::string(count << 20, 'x'); };
  const std::string apic = "\1image/jpeg\0\3\xFF\xFE\x41\0\0\0"s, cut = "ID3\4\0\0\x7F\x7F\x7F\x7F"s;
  const struct {
    const char* what;
    std::string file;
    bool bounded;
  } rows[] = {
      {"cut short behind 47 MiB", cut + mib(47), true},
      {"cut short behind 49 MiB", cut + mib(49), false},
      {"1 MB of text", id3_tag_bytes(4, id3_text(4, "TIT2", std::string(1'000'000, 'x'))), true},
      {"2 MiB of text in 2.2", id3_tag_bytes(2, id3_text(2, "TT2", mib(2))), false},
      {"2 MiB of text in 2.9", id3_tag_bytes(9, id3_text(4, "TIT2", mib(2))), false},
      {"a picture of 23 MiB", id3_tag_bytes(3, id3_frame(3, "APIC", apic + mib(23))), true},
      {"a tag of 17 MiB, unsynchronised", id3_tag_bytes(3, id3_frame(3, "APIC", apic + mib(17)), 0x80),
       false},
      {"a frame of 17 MiB, unsynchronised", id3_tag_bytes(4, id3_frame(4, "APIC", apic + mib(17), 2)), false},
      {"an endless description", id3_tag_bytes(3, id3_frame(3, "APIC", "\0a\0\3"s + mib(9))), false},
      {"an object", id3_tag_bytes(3, id3_frame(3, "GEOB", "\0a\0b\0c\0"s + mib(9))), true},
  };
  const testing::TestFolder folder;
  for (const auto& row : rows) EXPECT_EQ(bounded(folder.write("a.mp3", row.file)), row.bounded) << row.what;
}

}  // namespace
}  // namespace corvexal
