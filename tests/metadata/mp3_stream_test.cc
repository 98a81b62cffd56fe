#include "metadata/mp3_stream.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "base/log.h"
#include "tests/support/bytes.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;
using testing::TestFolder;
using testing::zeros;

std::string bytes(std::initializer_list<int> values) {
  return {values.begin(), values.end()};
}

// `count` frames of `length` bytes that hold nothing but their header.
std::string frames(int count, const std::string& header, std::size_t length) {
  std::string stream;
  for (int i = 0; i < count; ++i) stream += header + zeros(length - header.size());
  return stream;
}

const std::string kFrame128 = bytes({0xFF, 0xFB, 0x90, 0x00});  // MPEG 1 layer 3, 44100 Hz, stereo, 417 bytes
const std::string kFrame64 = bytes({0xFF, 0xFB, 0x50, 0x00});   // the same with 208 bytes
constexpr std::size_t kLength128 = 417, kLength64 = 208;

std::string stream_128(int count) {
  return frames(count, kFrame128, kLength128);
}

// An ID3v2 tag with `content`, its header saying so.
std::string id3_tag(const std::string& content) {
  const int size = static_cast<int>(content.size());
  return "ID3" + bytes({3, 0, 0, 0, 0, size >> 7 & 0x7F, size & 0x7F}) + content;
}

struct Scanned {
  int result;
  SongInfo song;
};

class Mp3Stream : public ::testing::Test {
 protected:
  Scanned scan(const std::string& content, std::int32_t known_length = 0) {
    Scanned scanned{};
    scanned.song.song_length = known_length;
    scanned.result = scan_get_mp3fileinfo(folder_.write("song.mp3", content), scanned.song);
    EXPECT_EQ(scanned.song.file_size, static_cast<std::int32_t>(content.size()));
    return scanned;
  }

  void expect_nothing_found(const std::string& content, const char* row) {
    const auto [result, song] = scan(content);
    EXPECT_EQ(result, 0) << row;
    EXPECT_EQ(song.bitrate, 0) << row;
    EXPECT_EQ(song.samplerate, 0) << row;
    EXPECT_EQ(song.song_length, 0) << row;
  }

  TestFolder folder_;
};

TEST(Mp3Header, DecodesEveryVersionAndLayer) {
  using Header = std::array<std::uint8_t, 4>;
  using Fields = std::array<std::int32_t, 8>;
  const struct {
    Header header;
    double version;
    Fields fields;  // layer, kbit/s, Hz, samples, bytes, stereo, side information, padding
  } rows[] = {
      {{0xFF, 0xFB, 0x90, 0x00}, 1.0, {3, 128, 44100, 1152, 417, 1, 32, 0}},
      {{0xFF, 0xFA, 0x92, 0x03}, 1.0, {3, 128, 44100, 1152, 418, 0, 17, 1}},
      {{0xFF, 0xFB, 0xE8, 0xC2}, 1.0, {3, 320, 32000, 1152, 1440, 1, 32, 0}},
      {{0xFF, 0xFD, 0x14, 0x00}, 1.0, {2, 32, 48000, 1152, 96, 1, 32, 0}},
      {{0xFF, 0xFD, 0xE8, 0x00}, 1.0, {2, 384, 32000, 1152, 1728, 1, 32, 0}},
      {{0xFF, 0xFF, 0x16, 0x40}, 1.0, {1, 32, 48000, 384, 36, 1, 32, 1}},
      {{0xFF, 0xFF, 0xE8, 0x03}, 1.0, {1, 448, 32000, 384, 672, 0, 17, 0}},
      {{0xFF, 0xF3, 0x80, 0x00}, 2.0, {3, 64, 22050, 576, 417, 1, 17, 0}},
      {{0xFF, 0xF3, 0x82, 0x03}, 2.0, {3, 64, 22050, 576, 418, 0, 9, 1}},
      {{0xFF, 0xF5, 0x14, 0x00}, 2.0, {2, 8, 24000, 1152, 48, 1, 17, 0}},
      {{0xFF, 0xF7, 0xE8, 0x00}, 2.0, {1, 256, 16000, 384, 768, 1, 17, 0}},
      {{0xFF, 0xE3, 0xE8, 0x00}, 2.5, {3, 160, 8000, 576, 2880, 1, 17, 0}},  // the longest there may be
      {{0xFF, 0xE5, 0x10, 0x03}, 2.5, {2, 8, 11025, 1152, 104, 0, 9, 0}},
      {{0xFF, 0xE7, 0x14, 0x00}, 2.5, {1, 32, 12000, 384, 128, 1, 17, 0}},
  };
  for (const auto& [header, version, fields] : rows) {
    Mp3FrameInfo info;
    EXPECT_EQ(mp3_decode_header(header, info), 0) << ::testing::PrintToString(header);
    EXPECT_EQ(info.version, version) << ::testing::PrintToString(header);
    EXPECT_EQ((Fields{info.layer, info.bitrate, info.samplerate, info.samples_per_frame, info.frame_length,
                      info.stereo, info.side_info_size, info.padding}),
              fields)
        << ::testing::PrintToString(header);
  }
  const Header none[] = {
      {0xFE, 0xFB, 0x90, 0x00},  // first sync byte
      {0xFF, 0xDB, 0x90, 0x00},  // eleventh sync bit
      {0xFF, 0xEB, 0x90, 0x00},  // reserved version
      {0xFF, 0xF9, 0x90, 0x00},  // reserved layer
      {0xFF, 0xFB, 0x00, 0x00},  // free format
      {0xFF, 0xFB, 0xF0, 0x00},  // forbidden bit rate
      {0xFF, 0xFB, 0x9C, 0x00},  // reserved sample rate
      {0xFF, 0xE3, 0xEA, 0x00},  // a frame of 2881 bytes
  };
  for (const Header& header : none) {
    Mp3FrameInfo info;
    info.valid = 1;
    EXPECT_EQ(mp3_decode_header(header, info), -1) << ::testing::PrintToString(header);
    EXPECT_EQ(info.valid, 0) << ::testing::PrintToString(header);
  }
}

