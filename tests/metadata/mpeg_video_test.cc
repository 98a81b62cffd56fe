#include "metadata/mpeg_video.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "tests/support/test_files.h"

namespace corvexal {

static std::ostream& operator<<(std::ostream& out, const VideoInfo& info) {
  return out << info.width << " x " << info.height << ", rates " << info.frame_rate << " " << info.bit_rate
             << ", MPEG " << info.mpeg_version << ", system " << info.video_format << ", " << info.duration
             << " s";
}

namespace {

using testing::CapturedOutput;
using testing::sample;
using testing::TestFolder;

constexpr std::size_t kBlock = 4096, kSearched = 102400;

std::string be(std::int64_t value, int size) {
  std::string bytes;
  while (size-- > 0) bytes += static_cast<char>(value >> 8 * size);
  return bytes;
}

std::string zeros(std::size_t count) {
  return std::string(count, '\0');
}

std::string start_code(int code) {
  return be(0x100 | code, 4);
}

std::string sequence(int width, int height, int aspect_ratio, int frame_rate, int bit_rate = 2000) {
  return start_code(0xB3) + be(width << 12 | height, 3) + be(aspect_ratio << 4 | frame_rate, 1) +
         be(bit_rate << 6 | 0x3F, 3) + "\xFF";
}

std::string extension(int n = 0, int d = 0) {
  return start_code(0xB5) + "\x14\x8A\xFF\x01\xFF" + be(0x80 | n << 5 | d, 1);
}

std::string display_extension(int video_format, int identifier = 2) {
  return start_code(0xB5) + be(identifier << 4 | video_format << 1 | 1, 1) + "\x02\x02\x02";
}

std::string group(int hours = 0, int minutes = 0, int seconds = 0, bool marker = true) {
  return start_code(0xB8) +
         be(hours << 26 | minutes << 20 | (marker ? 1 : 0) << 19 | seconds << 13 | 0x40, 4);
}

std::string group_at(int seconds) {
  return group(seconds / 3600, seconds / 60 % 60, seconds % 60);
}

const std::string kPicture = start_code(0x00) + "picture ";

struct Probed {
  int result;
  VideoInfo info;
  std::string output;
};

Probed probe_file(const std::string& path, std::int32_t asked = 0) {
  Probed probed{};
  probed.info.duration = asked;
  CapturedOutput output;
  probed.result = get_video_info(path, probed.info);
  probed.output = output.text();
  return probed;
}

class MpegVideo : public ::testing::Test {
 protected:
  Probed probe(const std::string& content, std::int32_t asked = 0) {
    return probe_file(folder_.write("video.mpg", content), asked);
  }
  [[nodiscard]] std::string end_of_file() const { return "\nEnd of file2(" + path() + ")\n"; }
  [[nodiscard]] std::string read_error(int number) const {
    return "\nRead error" + std::to_string(number) + "(" + path() + ")\n";
  }
  [[nodiscard]] std::string path() const { return folder_.path() + "/video.mpg"; }

