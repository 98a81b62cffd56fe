// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp3_stream.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "metadata/mp3_header.h"
#include "tests/metadata/failing_reads.h"
#include "tests/metadata/id3_bytes.h"
#include "tests/metadata/logged.h"
#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

using testing::be32;
using testing::repeated;
using testing::Row;
using testing::zeros;

// Frames of MPEG 1 layer 3, 44100 Hz, that hold nothing but their header.
const std::string k64 = be32(0xFFFB5000) + zeros(204), k128 = be32(0xFFFB9000) + zeros(413);

class Mp3Stream : public ::testing::Test {
 protected:
  // Bit rate, sample rate and length of the song; `song` and `result` have the rest.
  Row scan_file(const std::string& path) {
    song = {};
    result = scan_get_mp3fileinfo(path, song);
    return testing::row_of(song.bitrate, song.samplerate, song.song_length);
  }
  Row scan(const std::string& content) { return scan_file(folder.write("song.mp3", content)); }

  SongInfo song;
  int result = 0;
  testing::WorkingFolder folder;
};

TEST(Mp3Header, KnowsTheBitRatesOfTheStandard) {
  for (const Row& row : testing::table("mp3_bitrates")) {
    for (std::size_t index = 1; index < row.size(); ++index) {
      const std::uint8_t header[] = {0xFF, static_cast<std::uint8_t>(row[0][1]),
                                     static_cast<std::uint8_t>(index << 4 | 4), 0};
      Mp3FrameInfo info;
      EXPECT_EQ(mp3_decode_header(header, info), 0);
      EXPECT_EQ(std::to_string(info.bitrate), row[index]) << ::testing::PrintToString(row[0]) << index;
    }
  }
}

TEST(Mp3Header, SaysWhatItsBitsStandFor) {
  Mp3FrameInfo info;
  for (const Row& row : testing::table("mp3_headers")) {
    const Bytes header{reinterpret_cast<const std::uint8_t*>(row[0].data()), row[0].size()};
    const int decoded = mp3_decode_header(header.first<kMp3HeaderSize>(), info);
    EXPECT_EQ(testing::row_of(row[0], decoded, info.valid, static_cast<int>(info.version * 10), info.layer,
                              info.bitrate, info.samplerate, info.padding, info.stereo, info.header_id,
                              info.samples_per_frame, info.side_info_size, info.frame_length),
              row);
  }
}

TEST_F(Mp3Stream, FindsAndMeasuresFrames) {
  for (const Row& row : testing::table("mp3_stream")) {
    EXPECT_EQ(scan_file(testing::file_of(row, folder)), Row(row.begin() + 2, row.end())) << row[0];
    EXPECT_EQ(result, 0) << row[0];
  }
}

TEST_F(Mp3Stream, TellsItsSearchInTheLog) {
  for (const Row& row : testing::table("mp3_logs")) {
    std::filesystem::remove("song.mp3");
    if (row[0] != "missing.mp3") folder.write("song.mp3", row[1]);
    const auto scan_song = [&] { scan_file("song.mp3"); };
    EXPECT_EQ(testing::logged(std::stoi(row[2]), 8, scan_song), row[3]) << row[0];
    EXPECT_EQ(testing::logged(9, ~8U, scan_song), "") << row[0];
  }
  const testing::FailingReads failing(1000);
  EXPECT_EQ(testing::logged(1, 8, [&] { scan(k128 + k128 + k128); }), "Error reading: Input/output error\n");
  EXPECT_EQ(result, -1);
}

TEST_F(Mp3Stream, KeepsALengthThatIsKnownAndEachFieldsRange) {
  const std::string path = folder.write("song.mp3", repeated(be32(0xFFE31800) + zeros(140), 2));
  std::filesystem::resize_file(path, 5000000000);
  EXPECT_EQ(scan_file(path), (Row{"8", "8000", "2147483647"}));
  EXPECT_EQ(song.file_size, INT32_MAX);
  song.song_length = 7;
  EXPECT_EQ(scan_get_mp3fileinfo(path, song), 0);
  EXPECT_EQ(song.song_length, 7);
}

// Where blocks begin decides whether the last frames are found, so a hole must not shift them.
TEST_F(Mp3Stream, PassesOverAHoleAsOverItsZeros) {
  const std::string stream = repeated(k128, 20), tail = k64 + k64 + zeros(590);
  for (std::size_t hole = 102400; hole < 348160; hole += 4096) {  // whole pages are holes
    const Row expected = scan("head" + zeros(hole - 4) + tail);
    EXPECT_EQ(scan_file(folder.write_sparse("song.mp3", "head", hole, tail)), expected) << hole;
  }
  EXPECT_EQ(scan_file(folder.write_sparse("song.mp3", "head", std::uintmax_t{1} << 40, stream))[0], "128");
}

TEST_F(Mp3Stream, SurvivesDamage) {
  for (const std::string& copy :
       testing::damaged_copies(testing::id3_tag_bytes(3, zeros(300)) + zeros(7) + repeated(k128, 5))) {
    scan(copy);
    EXPECT_EQ(result, copy.size() < 1024 ? -1 : 0) << copy.size();
    EXPECT_EQ(song.bitrate == 0, song.samplerate == 0) << copy.size();
  }
}

}  // namespace
}  // namespace corvexal