TEST_F(Mp3Stream, MeasuresAConstantBitRateByItsSize) {
  const std::string content = zeros(1000) + stream_128(9592);
  const auto [result, song] = scan(content + zeros(4001000 - content.size()));
  EXPECT_EQ(result, 0);
  EXPECT_EQ(song.bitrate, 128);
  EXPECT_EQ(song.samplerate, 44100);
  EXPECT_EQ(song.song_length, 250000);
  EXPECT_EQ(scan(stream_128(20), 7).song.song_length, 7) << "a length that is known already stays";
}

TEST_F(Mp3Stream, TrustsTheFrameCountOfAXingHeader) {
  const struct {
    std::string header;
    std::size_t side_info;
    std::string tag;
    std::int32_t samplerate, length;
    const char* reason;
  } rows[] = {
      {kFrame128, 32, "Xing" + bytes({0, 0, 0, 1, 0, 0, 0x03, 0xE8}), 44100, 26122, "MPEG 1 stereo"},
      {bytes({0xFF, 0xFB, 0x90, 3}), 17, "XING" + bytes({0, 0, 0, 15, 0, 0, 0, 100}), 44100, 2612,
       "MPEG 1 mono"},
      {bytes({0xFF, 0xF3, 0x84, 0}), 17, "xing" + bytes({9, 9, 0, 1, 0, 0, 0, 100}), 24000, 2400,
       "MPEG 2 stereo"},
      {bytes({0xFF, 0xE3, 0x88, 3}), 9, "xInG" + bytes({0, 0, 0, 1, 0, 0, 0, 100}), 8000, 7200,
       "MPEG 2.5 mono"},
      {kFrame128, 32, "Xing" + bytes({0, 0, 0, 1, 0, 1, 0, 10}), 44100, 261, "only 16 bits count"},
      {kFrame128, 32, "Xing" + bytes({0, 0, 0, 14, 0, 0, 0, 100}), 44100, 125, "no frame count"},
      {kFrame128, 32, "Xing" + bytes({0, 1, 0, 0, 0, 0, 0, 100}), 44100, 125, "flags are 16 bits"},
  };
  for (const auto& row : rows) {
    std::string content = row.header + zeros(row.side_info) + row.tag;
    content += zeros(2000 - content.size());  // no second frame is asked for
    const auto [result, song] = scan(content);
    EXPECT_EQ(result, 0) << row.reason;
    EXPECT_EQ(song.samplerate, row.samplerate) << row.reason;
    EXPECT_EQ(song.song_length, row.length) << row.reason;
  }
  expect_nothing_found(kFrame128 + zeros(32) + "Info" + bytes({0, 0, 0, 1, 0, 0, 0, 9}) + zeros(2000),
                       "Info");
}

