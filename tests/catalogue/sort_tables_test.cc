#include "catalogue/sort_tables.h"

#include <random>
#include <vector>

#include "catalogue/folder_flags.h"
#include "catalogue/object_ids.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;
using testing::SongTexts;

// The documented statements run one by one, values written into their texts: what the sort tables and the
// folder flags must be equal to.
class OneByOne {
 public:
  explicit OneByOne(const std::string& path) { sqlite3_open(path.c_str(), &handle_); }
  ~OneByOne() { sqlite3_close(handle_); }
  OneByOne(const OneByOne&) = delete;
  OneByOne& operator=(const OneByOne&) = delete;

  using Table = std::vector<std::vector<std::string>>;

  Table run(const std::string& sql) {
    Table rows;
    const auto take = [](void* into, int columns, char** values, char**) {
      static_cast<Table*>(into)->emplace_back(values, values + columns);
      return 0;
    };
    char* error = nullptr;
    EXPECT_EQ(sqlite3_exec(handle_, sql.c_str(), take, &rows, &error), SQLITE_OK) << sql << ": " << error;
    return rows;
  }

  Table items(const std::string& table, const std::string& where, const std::string& key) {
    const std::string first = "SUBSTR(" + key + ",1,1)";
    return run("select No from " + table + where + " order by case when " + first + " >= 'A' AND " + first +
               " <= 'Z' then LOWER(" + first + ") else " + key + " end;");
  }

  Table groups(const std::string& column, std::uint64_t objid) {
    Table rows = run("select " + column + ",COUNT(" + column +
                     ") from music_tbl where EXT_fname !='m3u' AND EXT_fname " + "!='pls' GROUP BY " +
                     column + " order by UPPER(" + column + ")," + column + ";");
    for (auto& row : rows) row.push_back(std::to_string(objid++));
    return rows;
  }

  Table flags() {
    Table rows = run("select path from path_objid_tbl order by ROWID;");
    for (auto& row : rows)
      for (const char* table : {"video_tbl", "music_tbl", "photo_tbl"}) {
        const Table count = run("select COUNT(No) from " + std::string(table) + " where UTF_Path like\"" +
                                row[0] + "%\" limit 0,1;");
        row.emplace_back(count[0][0][0] >= '1' ? "1" : "0");
      }
    return rows;
  }

 private:
  sqlite3* handle_ = nullptr;
};

class SortTablesTest : public testing::CatalogueTest {
 protected:
  // Runs a rebuild whose lines on standard output are of no interest.
  static int rebuild(int media_class) {
    CapturedOutput quiet;
    return RebuildSortTables(media_class);
  }

  // A few hundred rows of every class, with texts and folders that meet in case, wildcards, quotes and odd
  // bytes.
  void fill_at_random() {
    std::mt19937 random(7);
    const auto pick = [&random](const std::vector<std::string>& from) {
      return from[random() % from.size()];
    };
    const std::vector<std::string> folders = {"/s/",       "/s/A/",        "/s/a/b/",         "/s/A_B/",
                                              "/s/AxB/c/", "/s/100%/",     "/s/100 up/",      "/s/\xC3\x84/",
                                              "/s/\xE4/",  "/s/\xFF\xFE/", "/s/ArtiSt/",      "/S/artist2/",
                                              "/s/it's/",  "/s/Zz/yy/",    "/s/\xEF\xBF\xBD/"};
    const std::vector<std::string> words = {
        "Alpha", "alpha", "beta", "Beta", "ALPHA", "1st", "\xC3\x84pfel", "zeta",
        "",      "Zoo",   "[x]",  "it's", "a",     "A",   "\xE6\x97\xA5", "_"};
    for (int i = 0; i < 300; ++i) {
      const std::string name = pick(words) + std::to_string(i);
      if (i % 3 == 0)
        add_video(pick({"/s/A/", "/s/AxB/c/", "/S/artist2/"}), name + pick({".mpg", ".srt", ".iso"}));
      if (i % 3 == 1) add_photo(pick({"/s/a/b/", "/s/100 up/", "/s/\xE4/", "/s/Zz/yy/"}), name + ".jpg");
      add_music(
          pick(folders), name + pick({".mp3", ".mp3", ".m3u", ".pls"}),
          SongTexts{.title = pick(words), .genre = pick(words), .artist = pick(words), .album = pick(words)});
    }
    for (const std::string& folder : folders) add_folder(folder.substr(0, folder.size() - (random() % 2)));
    add_folder("");
    add_folder("/nowhere/");
  }
};

