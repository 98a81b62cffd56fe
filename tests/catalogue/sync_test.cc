#include "catalogue/sync.h"

#include <filesystem>

#include "base/config.h"
#include "metadata/charset.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;

class SyncTest : public testing::CatalogueTest {
 protected:
  static std::string sync(int expected = 1) {
    CapturedOutput output, errors(2);
    EXPECT_EQ(sync_mms_db(), expected);
    return output.text() + errors.text();
  }
};

TEST_F(SyncTest, RemovesTheRowsOfVanishedFiles) {
  for (const char* name : {"here.mp3", "real.mp3", "here.mpg", "here.jpg"}) write_file(name);
  add_folder(path("gone/"));
  add_music(path(""), "here.mp3");
  add_music(path("gone/"), "here.mp3");
  add_music(path(""), "gone.flac");
  add_music(path(""), "gone.m3u");
  add_music(path(""), "gone.m3u");
  run("insert into music_tbl (Real_Path,Real_fname,UTF_Path,UTF_fname) values ('" + path("") +
      "','real.mp3','" + path("") + "','utf.mp3');");  // it's the path in UTF-8 that counts
  run("insert into music_tbl (UTF_Path,UTF_fname) values ('" + path("") + "','un\"deletable.mp3');");
  add_video(path(""), "here.mpg");
  add_video(path(""), "gone.srt");
  add_photo(path(""), "gone.jpg");
  add_photo(path(""), "here.jpg");

  EXPECT_EQ(sync(), "");
  EXPECT_EQ(column("select UTF_fname from music_tbl order by ROWID"), "here.mp3|un\"deletable.mp3");
  EXPECT_EQ(column("select UTF_fname from video_tbl"), "here.mpg");
  EXPECT_EQ(column("select UTF_fname from photo_tbl"), "here.jpg");
  EXPECT_EQ(column("select path from path_objid_tbl"), path("gone/"));
}

TEST_F(SyncTest, EndsAtTheFirstTableThatCannotBeRead) {
  const auto add_vanished = [this] {
    add_photo(path(""), "gone.jpg");
    add_music(path(""), "gone.mp3");
  };
  add_vanished();
  run("drop table video_tbl;");
  EXPECT_EQ(sync(0), "4Execute SQL query Error\n");
  EXPECT_EQ(column("select UTF_fname from photo_tbl union all select UTF_fname from music_tbl"), "");

  add_vanished();
  run("drop table photo_tbl;");
  EXPECT_EQ(sync(0), "");
  EXPECT_EQ(column("select UTF_fname from music_tbl"), "gone.mp3");

  g_db.close();
  EXPECT_EQ(sync(0), "");
}

TEST_F(SyncTest, SaysWhatWentWithTheMountPath) {
  for (const char* name : {"1.mp3", "2.mp3"}) add_music(path("mnt/"), name);
  add_photo(path("mnt/"), "1.jpg");
  std::filesystem::create_directory(path("mnt"));
  global_cdata.mntpath = path("mnt");
  std::filesystem::remove(path("mnt"));
  EXPECT_EQ(sync(),
            "Corvexal: the mount path " + path("mnt") +
                " cannot be found; rows removed from the catalogue: photo_tbl 1 music_tbl 2 video_tbl 0\n");
}

TEST_F(SyncTest, DeletesOneFolderRowByItsExactPath) {
  const struct {
    const char* folder;
    const char* codepage;
    const char* output;
    const char* remaining;
  } rows[] = {
      {"/s/A/", "autodetect_utf8", " success!\n", "/s/A/x/|/s/a/|/s/B|/s/\xC3\xA4/|/s/\xE4/"},
      {"/s/A", "autodetect_utf8", " success!\n", "/s/A/|/s/A/x/|/s/a/|/s/B|/s/\xC3\xA4/|/s/\xE4/"},
      {"/s/B/", "autodetect_utf8", " success!\n", "/s/A/|/s/A/x/|/s/a/|/s/B|/s/\xC3\xA4/|/s/\xE4/"},
      {"/s/\xE4/", "ISO-8859-1", " success!\n", "/s/A/|/s/A/x/|/s/a/|/s/B|/s/\xE4/"},
      {"/s/\xE4/", "no such set", " success!\n", "/s/A/|/s/A/x/|/s/a/|/s/B|/s/\xC3\xA4/"},
      {"/s/it's/", "autodetect_utf8", " fail\n", "/s/A/|/s/A/x/|/s/a/|/s/B|/s/\xC3\xA4/|/s/\xE4/"},
  };
  for (const auto& row : rows) {
    for (const char* folder : {"/s/A/", "/s/A/x/", "/s/a/", "/s/B", "/s/\xC3\xA4/", "/s/\xE4/"})
      add_folder(folder);
    from_codepage = row.codepage;
    CapturedOutput output;
    EXPECT_EQ(DeleteFolderRow(row.folder, "path_objid_tbl"), 0) << row.folder;
    EXPECT_EQ(output.text(), row.output) << row.folder;
    EXPECT_EQ(column("select path from path_objid_tbl order by ROWID"), row.remaining) << row.folder;
    run("delete from path_objid_tbl;");
  }
  CapturedOutput output;
  EXPECT_EQ(DeleteFolderRow("/s/A/", "no_such_tbl"), 0);
  EXPECT_EQ(output.text(), " fail\n");
}

}  // namespace
}  // namespace corvexal
