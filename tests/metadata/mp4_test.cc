#include "metadata/mp4.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "tests/metadata/damaged_copies.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::sample;
using Texts = std::array<Text, 7>;
using Numbers = std::array<std::int32_t, 7>;

class Mp4 : public ::testing::Test {
 protected:
  void scan(const std::string& path) {
    song = {};
    results = mp4_scan_tags(path, song) + mp4_scan_info(path, song);
  }
  [[nodiscard]] Texts texts() const {
    return {song.title, song.artist, song.album, song.genre, song.comment, song.composer, song.grouping};
  }
  [[nodiscard]] Numbers numbers() const {
    return {song.year,        song.track, song.total_tracks, song.disc,
            song.total_discs, song.bpm,   song.compilation};
  }

  SongInfo song;
  int results = 0;
  testing::TestFolder folder;
};

TEST_F(Mp4, ReadsTheItems) {
  scan(sample("music/aac-tagged.m4a"));
  EXPECT_EQ(texts(),
            (Texts{"Gruß aus 東京", "Corvexal", "Samples", "Rock", "Rising tone", "Synth", "Tones"}));
  EXPECT_EQ(numbers(), (Numbers{2009, 3, 12, 1, 2, 120, 1}));
  scan(sample("../fuzz/corpus/mp4/odd-items.m4a"));
  EXPECT_EQ(texts(), (Texts{"b", "", {}, "Others", {}, {}, {}}));
  EXPECT_EQ(numbers(), (Numbers{0, 258, 4, 1, 0, 256, 2}));
  // The list ends where it stops making sense; its size counts its header, which leaves room for one atom
  // more.
  for (const char* name :
       {"item-of-size-0", "item-of-size-7", "item-of-4-gigabytes", "one-atom-behind-the-list"}) {
    scan(sample("../fuzz/corpus/mp4/").append(name).append(".m4a"));
    EXPECT_EQ(song.title, "t") << name;
    EXPECT_EQ(song.artist.has_value(), name == std::string("one-atom-behind-the-list")) << name;
    EXPECT_FALSE(song.composer) << name;
  }
}

TEST_F(Mp4, MeasuresTheStream) {
  const struct {
    const char* name;
    std::int32_t length, bitrate;
  } rows[] = {{"time-scale-90000", 44444444, 0}, {"time-scale-7", 2857, 0},
              {"longest", INT32_MAX, 0},         {"time-scale-0", 0, 0},
              {"capitals", 10000, 128},          {"atoms-before-esds-count-twice", 0, 64},
              {"esds-outside", 1999, 25},        {"shorter-than-a-second", 999, 0},
              {"parent-of-any-size", 10000, 0},  {"movie-in-another-atom", 0, 0}};
  for (const auto& row : rows) {
    scan(sample("../fuzz/corpus/mp4/").append(row.name).append(".m4a"));
    EXPECT_EQ(song.song_length, row.length) << row.name;
    EXPECT_EQ(song.bitrate, row.bitrate) << row.name;
  }
  scan(sample("music/aac-tagged.m4a"));
  EXPECT_EQ(song.file_size, 13912);
  EXPECT_EQ(song.song_length, 2000);
  EXPECT_EQ(song.samplerate, 44100);
  EXPECT_EQ(song.bitrate, 49);
}

TEST_F(Mp4, SurvivesDamage) {
  const std::string whole = testing::read_file(sample("../fuzz/corpus/mp4/every-item.m4a"));
  for (const std::string& copy : testing::damaged_copies(whole)) {
    scan(folder.write("a.m4a", copy));
    EXPECT_EQ(results, 0) << copy.size();
    EXPECT_LE(song.title.value_or("").size(), copy.size());
  }
  scan("/nowhere/a.m4a");
  EXPECT_EQ(results, -2);
}

}  // namespace
}  // namespace corvexal
