#include "metadata/mp3_stream.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <string>

#include "tests/metadata/damaged_copies.h"
#include "tests/metadata/id3_bytes.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::be32;
using testing::sample;
using testing::zeros;

// Headers of MPEG 1 layer 3, 44100 Hz: frames of 208 and 417 bytes.
constexpr std::uint32_t k64 = 0xFFFB5000, k128 = 0xFFFB9000;

// `count` frames of `length` bytes that hold nothing but their header.
std::string frames(int count, std::uint32_t header, std::size_t length) {
  std::string stream;
  while (count-- > 0) stream += be32(header) + zeros(length - 4);
  return stream;
}

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
  const struct {
    std::uint32_t header;
    std::int32_t length, bitrate, samplerate;
  } rows[] = {{0xFFFA9203, 418, 128, 44100}, {0xFFFBE8C2, 1440, 320, 32000}, {0xFFFD1400, 96, 32, 48000},
              {0xFFFF1640, 36, 32, 48000},   {0xFFF38203, 418, 64, 22050},   {0xFFF51400, 48, 8, 24000},
              {0xFFF7E800, 768, 256, 16000}, {0xFFE51003, 104, 8, 11025},    {0xFFE3E800, 2880, 160, 8000}};
  for (const auto& [header, length, bitrate, samplerate] : rows)
    EXPECT_EQ(scan(frames(40, header, length)), (Stream{bitrate, samplerate, 40 * length * 8 / bitrate}))
        << std::hex << header;
  // Sync bits, reserved version, layer and rate, free format, a forbidden bit rate, a frame of 2881 bytes.
  for (const std::uint32_t none :
       {0xFEFB9000, 0xFFDB9000, 0xFFEB9000, 0xFFF99000, 0xFFFB9C00, 0xFFFB0000, 0xFFFBF000, 0xFFE3EA00})
    for (const std::size_t length : {417, 2881})
      EXPECT_EQ(scan(frames(40, none, length)), Stream{}) << std::hex << none;
}

TEST_F(Mp3Stream, FindsAndMeasuresFrames) {
  const struct {
    const char* name;
    Stream stream;
  } rows[] = {{"false-frame-in-front", {128, 44100, 208}},
              {"half-a-sync-in-front", {128, 44100, 208}},
              {"false-frame-at-the-end", {0, 0, 0}},
              {"decoy-in-tag", {128, 44100, 208}},
              {"decoy-in-loose-tag", {64, 44100, 677}},
              {"tag-of-any-size", {0, 0, 0}},
              {"tag-size-with-top-bit", {128, 44100, 208}},
              {"xing-mpeg1-mono", {128, 44100, 2612}},
              {"xing-mpeg2", {64, 24000, 2400}},
              {"xing-mpeg25-mono-odd-case", {64, 8000, 7200}},
              {"xing-count-of-17-bits", {128, 44100, 261}},
              {"xing-without-count", {128, 44100, 125}},
              {"xing-at-index-974", {128, 44100, 2612}},
              {"info-instead-of-xing", {0, 0, 0}},
              {"middle-of-64", {64, 44100, 1405}},
              {"mean-of-96", {96, 44100, 1042}},
              {"ten-frames-left", {192, 44100, 538}},
              {"nine-frames-left", {128, 44100, 808}},
              {"short-middle", {128, 44100, 338}}};
  for (const auto& row : rows) {
    EXPECT_EQ(scan_file(sample("../fuzz/corpus/mp3_stream/").append(row.name).append(".mp3")), row.stream)
        << row.name;
    EXPECT_EQ(result, 0) << row.name;
  }
  // The search looks at 975 bytes a block.
  for (const std::size_t junk : {973U, 974U, 975U, 976U, 1949U, 1950U})
    EXPECT_EQ(scan(zeros(junk) + frames(20, k128, 417)), (Stream{128, 44100, 521})) << junk;
}

TEST_F(Mp3Stream, KeepsALengthThatIsKnownAndEachFieldsRange) {
  const std::string path = folder.write("song.mp3", frames(2, 0xFFE31800, 144));
  std::filesystem::resize_file(path, 5000000000);
  EXPECT_EQ(scan_file(path), (Stream{8, 8000, INT32_MAX}));
  EXPECT_EQ(song.file_size, INT32_MAX);
  song.song_length = 7;
  EXPECT_EQ(scan_get_mp3fileinfo(path, song), 0);
  EXPECT_EQ(song.song_length, 7);
}

// Where blocks begin decides which frame is found, so a hole must not shift them.
TEST_F(Mp3Stream, PassesOverAHoleAsOverItsZeros) {
  const std::string tail = zeros(900) + frames(1, k64, 208) + be32(k64) + zeros(3000) + frames(20, k128, 417);
  for (const std::size_t hole : {1'000'000U, 1'000'333U, 1'000'974U}) {
    const Stream expected = scan("head" + zeros(hole - 4) + tail);
    EXPECT_EQ(scan_file(folder.write_sparse("song.mp3", "head", hole, tail)), expected) << hole;
  }
  EXPECT_EQ(
      scan_file(folder.write_sparse("song.mp3", "head", std::uintmax_t{1} << 40, frames(20, k128, 417)))[0],
      128);
}

TEST_F(Mp3Stream, ReadsWhatEncodersWriteAndSurvivesDamage) {
  EXPECT_EQ(scan_file(sample("music/cbr-128.mp3")), (Stream{128, 44100, 2063}));
  EXPECT_EQ(scan_file(sample("music/vbr.mp3")), (Stream{48, 44100, 2037}));
  EXPECT_EQ(scan_file(sample("music/mpeg2-22050-mono.mp3")), (Stream{64, 22050, 3056}));
  for (const std::string& copy :
       testing::damaged_copies(testing::id3_tag_bytes(3, zeros(900)) + zeros(7) + frames(9, k128, 417))) {
    scan(copy);
    EXPECT_EQ(result, copy.size() < 1024 ? -1 : 0) << copy.size();
    EXPECT_EQ(song.bitrate == 0, song.samplerate == 0) << copy.size();
  }
}

}  // namespace
}  // namespace corvexal
