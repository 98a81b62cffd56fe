#include "metadata/mp4.h"

#include <gtest/gtest.h>

#include <climits>

#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::sample;
using testing::TestFolder;

std::string be32(std::uint32_t value) {
  std::string bytes(4, '\0');
  for (std::size_t i = 0; i < 4; ++i) bytes[i] = static_cast<char>(value >> (24 - 8 * i));
  return bytes;
}

std::string zeros(std::size_t count) {
  return std::string(count, '\0');
}

std::string atom(std::string_view type, const std::string& body) {
  return be32(static_cast<std::uint32_t>(8 + body.size())).append(type) + body;
}

std::string item(std::string_view type, const std::string& value) {
  return atom(type, atom("data", zeros(8) + value));
}

std::string file_with_items(const std::string& items, const std::string& behind = "") {
  return atom("ftyp", "M4A ") +
         atom("moov", atom("udta", atom("meta", zeros(4) + atom("ilst", items) + behind)));
}

std::string movie_header(std::uint32_t time_scale, std::uint32_t duration) {
  return atom("mvhd", zeros(4) + be32(3600000000) + be32(2) + be32(time_scale) + be32(duration));
}

std::string esds(std::uint32_t bits_per_second) {
  return atom("esds", zeros(22) + be32(bits_per_second));
}

std::string track(const std::string& sample_entry_children) {
  const std::string entry = atom("mp4a", zeros(24) + std::string("\xAC\x44\0\0", 4) + sample_entry_children);
  return atom("trak", atom("mdia", atom("minf", atom("stbl", atom("stsd", zeros(8) + entry)))));
}

struct Scan {
  int result;
  SongInfo song;
};

Scan scan(int (*scanner)(const std::string&, SongInfo&), const std::string& bytes) {
  const TestFolder folder;
  Scan scan{};
  scan.result = scanner(folder.write("a.m4a", bytes), scan.song);
  return scan;
}
SongInfo tags(const std::string& bytes) {
  return scan(mp4_scan_tags, bytes).song;
}
SongInfo info(const std::string& bytes) {
  return scan(mp4_scan_info, bytes).song;
}

TEST(Mp4, ReadsWhatAnEncoderWrites) {
  SongInfo song;
  EXPECT_EQ(mp4_scan_tags(sample("music/aac-tagged.m4a"), song), 0);
  EXPECT_EQ(mp4_scan_info(sample("music/aac-tagged.m4a"), song), 0);
  EXPECT_EQ(song.title, "Gruß aus 東京");
  EXPECT_EQ(song.artist, "Corvexal");
  EXPECT_EQ(song.album, "Samples");
  EXPECT_EQ(song.genre, "Rock");
  EXPECT_EQ(song.comment, "Rising tone");
  EXPECT_EQ(song.composer, "Synth");
  EXPECT_EQ(song.grouping, "Tones");
  EXPECT_EQ(song.year, 2009);
  EXPECT_EQ(song.track, 3);
  EXPECT_EQ(song.total_tracks, 12);
  EXPECT_EQ(song.disc, 1);
  EXPECT_EQ(song.total_discs, 2);
  EXPECT_EQ(song.bpm, 120);
  EXPECT_EQ(song.compilation, 1);
  EXPECT_EQ(song.file_size, 13912);
  EXPECT_EQ(song.song_length, 2000);
  EXPECT_EQ(song.samplerate, 44100);
  EXPECT_EQ(song.bitrate, 49);

  SongInfo untagged;
  EXPECT_EQ(mp4_scan_tags(sample("music/aac-short.m4a"), untagged), 0);
  EXPECT_EQ(mp4_scan_info(sample("music/aac-short.m4a"), untagged), 0);
  EXPECT_FALSE(untagged.title);
  EXPECT_EQ(untagged.song_length, 400);
  EXPECT_EQ(untagged.samplerate, 48000);
  EXPECT_EQ(untagged.bitrate, 36);
  EXPECT_EQ(mp4_scan_info("/nonexistent.m4a", untagged), -1);
  EXPECT_EQ(mp4_scan_tags("/nonexistent.m4a", untagged), -1);
}

TEST(Mp4Tags, TakeTextsUpToTheirFirstZero) {
  EXPECT_EQ(tags(file_with_items(item("\251nam", std::string("ab\0cd", 5)))).title, "ab");
  EXPECT_EQ(tags(file_with_items(item("\251nam", ""))).title, "");
  EXPECT_EQ(tags(file_with_items(atom("\251nam", "1234567"))).title, "");  // no room for a value
  EXPECT_EQ(tags(file_with_items(item("\251nam", "a") + item("\251nam", "b"))).title, "b");
  EXPECT_EQ(tags(file_with_items(item("\251NAM", "a"))).title, std::nullopt);
  EXPECT_EQ(tags(file_with_items(item("\251"
                                      "day",
                                      "1999-12")))
                .year,
            1999);
  const std::string long_text(40000, 'x'), endless((1 << 20) + 5, 'x');
  EXPECT_EQ(tags(file_with_items(item("\251wrt", long_text))).composer, long_text);
  EXPECT_EQ(tags(file_with_items(item("\251wrt", endless))).composer, endless.substr(5));
}

