#include "songdb/song_list.h"

#include <gtest/gtest.h>

#include <filesystem>

#include "songdb/gdbm_file.h"
#include "songdb/record.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;
using testing::TestFolder;

struct Printed {
  int result;
  std::string lines, errors;
};

Printed print(const std::string& file) {
  CapturedOutput out;
  CapturedOutput errors(2);
  const int result = print_song_store(file);
  return {result, out.text(), errors.text()};
}

class SongList : public ::testing::Test {
 protected:
  void put(std::uint32_t key, const PackedSong& record) const {
    const GdbmFile db(gdbm_open(file_.c_str(), 0, GDBM_WRCREAT, 0600, nullptr));
    const Bytes key_bytes(reinterpret_cast<const std::uint8_t*>(&key), sizeof key);
    ASSERT_EQ(gdbm_store(db.get(), as_datum(key_bytes), as_datum(record), GDBM_REPLACE), 0);
  }

  TestFolder folder_;
  std::string file_ = folder_.path() + "/songs.gdb";
};

SongInfo song_of(std::uint32_t id) {
  SongInfo song;
  song.id = id;
  song.path = "/mnt/\"Gr\xFC\xDF\".mp3";
  return song;
}

TEST_F(SongList, PrintsEveryFieldAndTheWholePath) {
  SongInfo song = song_of(0xFFFFFFFF);
  song.title = "東京";
  song.bitrate = -1;
  song.compilation = 1;
  put(song.id, *pack_song(song));
  std::filesystem::permissions(file_, std::filesystem::perms(0400));
  const std::string before = testing::read_file(file_);
  const Printed printed = print(file_);
  EXPECT_EQ(printed.result, 0);
  EXPECT_EQ(printed.errors, "");
  EXPECT_EQ(
      printed.lines,
      "{\"id\":4294967295,\"path\":\"/mnt/\\\"Gr\uFFFD\uFFFD\\\".mp3\",\"fname\":null,\"title\":\"東京\","
      "\"artist\":null,\"album\":null,\"genre\":null,\"comment\":null,\"type\":null,\"composer\":null,"
      "\"orchestra\":null,\"conductor\":null,\"grouping\":null,\"url\":null,\"bitrate\":-1,"
      "\"samplerate\":0,\"song_length\":0,\"file_size\":0,\"year\":0,\"track\":0,\"total_tracks\":0,"
      "\"disc\":0,\"total_discs\":0,\"time_added\":0,\"time_modified\":0,\"time_played\":0,"
      "\"time_stored\":0,\"bpm\":0,\"compilation\":1}\n");
  EXPECT_EQ(testing::read_file(file_), before);
}

TEST_F(SongList, NamesWhatIsDamaged) {
  PackedSong cut = *pack_song(song_of(7));
  cut.pop_back();
  put(7, cut);
  put(8, *pack_song(song_of(9)));  // under a key that is not its own
  put(10, *pack_song(song_of(10)));
  const Printed printed = print(file_);
  EXPECT_EQ(printed.result, 1);
  EXPECT_EQ(std::count(printed.lines.begin(), printed.lines.end(), '\n'), 3);
  for (const char* id : {"7", "9"})
    EXPECT_NE(printed.errors.find(file_ + ": the record of song " + id + " is damaged\n"), std::string::npos);
  EXPECT_EQ(std::count(printed.errors.begin(), printed.errors.end(), '\n'), 2) << printed.errors;
}

TEST_F(SongList, RefusesWhatIsNoStoreAndMakesNothing) {
  EXPECT_EQ(print(file_).errors, file_ + ": File open error: No such file or directory\n");
  EXPECT_FALSE(std::filesystem::exists(file_));
  for (const std::string& content : {std::string(), std::string(5000, 'x')}) {
    folder_.write("songs.gdb", content);
    const Printed printed = print(file_);
    EXPECT_EQ(printed.result, 1) << content.size();
    EXPECT_NE(printed.errors, "") << content.size();
  }
}

TEST_F(SongList, EndsOnADamagedFile) {
  for (std::uint32_t id = 0; id < 400; ++id) put(id, *pack_song(song_of(id)));
  const std::string healthy = testing::read_file(file_);
  for (std::size_t size = 0; size < healthy.size(); size += 12288) {
    folder_.write("songs.gdb", healthy.substr(0, size));
    EXPECT_EQ(print(file_).result, 1) << size;
  }
}

}  // namespace
}  // namespace corvexal