TEST_F(Mp3Stream, FindsTheFirstFrameWhereverItBegins) {
  // The search looks at 975 bytes a block.
  for (const std::size_t junk : {0U, 1U, 600U, 973U, 974U, 975U, 976U, 1023U, 1024U, 1949U, 1950U, 5000U}) {
    const std::string content = zeros(junk) + stream_128(20);
    const auto [result, song] = scan(content);
    EXPECT_EQ(song.bitrate, 128) << junk;
    EXPECT_EQ(song.song_length, 20 * 417 * 8 / 128) << junk;
  }
  // A Xing header that ends with its block.
  std::string last = zeros(974) + kFrame128 + zeros(32) + "Xing" + bytes({0, 0, 0, 1, 0, 0, 0, 100});
  EXPECT_EQ(scan(last + zeros(2)).song.song_length, 2612);
}

TEST_F(Mp3Stream, WantsASecondFrameBehindTheFirst) {
  const std::string lone = kFrame64 + zeros(300);
  EXPECT_EQ(scan(lone + stream_128(20)).song.song_length, 20 * 417 * 8 / 128);
  const std::string half = bytes({0xFF});
  EXPECT_EQ(scan(half + half + stream_128(20)).song.song_length, 20 * 417 * 8 / 128);
  // A false frame that ends with the file ends the search, whatever else there is.
  expect_nothing_found(zeros(700) + kFrame128 + zeros(414), "second header cut");
  expect_nothing_found(zeros(700) + kFrame128 + zeros(320), "second header outside");
}

TEST_F(Mp3Stream, LooksRightBehindAnId3TagFirst) {
  const std::string decoy = frames(10, kFrame64, kLength64);
  EXPECT_EQ(scan(id3_tag(decoy) + stream_128(40)).song.song_length, 40 * 417 * 8 / 128);
  // With anything in between, the tag's own bytes are searched too.
  const std::string content = id3_tag(decoy) + zeros(1) + stream_128(40);
  EXPECT_EQ(scan(content).song.song_length, static_cast<std::int32_t>((content.size() - 10) * 8 / 128));
  EXPECT_EQ(scan(id3_tag(zeros(300)) + zeros(2000) + stream_128(40)).song.song_length, 40 * 417 * 8 / 128);
}

TEST_F(Mp3Stream, AnId3TagMayClaimAnySize) {
  const std::string rows[] = {bytes({0xFF, 0xFF, 0xFF, 0xFF}), bytes({0x7F, 0x7F, 0x7F, 0x7F}),
                              bytes({0, 0, 0x3D, 0})};
  for (const std::string& size : rows)
    expect_nothing_found("ID3" + bytes({3, 0, 0}) + size + stream_128(20),
                         ::testing::PrintToString(size).c_str());
  // The top bits are left in: 0x80 in the last byte stands for 128 bytes.
  const std::string tag =
      "ID3" + bytes({3, 0, 0, 0, 0, 0, 0x80}) + frames(3, kFrame64, 128 / 2).substr(0, 128);
  EXPECT_EQ(scan(tag + stream_128(40)).song.song_length, 40 * 417 * 8 / 128);
}

