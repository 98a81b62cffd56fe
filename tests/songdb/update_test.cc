#include "songdb/update.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <ctime>

#include "tests/songdb/store_fixture.h"

namespace corvexal {
namespace {

using testing::sample;

class Update : public StoreFixture {
 protected:
  Update() { open(); }

  // Puts a file on the share; the full path.
  [[nodiscard]] std::string put(const std::string& name, const std::string& content = "sound") const {
    return mount_.write("share/" + name, content);
  }
  [[nodiscard]] static std::uint32_t id_of(const std::string& path) {
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? static_cast<std::uint32_t>(status.st_ino) : 0;
  }
};

TEST_F(Update, StoresMusicOfTheKnownKinds) {
  const std::string mp3 = testing::read_file(sample("music/cbr-128.mp3"));
  const std::string m4a = testing::read_file(sample("music/aac-tagged.m4a"));
  const struct {
    const char* name;
    const std::string& content;
    bool stored;
  } rows[] = {{"a.mp3", mp3, true}, {"b.MP3", mp3, true},   {"c.m4a", m4a, true},    {"d.M4P", m4a, true},
              {"e.wav", mp3, true}, {".mp3", mp3, false},   {"f.m3u", mp3, false},   {"g.ogg", mp3, false},
              {"h", mp3, false},    {"i.mp3x", mp3, false}, {"x.y/j.mp3", mp3, true}};
  for (const auto& row : rows) {
    const std::string path = put(row.name, row.content);
    EXPECT_EQ(update_song(path), 1) << row.name;
    EXPECT_EQ(db_exists(id_of(path)), row.stored ? 1 : 0) << row.name;
  }
  const auto song = db_fetch(id_of(put("a.mp3", mp3)));
  ASSERT_TRUE(song);
  EXPECT_EQ(song->path, (mount_.path() + "/share/a.mp3").substr(4));
  EXPECT_EQ(song->fname, "a.mp3");
  EXPECT_EQ(song->type, "mp3");
  EXPECT_EQ(song->bitrate, 128);
  EXPECT_EQ(song->song_length, 2063);

  // The tag of a "b.MP3" is read, its stream is not.
  const auto shouting = db_fetch(id_of(put("b.MP3", mp3)));
  ASSERT_TRUE(shouting);
  EXPECT_EQ(shouting->title, song->title);
  EXPECT_EQ(shouting->file_size, static_cast<std::int32_t>(mp3.size()));
  EXPECT_EQ(shouting->bitrate, 0);
  EXPECT_EQ(db_fetch(id_of(put("e.wav", mp3)))->title, "e.wav");
}

TEST_F(Update, LeavesOtherThingsAlone) {
  std::filesystem::create_directories("folder.mp3");
  EXPECT_EQ(update_song(mount_.path() + "/folder.mp3"), 1);
  EXPECT_EQ(update_song(mount_.path() + "/missing.mp3"), -1);
  EXPECT_NE(log().find(":Error statting: No such file or directory\n"), std::string::npos);
  EXPECT_TRUE(ids().empty());
}

TEST_F(Update, SkipsAFileWhoseReaderFails) {
  const std::string path = put("short.mp3", testing::read_file(sample("music/cbr-128.mp3")).substr(0, 1000));
  EXPECT_EQ(update_song(path), 1);
  EXPECT_EQ(db_exists(id_of(path)), 0);
  EXPECT_NE(log().find(":Skipping short.mp3 - scan_gettags failed\n"), std::string::npos);
}

TEST_F(Update, DropsTheFirstRecordWhosePathBeginsWithTheFiles) {
  const std::string path = put("a.wav");
  const auto songs_before = db_song_count;
  db_add(song_of(1, "/abc" + path + ".old"));
  db_add(song_of(2, path));
  EXPECT_EQ(update_song(path), 1);
  EXPECT_EQ(db_exists(1), 0);
  EXPECT_EQ(db_exists(2), 1);  // compared without its first four characters
  EXPECT_EQ(update_song(path), 1);
  EXPECT_EQ(db_song_count, songs_before + 4);  // a known file is scanned anew every time
}

TEST_F(Update, TakesTheEarlierTimeAsTheTimeAdded) {
  const std::string path = put("a.wav");
  const std::time_t now = std::time(nullptr);
  for (const std::time_t modified : {std::time_t{1000000000}, now + 1000}) {
    const struct timespec times[] = {{modified, 0}, {modified, 0}};
    ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    EXPECT_EQ(update_song(path), 1);
    const auto song = db_fetch(id_of(path));
    ASSERT_TRUE(song);
    EXPECT_EQ(song->time_modified, modified);
    if (modified < now) {
      EXPECT_EQ(song->time_added, modified);
    } else {
      EXPECT_LE(song->time_added, now + 60);
    }
  }
}

TEST_F(Update, StoresNothingWhileTheStoreIsClosed) {
  db_close();
  EXPECT_EQ(update_song(put("a.wav")), 1);
  EXPECT_TRUE(ids().empty());
}

}  // namespace
}  // namespace corvexal