TEST(Mp4Tags, TakeNumbersFromFixedPlaces) {
  const SongInfo song = tags(file_with_items(item("trkn", std::string("\0\0\1\2\0\4\0\0", 8)) +
                                             item("disk", std::string("\0\0\0\1", 4)) + item("tmpo", "\1") +
                                             item("cpil", "\2")));
  EXPECT_EQ(song.track, 258);
  EXPECT_EQ(song.total_tracks, 4);
  EXPECT_EQ(song.disc, 1);
  EXPECT_EQ(song.total_discs, 0);
  EXPECT_EQ(song.bpm, 256);
  EXPECT_EQ(song.compilation, 2);
  const struct {
    unsigned char number;
    const char* genre;
  } rows[] = {{1, "Blues"},    {148, "SynthPop"}, {149, "Others"},
              {150, "Others"}, {255, "Others"},   {0, "Others"}};
  for (const auto& row : rows)
    EXPECT_EQ(tags(file_with_items(item("gnre", {'\0', static_cast<char>(row.number)}))).genre, row.genre)
        << int{row.number};
}

TEST(Mp4Tags, EndTheListWhereItStopsMakingSense) {
  const std::string title = item("\251nam", "t"), album = item(
                                                      "\251"
                                                      "alb",
                                                      "a");
  const struct {
    const char* what;
    std::string items;
  } rows[] = {{"size 0", be32(0) + "free"},
              {"size 1", be32(1) + "free" + zeros(8)},
              {"size 7", be32(7) + "free"},
              {"behind the file", be32(0xFFFFFFFF) + "free"}};
  for (const auto& row : rows) {
    const SongInfo song = tags(file_with_items(std::string(title).append(row.items).append(album)));
    EXPECT_EQ(song.title, "t") << row.what;
    EXPECT_FALSE(song.album) << row.what;
  }
  // The list's size counts its header, which leaves room for one atom more.
  const SongInfo song = tags(file_with_items(title, album + item("\251"
                                                                 "cmt",
                                                                 "c")));
  EXPECT_EQ(song.album, "a");
  EXPECT_FALSE(song.comment);
}

TEST(Mp4Info, ReducesTheTimeScale) {
  const struct {
    std::uint32_t time_scale, duration;
    std::int32_t length;
  } rows[] = {{600, 36000, 60000}, {44100, 441000, 10000},        {1000, 1234, 1234},
              {7, 20, 2857},       {90000, 4000000000, 44444444}, {1, UINT32_MAX, INT_MAX},
              {0, 36000, 0},       {UINT32_MAX, UINT32_MAX, 1000}};
  for (const auto& row : rows) {
    const SongInfo song = info(atom("moov", movie_header(row.time_scale, row.duration)));
    EXPECT_EQ(song.song_length, row.length) << row.time_scale << ' ' << row.duration;
    EXPECT_EQ(song.time_added, static_cast<std::int32_t>(3600000000));
    EXPECT_EQ(song.time_modified, 2);
  }
}

TEST(Mp4Info, ReadsTheBitRateBehindEsds) {
  const std::string ten_seconds = movie_header(1, 10), five_seconds = movie_header(1000, 5999);
  const std::string data = atom("mdat", zeros(32000));
  const struct {
    const char* what;
    std::string bytes;
    std::int32_t bitrate;
  } rows[] = {
      {"first child", atom("moov", ten_seconds + track(esds(128999))) + data, 128},
      {"any case of letters", atom("MOOV", ten_seconds + track(esds(128999))) + data, 128},
      {"12 bytes in front count twice",
       atom("moov", track(atom("wave", "1234") + esds(1000000) + zeros(8) + be32(64000))), 64},
      {"in no child", atom("moov", ten_seconds + track("")) + esds(128000) + data, 32008 / 1280},
      {"0 in esds", atom("moov", five_seconds + track(esds(0))) + data, 32008 / 640},
      {"shorter than a second", atom("moov", movie_header(1000, 999) + track("")) + data, 0},
      {"nothing known", data, 0},
      {"data of 64-bit size", atom("moov", ten_seconds) + be32(1) + "mdat" + zeros(100), 0},
  };
  for (const auto& row : rows) EXPECT_EQ(info(row.bytes).bitrate, row.bitrate) << row.what;
  EXPECT_EQ(info(rows[0].bytes).samplerate, 44100);
}

// Atoms are searched for to the end of the file, whatever their parents' sizes say.
TEST(Mp4Info, SearchesBeyondTheParent) {
  EXPECT_EQ(info(atom("moov", "") + movie_header(1, 10)).song_length, 10000);
  EXPECT_EQ(info(be32(0x7FFFFFFF) + "moov" + movie_header(1, 10)).song_length, 10000);
  EXPECT_EQ(info(atom("free", atom("moov", movie_header(1, 10)))).song_length, 0);
}

TEST(Mp4, SurvivesEveryCut) {
  const std::string items = item("\251nam", "title") + item("trkn", zeros(8));
  const std::string whole = atom("moov", movie_header(1, 10) + track(esds(128000)) +
                                             atom("udta", atom("meta", zeros(4) + atom("ilst", items)))) +
                            atom("mdat", zeros(100));
  const std::size_t title_end = whole.find("title") + 5;
  for (std::size_t size = 0; size < whole.size(); ++size) {
    const std::string cut = whole.substr(0, size);
    const Scan read_tags = scan(mp4_scan_tags, cut), read_info = scan(mp4_scan_info, cut);
    EXPECT_EQ(read_tags.result, 0) << size;
    EXPECT_EQ(read_info.result, 0) << size;
    EXPECT_EQ(read_tags.song.title.has_value(), size >= title_end) << size;
    EXPECT_EQ(read_info.song.file_size, static_cast<std::int32_t>(size));
    EXPECT_TRUE(read_info.song.bitrate == 0 || read_info.song.bitrate == 128) << size;
  }
}

}  // namespace
}  // namespace corvexal
