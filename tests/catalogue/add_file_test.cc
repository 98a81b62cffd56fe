#include "catalogue/add_file.h"

#include <sys/stat.h>

#include <fcntl.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <vector>

#include "base/config.h"
#include "catalogue/object_ids.h"
#include "catalogue/playlists.h"
#include "metadata/charset.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;
using testing::sample;
using namespace std::string_view_literals;

constexpr std::string_view kGif = "GIF89a\x05\x00\x03\x00\x07"sv;

constexpr const char* kWholeMusicRow =
    "select "
    "No||'/'||UTF_fname||'/'||EXT_fname||'/'||Size||'/'||Genre||'/'||Artist||'/'||Album||'/'||Title||'/"
    "'||Bitrate"
    "||'/'||PlsFile||'/'||Reserve1||'/'||Reserve2||'/'||Reserve3||'/'||ObjID||'/'||ParentID from music_tbl";

class AddFileTest : public testing::CatalogueTest {
 protected:
  AddFileTest() {
    from_codepage = "autodetect_utf8";
    playlist_pending = 0;
    global_cdata.sharepath = "/sh/x";
  }

  // Adds a file of the share; the lines on standard output are dropped.
  int add(const std::string& name, std::string_view content = "") {
    if (!g_db.is_open()) static_cast<void>(column("select 1"));
    const std::string path = name.front() == '/' ? name : write_file(name, content);
    CapturedOutput quiet;
    return MmsAddMediaFile(path);
  }
};

TEST_F(AddFileTest, LeavesARowSortTablesFlagsAndCounters) {
  add_folder(path("Music/"), "4000000000009");
  add_folder(path("Other/"), "4000000000010");
  EXPECT_EQ(add("Music/Some Song.MP3", "no tag, no frame"), 1);
  EXPECT_FALSE(g_db.is_open());
  EXPECT_EQ(playlist_pending, 1);
  EXPECT_EQ(
      column(kWholeMusicRow),
      "1/Some Song.MP3/mp3/16/Others/Others/Others/Some Song.MP3/0/0/0/0/0/3000000000001/4000000000001");
  EXPECT_EQ(column("select Real_Path from music_tbl"), path("Music/"));
  EXPECT_EQ(column("select idx from music_sortidx_tbl"), "1");
  EXPECT_EQ(column("select have_music||have_video from path_objid_tbl"), "10|00");
  EXPECT_EQ(column("select value from record_objid_tbl where name == 'media_path_parid'"), "4000000000009");
}

TEST_F(AddFileTest, DecidesByTheExtension) {
  const struct {
    const char* name;
    int result;
    const char* counts;  // rows of music, video and photo tables
  } rows[] = {
      {"a.mp3", 1, "1/0/0"},   {"a.FLAC", 1, "2/0/0"}, {"a.mpeg2", 1, "2/1/0"},  {"a.srt", 1, "2/2/0"},
      {"a.m3u", 1, "3/2/0"},   {"a.ogg", 1, "3/2/0"},  {"a.mpeg22", 0, "3/2/0"}, {"nodot", 0, "3/2/0"},
      {"dir.x/a", 1, "3/2/0"}, {"a.jpg", 1, "3/2/0"},  // no picture
      {"b.gif", 1, "3/2/1"},   {"a.mp3", 1, "3/2/1"},  // there already
  };
  for (const auto& row : rows) {
    EXPECT_EQ(add(row.name, row.name[0] == 'b' ? kGif : "text"), row.result) << row.name;
    EXPECT_EQ(column("select (select count(*) from music_tbl)||'/'||(select count(*) from video_tbl)||'/'||"
                     "(select count(*) from photo_tbl)"),
              row.counts)
        << row.name;
  }
  EXPECT_EQ(column("select Width||'x'||Height from photo_tbl"), "5x3");
}

TEST_F(AddFileTest, NumbersEachKindInItsOwnWay) {
  for (const char* name : {"x.mp3", "y.mp3"}) add_music("/s/", name);
  for (const char* name : {"x.jpg", "y.jpg"}) add_photo("/s/", name);
  run("update photo_tbl set ObjID = '1000000000003';");
  InitObjectIds();
  EXPECT_EQ(add("list.m3u"), 1);  // not counted up
  EXPECT_EQ(add("a.mp3"), 1);
  EXPECT_EQ(add("a.gif", kGif), 1);  // probed
  EXPECT_EQ(column("select No||':'||ObjID from music_tbl where Real_Path != '/s/'"),
            "3:3000000000001|4:3000000000005");
  EXPECT_EQ(column("select No||':'||ObjID from photo_tbl where Real_Path != '/s/'"), "3:1000000000004");
  // Three files in a folder without a row of its own: each takes a fresh parent identifier, but only a photo
  // shows it.
  EXPECT_EQ(column("select ParentID from music_tbl where Real_Path != '/s/'"), "4000000000001|4000000000001");
  EXPECT_EQ(column("select ParentID from photo_tbl where Real_Path != '/s/'"), "4000000000004");
}

TEST_F(AddFileTest, TakesDepthFromThePathAndDateFromLocalTime) {
  setenv("TZ", "Asia/Tokyo", 1);
  tzset();
  const std::string file = write_file("a/b.mp3");
  const timespec times[2] = {{0, 0}, {1577836800, 0}};  // midnight UTC of the New Year 2020
  ASSERT_EQ(utimensat(AT_FDCWD, file.c_str(), times, 0), 0);
  add(file);
  EXPECT_EQ(column("select Date from music_tbl"), "2020-01-01T09:00:00");
  unsetenv("TZ");
  tzset();
  const auto slashes = std::count(file.begin(), file.end(), '/');
  EXPECT_EQ(column("select Depth from music_tbl"), std::to_string(slashes - 1));
  global_cdata.sharepath.clear();
  add("a/c.mp3");
  EXPECT_EQ(column("select Depth from music_tbl where Real_fname == 'c.mp3'"), std::to_string(slashes));
}

TEST_F(AddFileTest, HarmsNothingWithANameFullOfSql) {
  EXPECT_EQ(add("it's 'a' song.mp3"), 1);
  EXPECT_EQ(add("x\",\"y\");drop table music_tbl;--.mp3"), -1);
  EXPECT_EQ(add("\"q\".mpg"), 0);
  EXPECT_EQ(add("%s%n.mp3"), 1);
  EXPECT_EQ(column("select Real_fname from music_tbl order by ROWID"), "it's 'a' song.mp3|%s%n.mp3");
  EXPECT_EQ(column("select count(*) from video_tbl"), "0");
}

TEST_F(AddFileTest, TakesEveryFileForWhatItIs) {
  const std::string pipe = path("pipe.mp3");
  ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
  EXPECT_EQ(add(pipe), 1);
  EXPECT_EQ(add(path("missing.mpg")), 1);
  EXPECT_EQ(column("select Title||Size from music_tbl"), "pipe.mp30");
  EXPECT_EQ(column("select Size||Width from video_tbl"), "00");
}

TEST_F(AddFileTest, ReportsAMissingTable) {
  run("drop table music_tbl;");
  const std::string file = write_file("a.mp3");
  CapturedOutput output;
  EXPECT_EQ(MmsAddMediaFile(file), -1);
  EXPECT_EQ(output.text(),
            "Total_Match_count(): Execute SQL query Error = [select COUNT(*) from music_tbl where UTF_fname "
            "!= '';]-"
            "[no such table: music_tbl]\nNo media file found\n");
}

}  // namespace
}  // namespace corvexal
