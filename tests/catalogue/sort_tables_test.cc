// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/sort_tables.h"

#include <random>

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using testing::words;

class SortTablesTest : public testing::CatalogueTest {
 protected:
  void rebuild(MediaClass media_class) {
    static_cast<void>(column("select 1"));  // the rebuild before closed the catalogue
    printed([&] { EXPECT_EQ(RebuildSortTables(session, media_class), 1); });
    EXPECT_FALSE(db.is_open());
  }

  // A few hundred rows of every class, with texts and folders that meet in case, wildcards, quotes and odd
  // bytes.
  void fill_at_random() {
    std::mt19937 random(7);
    const auto pick = [&random](const std::vector<std::string>& from) {
      return from[random() % from.size()];
    };
    const auto folders = words(
        "/s/ /s/A/ /s/a/b/ /s/A_B/ /s/AxB/c/ /s/100%/ /s/100.up/ /s/\xC3\x84/ /s/\xE4/ "
        "/s/\xFF\xFE/ /s/ArtiSt/ /S/artist2/ /s/it's/ /s/Zz/yy/ /s/\xEF\xBF\xBD/");
    const auto texts = words("Alpha alpha beta Beta ALPHA 1st \xC3\x84pfel zeta Zoo [x] it's a  A _");
    for (int i = 0; i < 300; ++i) {
      const std::string name = pick(texts) + std::to_string(i);
      if (i % 3 == 0)
        add_row("video_tbl", pick(words("/s/A/ /s/AxB/c/ /S/artist2/")),
                name + pick(words(".mpg .srt .iso")));
      if (i % 3 == 1) add_row("photo_tbl", pick(words("/s/a/b/ /s/100.up/ /s/\xE4/")), name + ".jpg");
      add_row("music_tbl", pick(folders), name + pick(words(".mp3 .mp3 .m3u .pls")));
      run(R"(update music_tbl set Title="%s",Genre="%s",Artist="%s",Album="%s" where No=='%d';)", pick(texts),
          pick(texts), pick(texts), pick(texts), i + 1);
    }
    for (const std::string& folder : folders) add_folder(folder.substr(0, folder.size() - (random() % 2)));
    for (const char* folder : {"", "/nowhere/", "/neither/"}) add_folder(folder);
    run("update path_objid_tbl set have_video = '1', have_photo = '1' where path == '/nowhere/';");
    run("update path_objid_tbl set have_video = 'yes' where path == '/neither/';");
  }

  // The statements that define the tables, whose rows must be equal to theirs.
  std::string items(const std::string& from_where, const std::string& key) {
    const std::string first = "SUBSTR(" + key + ",1,1)";
    return column("select No from " + from_where + " order by case when " + first + " >= 'A' AND " + first +
                  " <= 'Z' then LOWER(" + first + ") else " + key + " end;");
  }
  std::string groups(const std::string& key) {
    return column("select " + key + "||' '||COUNT(" + key +
                  ") from music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls' GROUP BY " + key +
                  " order by UPPER(" + key + ")," + key + ";");
  }
};

TEST_F(SortTablesTest, HoldWhatTheStatementsOneByOneGive) {
  fill_at_random();
  for (const MediaClass media_class : {MediaClass::kMusic, MediaClass::kVideo, MediaClass::kPhoto})
    rebuild(media_class);
  EXPECT_EQ(column("select idx from music_sortidx_tbl"),
            items("music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls'", "Title"));
  EXPECT_EQ(column("select idx from video_sortidx_tbl"),
            items("video_tbl where EXT_fname !='srt'", "UTF_fname"));
  EXPECT_EQ(column("select idx from photo_sortidx_tbl"), items("photo_tbl", "UTF_fname"));
  EXPECT_EQ(column("select name||' '||cnt from music_sortGen_tbl"), groups("Genre"));
  EXPECT_EQ(column("select name||' '||cnt from music_sortArt_tbl"), groups("Artist"));
  EXPECT_EQ(column("select name||' '||cnt from music_sortAlb_tbl"), groups("Album"));
  EXPECT_EQ(column("select distinct typeof(idx)||typeof(reserve1) from music_sortidx_tbl"), "textinteger");
  const auto has_rows = [](const std::string& table) {
    return "||(select COUNT(No) > 0 from " + table + " where UTF_Path like path||'%%')";
  };
  EXPECT_EQ(column("select path||have_video||have_music||have_photo from path_objid_tbl"),
            column("select path" + has_rows("video_tbl") + has_rows("music_tbl") + has_rows("photo_tbl") +
                   " from path_objid_tbl order by ROWID"));
}

TEST_F(SortTablesTest, LeaveTheOtherClassesAloneAndGoOnCounting) {
  run("create table video_sortidx_tbl (idx,reserve1,reserve2);");
  run("insert into video_sortidx_tbl values ('old',0,0);");
  add_row("music_tbl", "/s/", "a.mp3");
  run("update music_tbl set Genre = 'Rock', Artist = '', Album = '';");
  printed([this] { EXPECT_EQ(rebuild_for_whole_catalogue(session), 1); });
  EXPECT_EQ(column("select ObjID from music_sortGen_tbl"), "3040000000001");
  rebuild(MediaClass::kMusic);
  EXPECT_EQ(column("select ObjID from music_sortGen_tbl"), "3040000000002");
  EXPECT_EQ(column("select value from record_objid_tbl where name == 'music_file_gen_objid'"),
            "3040000000002|3040000000003");
  EXPECT_EQ(column("select idx from video_sortidx_tbl"), "old");
}

}  // namespace
}  // namespace corvexal