  TestFolder folder_;
};

TEST_F(MpegVideo, IsProbedByExtensionOnly) {
  const std::string content = sequence(352, 288, 8, 3) + group() + kPicture;
  for (const char* name : {"a.mpg", "a.b.MPEG", "a.Mpeg2"}) {
    const Probed probed = probe_file(folder_.write(name, content));
    EXPECT_EQ(probed.result, 0) << name;
    EXPECT_EQ(probed.info, (VideoInfo{352, 288, 3, 0, 1, 1, 0})) << name;
  }
  for (const char* name : {"a.avi", "a.mpeg1", "mpg", "a.mpg.", "a.mpg/b", "a.vob"}) {
    const TestFolder other;
    const Probed probed = probe_file(other.write(name, content));
    EXPECT_EQ(probed.result, -1) << name;
    EXPECT_EQ(probed.info, VideoInfo{}) << name;
    EXPECT_EQ(probed.output, "") << name;
  }
  const Probed missing = probe_file("/nowhere/a.mpg");
  EXPECT_EQ(missing.result, -1);
  EXPECT_EQ(missing.output, "Can not open </nowhere/a.mpg> file\n");
}

TEST_F(MpegVideo, TellsTheVersionByWhatFollowsTheSequenceHeader) {
  const std::string head = sequence(720, 480, 2, 4);
  const struct {
    const char* name;
    std::string content;
    std::int32_t version, video_format;
  } rows[] = {
      {"group of pictures", head + group(), 1, 2},
      {"user data, then a group of pictures", head + start_code(0xB2) + "text" + group(), 1, 2},
      {"extension", head + extension() + group(), 2, 2},
      {"user data, then an extension", head + start_code(0xB2) + "text" + extension() + group(), 2, 2},
      {"user data, then an extension in the next block",
       head + start_code(0xB2) + zeros(kBlock) + extension() + group(), 1, 2},
      {"display extension", head + extension() + display_extension(1) + group(), 2, 1},
      {"display extension behind user data",
       head + extension() + start_code(0xB2) + "text" + display_extension(1) + group(), 2, 1},
      {"display extension blocks later",
       head + extension() + zeros(3 * kBlock) + display_extension(1) + group(), 2, 1},
      {"display extension behind the group of pictures", head + extension() + group() + display_extension(1),
       2, 2},
      {"third extension", head + extension() + display_extension(2) + display_extension(1) + group(), 2, 2},
      {"second extension of another kind", head + extension() + display_extension(1, 3) + group(), 2, 2},
      {"packs in front", start_code(0xBA) + "pack" + zeros(9000) + start_code(0xE0) + head + group(), 1, 2},
      {"what looks like a start code in front of one",
       start_code(0) + zeros(1) + "\x01\xB3" + head.substr(4) + group(), 1, 2},
  };
  for (const auto& row : rows) {
    const Probed probed = probe(row.content + kPicture);
    EXPECT_EQ(probed.result, 0) << row.name;
    EXPECT_EQ(probed.info, (VideoInfo{720, 480, 4, 0, row.version, row.video_format, 0})) << row.name;
    EXPECT_EQ(probed.output, "") << row.name;
  }
}

TEST_F(MpegVideo, FindsHeadersAcrossBlockBorders) {
  for (std::size_t at = kBlock - 20; at < kBlock + 4; ++at) {
    const Probed second = probe(zeros(at) + sequence(4095, 1, 8, 3) + group() + kPicture);
    EXPECT_EQ(second.result, 0) << at;
    EXPECT_EQ(second.info, (VideoInfo{4095, 1, 3, 0, 1, 1, 0})) << at;
    const Probed later = probe(sequence(1, 4095, 8, 3) + zeros(at) + extension() + zeros(at) +
                               display_extension(2) + zeros(at) + group() + kPicture);
    EXPECT_EQ(later.info, (VideoInfo{1, 4095, 3, 0, 2, 2, 0})) << at;
  }
}

TEST_F(MpegVideo, DerivesTheTelevisionSystem) {
  const auto mpeg1 = [](int height, int aspect_ratio, int frame_rate) {
    return sequence(352, height, aspect_ratio, frame_rate) + group() + kPicture;
  };
  const auto mpeg2 = [](int frame_rate, int n, int d, int video_format) {
    return sequence(352, 288, 3, frame_rate) + extension(n, d) + display_extension(video_format) + group() +
           kPicture;
  };
  const struct {
    const char* name;
    std::string content;
    std::int32_t frame_rate, video_format;
  } rows[] = {
      {"aspect ratio 3", mpeg1(288, 3, 4), 4, 1},
      {"aspect ratio 8", mpeg1(288, 8, 4), 4, 1},
      {"aspect ratio 6", mpeg1(288, 6, 3), 3, 2},
      {"aspect ratio 12", mpeg1(288, 12, 3), 3, 2},
      {"frame rate 0", mpeg1(288, 1, 0), 0, -1},
      {"frame rate 1", mpeg1(288, 1, 1), 1, 2},
      {"frame rate 2, 240 lines", mpeg1(240, 1, 2), 2, 2},
      {"frame rate 2, other lines", mpeg1(288, 1, 2), 2, 1},
      {"frame rate 3", mpeg1(240, 1, 3), 3, 1},
      {"frame rate 4", mpeg1(288, 1, 4), 4, 2},
      {"frame rate 5", mpeg1(288, 1, 5), 5, 2},
      {"frame rate 6", mpeg1(288, 1, 6), 6, 1},
      {"frame rate 7", mpeg1(288, 1, 7), 7, 2},
      {"frame rate 8", mpeg1(288, 1, 8), 8, 2},
      {"frame rate 9", mpeg1(288, 1, 9), 9, -1},
      {"MPEG-2: PAL as it says", mpeg2(4, 0, 0, 1), 4, 1},
      {"MPEG-2: NTSC as it says", mpeg2(3, 0, 0, 2), 3, 2},
      {"MPEG-2: SECAM gives way to the frame rate", mpeg2(3, 0, 0, 3), 3, 1},
      {"MPEG-2: unspecified without a known rate", mpeg2(0, 0, 0, 5), 0, 5},
      {"MPEG-2: scaled frame rate", mpeg2(8, 2, 4, 5), 4, 2},
      {"MPEG-2: scaled to nothing", mpeg2(15, 3, 31, 0), 1, 2},
  };
  for (const auto& row : rows) {
    const Probed probed = probe(row.content);
    EXPECT_EQ(probed.result, 0) << row.name;
    EXPECT_EQ(probed.info.frame_rate, row.frame_rate) << row.name;
    EXPECT_EQ(probed.info.video_format, row.video_format) << row.name;
  }
  EXPECT_EQ(probe(mpeg2(8, 2, 4, 5)).output, "frame_rate_extension_n/_d 2 4\n");
}

TEST_F(MpegVideo, SearchesALimitedPart) {
  const std::string head = sequence(352, 288, 8, 3);
  const struct {
    const char* name;
    std::size_t group_at;
    std::uintmax_t file_size;
    bool found;
  } rows[] = {
      {"in the first 100 KB", kSearched - 8, 200000, true},
      {"in the block that begins in front of the limit", kSearched + 4000, 200000, true},
      {"two blocks behind it", kSearched + 2 * kBlock, 200000, false},
      {"in the first 120th of a large file", 900000, 120000000, true},
      {"behind that", 1100000, 120000000, false},
      {"nowhere in a file of more than 4 GB", 0, (std::uintmax_t{1} << 32) + 1, false},
  };
  for (const auto& row : rows) {
    folder_.write("video.mpg", row.group_at == 0 ? head : head + zeros(row.group_at - head.size()) + group());
    std::filesystem::resize_file(path(), row.file_size);
    const Probed probed = probe_file(path());
    EXPECT_EQ(probed.result, row.found ? 0 : -1) << row.name;
    EXPECT_EQ(probed.info.width, row.found ? 352 : 0) << row.name;
    EXPECT_EQ(probed.output, row.found ? "" : "find hdr terminated!\n") << row.name;
  }
}

TEST_F(MpegVideo, TakesFromACutFileWhatIsThere) {
  const std::string content = sequence(352, 288, 8, 3) + extension(1, 0) + display_extension(1) + group();
  const std::size_t group_at = content.size() - 8;
  for (std::size_t n = 0; n <= content.size(); ++n) {
    const Probed probed = probe(content.substr(0, n));
    const bool found = n > group_at + 4;  // a start code in the last four bytes is not seen
    if (found) {
      const std::string error = n < content.size() ? read_error(8) : "";
      EXPECT_EQ(probed.info, (VideoInfo{352, 288, 6, 0, 2, 1, 0})) << "cut to " << n;
      EXPECT_EQ(probed.output, "frame_rate_extension_n/_d 1 0\n" + error) << "cut to " << n;
    } else {
      EXPECT_EQ(probed.info.width, 0) << "cut to " << n;
      EXPECT_EQ(probed.info.mpeg_version, n > 16 ? 2 : 0) << "cut to " << n;
      EXPECT_EQ(probed.output, end_of_file()) << "cut to " << n;
    }
    EXPECT_EQ(probed.result, n == content.size() ? 0 : -1) << "cut to " << n;
  }
  const Probed tiny = probe(start_code(0xB3) + start_code(0xB8) + "x");
  EXPECT_EQ(tiny.result, -1);
  EXPECT_EQ(tiny.info.width, 0);
  EXPECT_EQ(tiny.output, read_error(2) + read_error(8));
  EXPECT_EQ(probe(start_code(0xB3) + "12345678" + start_code(0xB5) + start_code(0xB8) + "x").output,
            read_error(4) + read_error(8));
}

// One group of pictures for each time, the next one right behind the jump of 16 by 16 bytes.
std::string stream_of(const std::vector<int>& seconds) {
  std::string content = sequence(16, 16, 8, 3);
  for (const int t : seconds) content += group_at(t) + zeros(16 * 16);
  return content;
}

TEST_F(MpegVideo, SaysThatAFileCannotBeRead) {
  std::filesystem::create_symlink("/proc/self/mem",
                                  path());  // a regular file whose first bytes are no memory
  const Probed probed = probe_file(path());
  EXPECT_EQ(probed.result, -1);
  EXPECT_EQ(probed.output, "\nEnd of file1(" + path() + ")\n");
}

TEST_F(MpegVideo, MeasuresThePlayingTimeOnRequest) {
  const struct {
    const char* name;
    std::vector<int> seconds;
    std::int32_t duration;
  } rows[] = {
      {"one run", {10, 11, 12, 13}, 4},
      {"steps of three seconds", {10, 13, 16}, 7},
      {"a step of four begins a new run", {10, 11, 15, 16}, 4},
      {"back by three stays in the run", {10, 12, 9, 13}, 4},
      {"back by four begins a new run", {10, 13, 9, 10}, 6},
      {"time 0 begins no run", {0, 0, 1, 2}, 2},
      {"nothing but time 0", {0, 0}, 0},
      {"back to 0", {10, 11, 0, 0, 7, 8}, 4},
      {"hours and minutes", {3599, 3600, 3601}, 3},
      {"more than a block", std::vector<int>(40, 5), 1},
  };
  for (const auto& row : rows) {
    const Probed probed = probe(stream_of(row.seconds), kAskDuration);
    EXPECT_EQ(probed.result, 0) << row.name;
    EXPECT_EQ(probed.info, (VideoInfo{16, 16, 3, 0, 1, 1, row.duration})) << row.name;
    EXPECT_EQ(probe(stream_of(row.seconds), kAskDuration + 1).info.duration, 0) << row.name;
  }
}

TEST_F(MpegVideo, PassesOverBytesBehindEachGroup) {
  const std::string head = sequence(16, 16, 8, 3), gap = zeros(16 * 16);
  const struct {
    const char* name;
    std::string content;
    std::int32_t duration;
  } rows[] = {
      {"a group within the jump", head + group_at(10) + zeros(248) + group_at(11) + group_at(12) + gap, 3},
      {"only groups within the jump", head + group_at(10) + group_at(11) + group_at(12) + gap, 1},
      {"a jump of half a second", sequence(160, 160, 8, 3, 1) + group_at(10) + zeros(50) + group_at(11) + gap,
       2},
      {"a variable rate", sequence(160, 160, 8, 3, 0x3FFFF) + group_at(10) + zeros(50) + group_at(11) + gap,
       1},
      {"a rate of MPEG-2",
       sequence(160, 160, 8, 3, 1) + extension() + group_at(10) + zeros(50) + group_at(11) + gap, 1},
      {"no size, no jump", sequence(0, 0, 8, 3) + group_at(10) + group_at(11) + group_at(12), 3},
      {"no marker, no jump",
       head + group(0, 0, 9, false) + group_at(10) + gap + group(0, 0, 15, false) + group_at(11) + gap, 2},
      {"minutes and seconds that are none",
       head + group_at(10) + gap + group(0, 60, 1) + gap + group(0, 1, 60) + gap + group_at(12), 3},
      {"a cut group at the end", head + group_at(10) + gap + group_at(12).substr(0, 7), 1},
      {"a jump behind the end", sequence(4095, 4095, 8, 3, 0) + group_at(10) + group_at(11), 1},
  };
  for (const auto& row : rows) {
    const Probed probed = probe(row.content, kAskDuration);
    EXPECT_EQ(probed.result, 0) << row.name;
    EXPECT_EQ(probed.info.duration, row.duration) << row.name;
  }
  for (std::size_t at = kBlock - 12; at < kBlock + 4; ++at) {
    const std::string content = sequence(0, 0, 8, 3) + group_at(10);
    const Probed probed = probe(content + zeros(at - content.size()) + group_at(12), kAskDuration);
    EXPECT_EQ(probed.info.duration, 3) << at;
  }
}

TEST(Samples, OfVideosAreReadAsTheirMakerSaysTheyAre) {
  const struct {
    const char* name;
    VideoInfo expected;
  } rows[] = {
      {"mpeg1-pal.mpg", {352, 288, 3, 0, 1, 1, 0}},
      {"mpeg1-ten-seconds.mpeg", {16, 16, 3, 0, 1, 1, 9}},  // its first second has time 0
      {"mpeg2-ntsc.mpg", {352, 240, 4, 0, 2, 2, 0}},
      {"mpeg2-ntsc-display.mpeg2", {352, 240, 4, 0, 2, 2, 0}},
  };
  for (const auto& row : rows) {
    const Probed probed = probe_file(sample("videos/" + std::string(row.name)), kAskDuration);
    EXPECT_EQ(probed.result, 0) << row.name;
    EXPECT_EQ(probed.info, row.expected) << row.name;
    EXPECT_EQ(probed.output, "") << row.name;
  }
}

}  // namespace
}  // namespace corvexal