TEST_F(SortTablesTest, HoldWhatTheStatementsOneByOneGive) {
  fill_at_random();
  run("update path_objid_tbl set have_video = '1', have_photo = '1' where path == '/nowhere/';");
  for (const int media_class : {kMusicClass, kVideoClass, kPhotoClass}) {
    EXPECT_EQ(rebuild(media_class), 1);
    static_cast<void>(column("select 1"));  // opens the catalogue again
  }
  g_db.close();

  OneByOne expected(path("catalogue.db"));
  EXPECT_EQ(expected.run("select idx from music_sortidx_tbl"),
            expected.items("music_tbl", " where EXT_fname !='m3u' AND EXT_fname !='pls'", "Title"));
  EXPECT_EQ(expected.run("select idx from video_sortidx_tbl"),
            expected.items("video_tbl", " where EXT_fname !='srt'", "UTF_fname"));
  EXPECT_EQ(expected.run("select idx from photo_sortidx_tbl"), expected.items("photo_tbl", "", "UTF_fname"));
  EXPECT_EQ(expected.run("select name,cnt,ObjID from music_sortGen_tbl"),
            expected.groups("Genre", 3040000000001));
  EXPECT_EQ(expected.run("select name,cnt,ObjID from music_sortArt_tbl"),
            expected.groups("Artist", 3050000000001));
  EXPECT_EQ(expected.run("select name,cnt,ObjID from music_sortAlb_tbl"),
            expected.groups("Album", 3060000000001));
  EXPECT_EQ(expected.run("select path,have_video,have_music,have_photo from path_objid_tbl order by ROWID"),
            expected.flags());
  EXPECT_EQ(expected.run("select distinct typeof(idx)||typeof(reserve1) from music_sortidx_tbl")[0][0],
            "textinteger");
}

TEST_F(SortTablesTest, OrderCapitalsAsTheirLetterAlone) {
  for (const char* title : {"Beta", "alpha", "Bravo", "1st", "bat"})
    add_music("/s/", "x.mp3", {.title = title});
  EXPECT_EQ(rebuild(kWholeCatalogue), 1);
  EXPECT_EQ(
      column(
          "select Title from music_tbl join music_sortidx_tbl on No = idx order by music_sortidx_tbl.ROWID"),
      "1st|alpha|Beta|Bravo|bat");
}

TEST_F(SortTablesTest, LeaveTheOtherClassesAlone) {
  run("create table video_sortidx_tbl (idx,reserve1,reserve2);");
  run("insert into video_sortidx_tbl values ('old',0,0);");
  EXPECT_EQ(rebuild(5), 0);
  EXPECT_TRUE(g_db.is_open());
  EXPECT_EQ(rebuild(kWholeCatalogue), 1);
  EXPECT_FALSE(g_db.is_open());
  EXPECT_EQ(column("select idx from video_sortidx_tbl"), "old");
  EXPECT_EQ(column("select count(*) from music_sortidx_tbl"), "0");
}

TEST_F(SortTablesTest, SaveTheCountersAndGoOnCounting) {
  add_music("/s/", "a.mp3", {.genre = "Rock"});
  add_music("/s/", "b.mp3", {.genre = "Blues"});
  EXPECT_EQ(rebuild(kMusicClass), 1);
  EXPECT_EQ(column("select ObjID from music_sortGen_tbl"), "3040000000001|3040000000002");
  EXPECT_EQ(rebuild(kMusicClass), 1);
  EXPECT_EQ(column("select ObjID from music_sortGen_tbl"), "3040000000003|3040000000004");
  EXPECT_EQ(column("select name from record_objid_tbl limit 9"),
            "media_path_objid|media_path_parid|photo_file_objid|video_file_objid|music_file_objid|"
            "music_file_pls_parid|music_file_gen_objid|music_file_art_objid|music_file_alb_objid");
  EXPECT_EQ(column("select value from record_objid_tbl where name == 'music_file_gen_objid'"),
            "3040000000003|3040000000005");
}

TEST_F(SortTablesTest, StopAtAGenreThatCannotBeWritten) {
  add_music("/s/", "a.mp3");
  run("update music_tbl set Genre = 'so-called \"music\"';");
  CapturedOutput output;
  EXPECT_EQ(RebuildSortTables(kMusicClass), 0);
  EXPECT_EQ(output.text(), "");
  EXPECT_TRUE(g_db.is_open());
  EXPECT_EQ(column("select count(*) from record_objid_tbl"), "0");
}

TEST_F(SortTablesTest, ReportTheFolderThatEndsTheFlags) {
  add_music("/s/a/", "a.mp3");
  add_folder("/s/a/");
  run("insert into path_objid_tbl values ('/s/\"b\"/','1','1','1','0','0','0');");
  add_folder("/s/");
  CapturedOutput output;
  EXPECT_EQ(RebuildSortTables(kMusicClass), 1);
  EXPECT_EQ(output.text(),
            "Assign path_objid_tbl media-->\n"
            "2Assign_pathtbl_media():sql query[select COUNT(No) from music_tbl where UTF_Path "
            "like\"/s/\"b\"/%\" limit 0,1;] "
            "error[a value holds the quote character of its literal: syntax error]\n"
            "Assign path_objid_tbl media fail\n");
  EXPECT_EQ(column("select have_music from path_objid_tbl"), "1|0|0");
}

TEST_F(SortTablesTest, ReportATableThatIsGone) {
  add_folder("/s/");
  run("drop table photo_tbl;");
  CapturedOutput output;
  EXPECT_EQ(Assign_pathtbl_media(), 0);
  EXPECT_EQ(output.text(),
            "4Assign_pathtbl_media():sql query[select COUNT(No) from photo_tbl where UTF_Path like\"/s/%\" "
            "limit 0,1;] "
            "error[no such table: photo_tbl]\n");
}

}  // namespace
}  // namespace corvexal