TEST_F(Mp3Stream, TakesTheMeanBitRateOfTenFramesInTheMiddle) {
  const std::string head = stream_128(30);
  const std::string frame_192 = bytes({0xFF, 0xFB, 0xB0, 0});
  const std::string pair = kFrame128 + zeros(kLength128 - 4) + kFrame64 + zeros(kLength64 - 4);
  std::string pairs;
  for (int i = 0; i < 30; ++i) pairs += pair;
  const struct {
    std::string content;
    std::int32_t bitrate;
    const char* reason;
  } rows[] = {
      {head + frames(90, kFrame64, kLength64), 64, "the middle, not the start"},
      {head + pairs, 96, "the mean"},
      {stream_128(16) + frames(10, frame_192, 626), 192, "ten frames are left"},
      {stream_128(15) + frames(9, frame_192, 626), 128, "nine frames are left"},
      {stream_128(16) + frames(9, frame_192, 626) + zeros(626), 128, "nine frames and no tenth"},
      {head + zeros(20000), 128, "no frame in the middle"},
      {stream_128(13), 128, "less than 2900 bytes from the middle on"},
      {frames(20, bytes({0xFF, 0xFB, 0x10, 0}), 104), 32, "small"},
  };
  for (const auto& row : rows) EXPECT_EQ(scan(row.content).song.bitrate, row.bitrate) << row.reason;
}

TEST_F(Mp3Stream, SaysWhyThereIsNothing) {
  SongInfo song;
  EXPECT_EQ(scan_get_mp3fileinfo(folder_.path() + "/missing", song), -1);
  EXPECT_EQ(scan_get_mp3fileinfo(folder_.path(), song), -1);
  EXPECT_EQ(scan(zeros(1023)).result, -1);
  EXPECT_EQ(scan("").result, -1);
  expect_nothing_found(zeros(1024), "zeros");
  expect_nothing_found(std::string(100000, '\xFF'), "sync bytes");
  expect_nothing_found(frames(1000, bytes({0xFF, 0xFB, 0x00, 0}), 100), "free format");
}

TEST_F(Mp3Stream, CountsInMoreThan32Bits) {
  const struct {
    std::string header;
    std::size_t length;
    std::int32_t song_length;
  } rows[] = {{kFrame128, kLength128, 312500000}, {bytes({0xFF, 0xE3, 0x18, 0}), 144, INT32_MAX}};
  for (const auto& row : rows) {
    const std::string path = folder_.write("song.mp3", frames(2, row.header, row.length));
    std::filesystem::resize_file(path, 5000000000);
    SongInfo song;
    EXPECT_EQ(scan_get_mp3fileinfo(path, song), 0);
    EXPECT_EQ(song.file_size, INT32_MAX);
    EXPECT_EQ(song.song_length, row.song_length);
  }
}

