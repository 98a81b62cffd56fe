// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mpeg_video.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "tests/metadata/failing_reads.h"
#include "tests/metadata/tables.h"

namespace corvexal {

namespace {

using namespace std::string_literals;
using testing::Row;

const std::string kSequence = "\0\0\1\xB3\x16\x01\x20\x83\x01\xF4\x3F\xFF"s,
                  kGroup = "\0\0\1\xB8\0\x08\0\x40"s;

Row row_of(const std::string& name, const std::string& bytes, const VideoInfo& info) {
  return testing::row_of(name, bytes, info.width, info.height, info.frame_rate, info.mpeg_version,
                         info.video_format, info.duration);
}

class MpegVideo : public ::testing::Test {
 protected:
  VideoInfo probe(const std::string& video, std::int32_t asked = kAskDuration) {
    VideoInfo info;
    info.duration = asked;
    testing::CapturedOutput captured;
    result = get_video_info(video, info);
    output = captured.text();
    return info;
  }

  int result = 0;
  std::string output;
  testing::TestFolder folder;
  const std::string path = folder.path() + "/video.mpg";
};

TEST_F(MpegVideo, ReadsHeadersAndMeasuresThePlayingTime) {
  for (const Row& row : testing::table("mpeg_video")) {
    const std::string video = testing::file_of(row, folder);
    EXPECT_EQ(row_of(row[0], row[1], probe(video)), row);
    const VideoInfo unasked = probe(video, kAskDuration + 1);
    EXPECT_EQ(testing::row_of(unasked.duration, unasked.bit_rate, result), (Row{"0", "0", "0"})) << row[0];
  }
}

TEST_F(MpegVideo, IsProbedByExtensionOnly) {
  for (const Row& row : testing::table("mpeg_names")) {
    const VideoInfo info = probe(folder.write(row[0], kSequence + kGroup));
    EXPECT_EQ(testing::row_of(row[0], result, info.width), row);
  }
  probe("/nowhere/a.mpg");
  EXPECT_EQ(testing::row_of(result, output), (Row{"-1", "Can not open </nowhere/a.mpg> file\n"}));
}

TEST_F(MpegVideo, SearchesALimitedPart) {
  for (const Row& row : testing::table("mpeg_search")) {
    const std::string head = std::string(std::stoul(row[0]), '\0') + kSequence;
    folder.write_sparse("video.mpg", head, std::stoull(row[1]), kGroup);
    std::filesystem::resize_file(path, std::stoull(row[2]));
    const VideoInfo info = probe(path);
    EXPECT_EQ(testing::row_of(row[0], row[1], row[2], info.width, result, output), row);
  }
  // Headers across the borders of the blocks of 4096 bytes.
  for (std::string gap(4076, '\0'); gap.size() < 4100; gap += '\0') {
    folder.write("video.mpg", std::string(gap).append(kSequence).append(gap).append(kGroup));
    EXPECT_EQ(row_of("", "", probe(path)), (Row{"", "", "352", "288", "3", "1", "1", "0"})) << gap.size();
  }
}

// Where blocks begin decides how far is searched, so a hole must not shift them.
TEST_F(MpegVideo, PassesOverAHoleAsOverItsZeros) {
  const std::string late_group = "\0\0\1\xB8\0\x0A\0\x40"s;     // 32 seconds later than kGroup
  for (std::size_t hole = 8192; hole < 160000; hole += 4096) {  // whole pages are holes
    const auto shown = [&] {
      const VideoInfo info = probe(path);
      return row_of("", output, info);
    };
    for (const std::string& head : {kSequence, kSequence + kGroup, kGroup}) {
      const std::string tail = kSequence + kGroup + late_group;
      folder.write("video.mpg", head + std::string(hole - head.size(), '\0') + tail);
      const Row expected = shown();
      folder.write_sparse("video.mpg", head, hole, tail);
      EXPECT_EQ(shown(), expected) << hole << ' ' << head.size();
    }
  }
  folder.write_sparse("video.mpg", kSequence + kGroup, std::uintmax_t{1} << 42, late_group);
  EXPECT_EQ(probe(path).duration, 1);
}

TEST_F(MpegVideo, UsesWhatCameBeforeAFailedRead) {
  for (const Row& row : testing::table("mpeg_failed_reads")) {
    const std::string name = folder.write("video.mpg", row[0]);
    const testing::FailingReads failing(std::stoi(row[1]));
    testing::CapturedOutput error(2);
    const VideoInfo info = probe(name);
    EXPECT_EQ(testing::row_of(row[0], row[1], info.width, info.duration, result,
                              output.substr(0, output.find('(')), error.text()),
              row);
  }
}

TEST_F(MpegVideo, TakesFromADamagedFileWhatIsThere) {
  const std::string extensions = "\0\0\1\xB5\x14\x8A\xFF\x01\xFF\xA0\0\0\1\xB5\x23\2\2\2"s;
  const std::string whole = kSequence + extensions + kGroup;
  for (const std::string& copy : testing::damaged_copies(whole)) {
    const VideoInfo info = probe(folder.write("video.mpg", copy), 0);
    const std::size_t size = copy.size();
    if (copy != whole.substr(0, size)) continue;
    const bool found = size > whole.size() - 4;  // a start code in the last four bytes is not seen
    EXPECT_EQ(info.width, found ? 352 : 0) << size;
    EXPECT_EQ(info.mpeg_version, size > 16 ? 2 : 0) << size;
    const std::string error = size == whole.size() ? "" : "\nRead error8(" + path + ")\n";
    EXPECT_EQ(output, found ? "frame_rate_extension_n/_d 1 0\n" + error : "\nEnd of file2(" + path + ")\n")
        << size;
    EXPECT_EQ(result, size == whole.size() ? 0 : -1) << size;
  }
}

}  // namespace
}  // namespace corvexal
