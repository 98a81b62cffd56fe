#include "metadata/mpeg_video.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>

#include "tests/metadata/damaged_copies.h"
#include "tests/support/test_files.h"

namespace corvexal {

static std::ostream& operator<<(std::ostream& out, const VideoInfo& info) {
  return out << info.width << " x " << info.height << ", rate " << info.frame_rate << ", MPEG "
             << info.mpeg_version << ", system " << info.video_format << ", " << info.duration << " s";
}

namespace {

using namespace std::string_literals;
using testing::sample;

const std::string kSequence = "\0\0\1\xB3\x16\x01\x20\x83\x01\xF4\x3F\xFF"s,
                  kGroup = "\0\0\1\xB8\0\x08\0\x40"s;

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

  VideoInfo probe_case(const std::string& name) {
    return probe(sample("../fuzz/corpus/mpeg_video/" + name + ".mpg"));
  }

  int result = 0;
  std::string output;
  testing::TestFolder folder;
  const std::string path = folder.path() + "/video.mpg";
};

TEST_F(MpegVideo, ReadsTheHeaders) {
  const struct {
    const char* name;
    VideoInfo info;
  } rows[] = {{"user-data-then-extension", {720, 480, 4, 0, 2, 2, 0}},
              {"extension-in-the-next-block", {720, 480, 4, 0, 1, 2, 0}},
              {"display-extension-blocks-later", {720, 480, 4, 0, 2, 1, 0}},
              {"display-extension-behind-group", {720, 480, 4, 0, 2, 2, 0}},
              {"third-extension", {720, 480, 4, 0, 2, 2, 0}},
              {"extension-of-another-kind", {720, 480, 4, 0, 2, 2, 0}},
              {"secam", {352, 288, 3, 0, 2, 1, 0}},
              {"unspecified", {352, 288, 0, 0, 2, 5, 0}},
              {"scaled-rate", {352, 288, 4, 0, 2, 2, 0}},
              {"../../../samples/videos/mpeg1-pal", {352, 288, 3, 0, 1, 1, 0}},
              {"../../../samples/videos/mpeg2-ntsc", {352, 240, 4, 0, 2, 2, 0}}};
  for (const auto& row : rows) {
    EXPECT_EQ(probe_case(row.name), row.info) << row.name;
    EXPECT_EQ(result, 0) << row.name;
  }
}

TEST_F(MpegVideo, MeasuresThePlayingTimeOnRequest) {
  const struct {
    const char* name;
    std::int32_t duration;
  } rows[] = {{"steps-of-three-seconds", 7}, {"step-of-four-seconds", 4},  {"back-by-three-seconds", 4},
              {"back-by-four-seconds", 6},   {"time-zero-first", 2},       {"back-to-zero", 4},
              {"over-the-hour", 3},          {"group-within-the-jump", 3}, {"jump-of-half-a-second", 2},
              {"variable-rate", 1},          {"mpeg2-jumps-far", 1},       {"no-marker-no-jump", 2},
              {"no-time-codes", 3},          {"last-group-cut", 1}};
  for (const auto& row : rows) {
    EXPECT_EQ(probe_case(row.name).duration, row.duration) << row.name;
    EXPECT_EQ(result, 0) << row.name;
  }
  const std::string ten_seconds = sample("videos/mpeg1-ten-seconds.mpeg");
  EXPECT_EQ(probe(ten_seconds).duration, 9) << "its first second has time 0";
  EXPECT_EQ(probe(ten_seconds, kAskDuration + 1).duration, 0);
}

TEST_F(MpegVideo, TellsTheTelevisionSystem) {
  const auto system_of = [this](int aspect_ratio, int frame_rate) {
    std::string video = kSequence + kGroup;
    video[7] = static_cast<char>(aspect_ratio << 4 | frame_rate);
    return probe(folder.write("video.mpg", video)).video_format;
  };
  constexpr std::int32_t kOfRates[] = {-1, 2, 1, 1, 2, 2, 1, 2, 2, -1};
  for (int rate = 0; rate < 10; ++rate) EXPECT_EQ(system_of(1, rate), kOfRates[rate]) << rate;
  for (const int pal : {3, 8}) EXPECT_EQ(system_of(pal, 4), 1) << pal;
  for (const int ntsc : {6, 12}) EXPECT_EQ(system_of(ntsc, 3), 2) << ntsc;
}

TEST_F(MpegVideo, IsProbedByExtensionOnly) {
  for (const char* name : {"a.mpg", "a.b.MPEG", "a.Mpeg2"})
    EXPECT_EQ(probe(folder.write(name, kSequence + kGroup)).width, 352) << name;
  for (const char* name : {"a.avi", "mpg", "a.mpg.", "a.mpg.d/b"}) {
    EXPECT_EQ(probe(folder.write(name, kSequence + kGroup)).width, 0) << name;
    EXPECT_EQ(result, -1) << name;
  }
  probe("/nowhere/a.mpg");
  EXPECT_EQ(output, "Can not open </nowhere/a.mpg> file\n");
}

TEST_F(MpegVideo, SearchesALimitedPart) {
  const struct {
    std::size_t group_at;
    std::uintmax_t file_size;
    bool found;
  } rows[] = {{102392, 200000, true},
              {106400, 200000, true},
              {110592, 200000, false},
              {900000, 120000000, true},
              {1100000, 120000000, false}};
  for (const auto& row : rows) {
    std::filesystem::resize_file(folder.write_sparse("video.mpg", kSequence, row.group_at, kGroup),
                                 row.file_size);
    EXPECT_EQ(probe(path).width, row.found ? 352 : 0) << row.group_at;
    EXPECT_EQ(output, row.found ? "" : "find hdr terminated!\n") << row.group_at;
  }
  // Headers across the borders of the blocks of 4096 bytes.
  for (std::size_t at = 4076; at < 4100; ++at) {
    folder.write("video.mpg", std::string(at, '\0') + kSequence + std::string(at, '\0') + kGroup);
    EXPECT_EQ(probe(path), (VideoInfo{352, 288, 3, 0, 1, 1, 0})) << at;
  }
}

TEST_F(MpegVideo, TakesFromADamagedFileWhatIsThere) {
  const std::string whole = kSequence + "\0\0\1\xB5\x14\x8A\xFF\x01\xFF\xA0\0\0\1\xB5\x23\2\2\2"s + kGroup;
  for (const std::string& copy : testing::damaged_copies(whole)) {
    const VideoInfo info = probe(folder.write("video.mpg", copy));
    EXPECT_EQ(info.bit_rate, 0);
    if (copy != whole.substr(0, copy.size())) continue;
    const std::size_t size = copy.size();
    const std::string error = size == whole.size() ? "" : "\nRead error8(" + path + ")\n";
    const bool found = size > whole.size() - 4;  // a start code in the last four bytes is not seen
    EXPECT_EQ(info, found ? (VideoInfo{352, 288, 6, 0, 2, 1, 0})
                          : (VideoInfo{0, 0, 0, 0, size > 16 ? 2 : 0, 0, info.duration}))
        << size;
    EXPECT_EQ(output, found ? "frame_rate_extension_n/_d 1 0\n" + error : "\nEnd of file2(" + path + ")\n")
        << size;
    EXPECT_EQ(result, size == whole.size() ? 0 : -1) << size;
  }
}

}  // namespace
}  // namespace corvexal