// Where blocks begin decides which frame is found, so a hole must not shift them.
TEST_F(Mp3Stream, PassesOverAHoleAsOverItsZeros) {
  const std::string decoy = zeros(900) + kFrame64 + zeros(kLength64 - 4) + kFrame64 + zeros(3000);
  for (const std::size_t hole : {100'000U, 1'000'000U, 1'000'333U, 1'000'974U}) {
    const std::string tail = decoy + stream_128(20);
    const auto [result, expected] = scan("head" + zeros(hole - 4) + tail);
    SongInfo song;
    EXPECT_EQ(scan_get_mp3fileinfo(folder_.write_sparse("song.mp3", "head", hole, tail), song), result);
    EXPECT_EQ(song.bitrate, expected.bitrate) << hole;
    EXPECT_EQ(song.song_length, expected.song_length) << hole;
  }
  SongInfo song;
  const std::string path = folder_.write_sparse("song.mp3", "head", std::uintmax_t{1} << 40, stream_128(20));
  EXPECT_EQ(scan_get_mp3fileinfo(path, song), 0);
  EXPECT_EQ(song.bitrate, 128);
}

TEST_F(Mp3Stream, SurvivesCutAndRandomFiles) {
  std::mt19937 random(1);
  std::string noise(40000, '\0');
  for (char& byte : noise) byte = static_cast<char>(random() % 4 == 0 ? 0xFF : random());
  for (const std::string& content : {id3_tag(zeros(900)) + zeros(7) + stream_128(9), noise}) {
    const std::string path = folder_.write("song.mp3", content);
    for (std::size_t size = std::min<std::size_t>(content.size(), 5000); size > 0;
         size -= std::min<std::size_t>(size, 3)) {
      std::filesystem::resize_file(path, size);
      SongInfo song;
      EXPECT_EQ(scan_get_mp3fileinfo(path, song), size < 1024 ? -1 : 0) << size;
      EXPECT_EQ(song.bitrate == 0, song.samplerate == 0) << size;
    }
  }
}

// The rules in their plainest form, for a file without a tag that lies in memory.
class PlainSearch {
 public:
  explicit PlainSearch(const std::string& content) : content_(content) {}

  // Offset of the first frame; npos without one.
  [[nodiscard]] std::size_t first_frame() const {
    for (std::size_t block = 0; block + 1024 <= content_.size(); block += 975)
      for (std::size_t at = block; at <= block + 974; ++at)
        if (const int found = is_frame(at); found != 0) return found > 0 ? at : std::string::npos;
    return std::string::npos;
  }

  // The mean of ten frames from the middle on, or `otherwise`.
  [[nodiscard]] std::int32_t bitrate(std::int32_t otherwise) const {
    const std::size_t middle = content_.size() / 2;
    if (middle + 2900 > content_.size()) return otherwise;
    std::size_t at = middle;
    while (at < middle + 2896 && is_frame(at) == 0) ++at;
    if (at >= middle + 2896 || is_frame(at) < 0) return otherwise;
    std::int32_t sum = 0;
    for (int i = 0; i < 10; ++i) {
      const Mp3FrameInfo info = decoded(at);
      if (info.valid == 0) return otherwise;
      sum += info.bitrate;
      at += static_cast<std::size_t>(info.frame_length);
    }
    return sum / 10;
  }

  [[nodiscard]] Mp3FrameInfo decoded(std::size_t at) const {
    Mp3FrameInfo info;
    std::array<std::uint8_t, 4> header{};
    if (at + 4 <= content_.size())
      std::copy_n(content_.begin() + static_cast<std::ptrdiff_t>(at), 4, header.begin());
    mp3_decode_header(header, info);
    return info;
  }

 private:
  // 1 for a frame, 0 for none, -1 when the file ends before that is known.
  [[nodiscard]] int is_frame(std::size_t at) const {
    const Mp3FrameInfo info = decoded(at);
    if (info.valid == 0) return 0;
    const std::size_t next = at + static_cast<std::size_t>(info.frame_length);
    return next + 4 > content_.size() ? -1 : decoded(next).valid;
  }

  const std::string& content_;
};

TEST_F(Mp3Stream, FindsWhatAPlainSearchFinds) {
  const std::string headers[] = {kFrame128,
                                 kFrame64,
                                 bytes({0xFF, 0xE3, 0xE8, 0}),
                                 bytes({0xFF, 0xFF, 0x16, 0}),
                                 bytes({0xFF, 0xFB, 0xE8, 0}),
                                 bytes({0xFF, 0xFF, 0xFF, 0xFF})};
  std::mt19937 random(7);
  int none = 0, in_later_blocks = 0, averaged = 0;
  for (int round = 0; round < 600; ++round) {
    std::string content(1024 + random() % 30000, '\0');
    for (std::size_t at = 0, gap = 6U << random() % 7; at + 4 <= content.size(); at += 4 + random() % gap)
      content.replace(at, 4, headers[random() % std::size(headers)]);
    if (round % 3 == 0)
      content.replace(content.size() / 2 + random() % 3000 % (content.size() / 4), 0, stream_128(12));
    const PlainSearch plain(content);
    const std::size_t first = plain.first_frame();
    const Mp3FrameInfo info = first == std::string::npos ? Mp3FrameInfo{} : plain.decoded(first);
    const std::int32_t bitrate = info.valid != 0 ? plain.bitrate(info.bitrate) : 0;
    const SongInfo song = scan(content).song;
    EXPECT_EQ(song.samplerate, info.samplerate) << round;
    EXPECT_EQ(song.bitrate, bitrate) << round;
    EXPECT_EQ(song.song_length, bitrate == 0 ? 0
                                             : static_cast<std::int32_t>(
                                                   static_cast<double>(content.size() - first) * 8 / bitrate))
        << round;
    none += info.valid == 0 ? 1 : 0;
    in_later_blocks += info.valid != 0 && first > 975 ? 1 : 0;
    averaged += bitrate != info.bitrate ? 1 : 0;
  }
  EXPECT_GT(none, 20);
  EXPECT_GT(in_later_blocks, 20);
  EXPECT_GT(averaged, 20);
}

// How many times this process has called read and its like; nothing where the kernel does not count.
std::optional<long> reads_so_far() {
  std::ifstream counters("/proc/self/io");
  std::string name;
  for (long value = 0; counters >> name >> value;)
    if (name == "syscr:") return value;
  return std::nullopt;
}

TEST_F(Mp3Stream, ReadsAFileOfFalseSyncsBlockByBlock) {
  std::string content;
  while (content.size() < 1000000) content += bytes({0xFF, 0xE3, 0xE2, 0});
  const std::optional<long> before = reads_so_far();
  expect_nothing_found(content, "false syncs");
  const std::optional<long> after = reads_so_far();
  if (!before || !after) GTEST_SKIP() << "the kernel does not count reads";
  EXPECT_LT(*after - *before, 2 * 1000000 / 975 + 50);
}

TEST_F(Mp3Stream, LogsItsWay) {
  const std::string xing = kFrame128 + zeros(32) + "Xing" + bytes({0, 0, 0, 1, 0, 0, 0, 100}) + zeros(800);
  const struct {
    std::string content, log;
  } rows[] = {
      {zeros(10), "Short file: PATH\n"},
      {id3_tag(kFrame128 + zeros(300) + kFrame128 + zeros(2000)),
       "Found ID3 header\nHeader length: 2308\nReading in new block at 2318\nShort read: PATH\n"},
      {id3_tag(zeros(10)) + zeros(968) + kFrame64 + zeros(700) + stream_128(4) + zeros(3000),
       "Found ID3 header\nHeader length: 10\nReading in new block at 20\n"
       "Bad header... dropping back for full frame search\n"
       "Reading in new block at 0\nBlock exhausted\n"
       "Reading in new block at 975\nvalid header at 13\nFound valid frame at 03dc\nChecking at 04ac\n"
       "Didn't pan out.\nvalid header at 717\nFound valid frame at 069c\nChecking at 083d\n"
       " MPEG Version: 1\n Layer: 3\n Sample Rate: 44100\n Bit Rate: 128\n"
       "Starting averaging bitrate\nCould not find frame... quitting\n Song Length: 291\n"},
      {zeros(700) + kFrame128 + zeros(400),
       "Reading in new block at 0\nvalid header at 700\nFound valid frame at 02bc\nChecking at 045d\n"
       "Could not read frame header: PATH\n"},
      {xing + stream_128(30),
       "Reading in new block at 0\nvalid header at 0\n"
       " MPEG Version: 1\n Layer: 3\n Sample Rate: 44100\n Bit Rate: 128\n"
       "Found Xing header\nXing Flags: 01\nStarting averaging bitrate\nOld bitrate: 128\nNew bitrate: 128\n"
       " Song Length: 2612\n"},
  };
  const int level_before = log_level;
  log_level = 9;
  for (const auto& row : rows) {
    std::string expected = row.log;
    if (const auto at = expected.find("PATH"); at != std::string::npos)
      expected.replace(at, 4, folder_.path() + "/song.mp3");
    CapturedOutput errors(2);
    scan(row.content);
    EXPECT_EQ(errors.text(), expected);
  }
  log_level = 1;
  CapturedOutput errors(2);
  scan(rows[3].content);
  EXPECT_EQ(errors.text(), "Could not read frame header: " + folder_.path() + "/song.mp3\n");
  log_level = level_before;
}

TEST(Mp3Samples, GiveWhatTheirEncoderWasToldTo) {
  const struct {
    const char* name;
    std::int32_t file_size, bitrate, samplerate, length;
  } rows[] = {
      {"music/cbr-128.mp3", 33074, 128, 44100, 2063},
      {"music/vbr.mp3", 13866, 48, 44100, 2037},
      {"music/mpeg2-22050-mono.mp3", 24658, 64, 22050, 3056},
  };
  for (const auto& row : rows) {
    SongInfo song;
    EXPECT_EQ(scan_get_mp3fileinfo(testing::sample(row.name), song), 0) << row.name;
    EXPECT_EQ(song.file_size, row.file_size) << row.name;
    EXPECT_EQ(song.bitrate, row.bitrate) << row.name;
    EXPECT_EQ(song.samplerate, row.samplerate) << row.name;
    EXPECT_EQ(song.song_length, row.length) << row.name;
  }
}

}  // namespace
}  // namespace corvexal
