#include "metadata/mp3_stream.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

#include "tests/metadata/id3_bytes.h"
#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

using testing::be32;
using testing::repeated;
using testing::zeros;

// Frames of MPEG 1 layer 3, 44100 Hz, that hold nothing but their header.
const std::string k64 = be32(0xFFFB5000) + zeros(204), k128 = be32(0xFFFB9000) + zeros(413);

using Stream = std::array<std::int32_t, 3>;  // kbit/s, Hz, ms

class Mp3Stream : public ::testing::Test {
 protected:
  // What the file gives to a song; `song` and `result` have the rest.
  Stream scan_file(const std::string& path) {
    song = {};
    result = scan_get_mp3fileinfo(path, song);
    return {song.bitrate, song.samplerate, song.song_length};
  }
  Stream scan(const std::string& content) { return scan_file(folder.write("song.mp3", content)); }

  SongInfo song;
  int result = 0;
  testing::TestFolder folder;
};

TEST_F(Mp3Stream, KnowsEveryVersionAndLayer) {
  for (const testing::Row& row : testing::table("mp3_headers")) {
    const std::string frame = row[0] + zeros(std::stoul(row[1]) - row[0].size());
    const Stream stream = scan(repeated(frame, 40));
    EXPECT_EQ(testing::row_of(row[0], std::ssize(frame), stream[0], stream[1]), row);
  }
}

TEST_F(Mp3Stream, FindsAndMeasuresFrames) {
  for (const testing::Row& row : testing::table("mp3_stream")) {
    const Stream stream = scan_file(testing::sample("../" + row[0]));
    EXPECT_EQ(testing::row_of(row[0], stream[0], stream[1], stream[2]), row);
    EXPECT_EQ(result, 0) << row[0];
  }
  // The search looks at 975 bytes a block.
  for (const std::size_t junk : {973U, 974U, 975U, 976U, 1949U, 1950U})
    EXPECT_EQ(scan(zeros(junk) + repeated(k128, 20)), (Stream{128, 44100, 521})) << junk;
}

TEST_F(Mp3Stream, KeepsALengthThatIsKnownAndEachFieldsRange) {
  const std::string path = folder.write("song.mp3", repeated(be32(0xFFE31800) + zeros(140), 2));
  std::filesystem::resize_file(path, 5000000000);
  EXPECT_EQ(scan_file(path), (Stream{8, 8000, INT32_MAX}));
  EXPECT_EQ(song.file_size, INT32_MAX);
  song.song_length = 7;
  EXPECT_EQ(scan_get_mp3fileinfo(path, song), 0);
  EXPECT_EQ(song.song_length, 7);
}

// Where blocks begin decides which frame is found, so a hole must not shift them.
TEST_F(Mp3Stream, PassesOverAHoleAsOverItsZeros) {
  const std::string stream = repeated(k128, 20), tail = zeros(900) + k64 + k64 + zeros(3000) + stream;
  for (const std::size_t hole : {1'000'000U, 1'000'333U, 1'000'974U}) {
    const Stream expected = scan("head" + zeros(hole - 4) + tail);
    EXPECT_EQ(scan_file(folder.write_sparse("song.mp3", "head", hole, tail)), expected) << hole;
  }
  EXPECT_EQ(scan_file(folder.write_sparse("song.mp3", "head", std::uintmax_t{1} << 40, stream))[0], 128);
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
