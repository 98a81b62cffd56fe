// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/sort_tables.h"

#include "catalogue/display_order.h"
#include "catalogue/schema.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

class SortTablesTest : public testing::CatalogueTest {
 protected:
  // Songs, photos and videos whose texts and folders meet in case, length and first bytes, and hold
  // wildcards, quotes and odd bytes; two playlists.
  void fill() {
    const auto titles = testing::words(
        "b B a A Zoo zoo \xC3\x84pfel \xC3\xA4pfel 12345678 123456789 12345678a 12345678ba 12345678ab "
        "1234567 [x] "
        "ab abc  \xFF @ `");
    const auto names = testing::words("rock Rock ROCK rocK \xC3\x84 pop  P pOp2 it's rock");
    const auto folders = testing::words(
        "/s/ /s/A/ /s/a/b/ /s/A_B/ /s/AxB/c/ /s/100%/ /s/100.up/ /s/\xC3\x84/ /s/\xE4/ /s/\xFF\xFE/ "
        "/s/ArtiSt/ /S/artist2/ /s/it's/ /s/Zz/yy/ /s/\xEF\xBF\xBD/");
    for (std::size_t i = 0; i < 60; ++i) {
      add_row("music_tbl", folders[i % 11], std::to_string(i) + (i % 30 == 7 ? ".pls" : ".mp3"));
      run(R"(update music_tbl set Title="%s",Genre="%s",Artist="%s",Album="%s" where ROWID=='%d';)",
          titles[i * 4 % titles.size()], names[i * 3 % names.size()], names[i * 5 % 4], titles[i % 19],
          i + 1);
      add_row("photo_tbl", folders[i % 5], titles[i * 5 % titles.size()]);
      add_row("video_tbl", folders[i % 3], titles[i * 2 % titles.size()] + (i % 9 == 0 ? ".srt" : ".mpg"));
    }
    for (const std::string& folder : folders) add_folder(folder.substr(0, folder.size() - folder.size() % 2));
  }

  // The first two columns of all rows.
  std::string rows(const std::string& sql) {
    std::string all;
    Rows rows = db.read(sql.c_str());
    while (rows.next()) all.append(rows.text(0)).append("|").append(rows.text(1)).append("\n");
    EXPECT_FALSE(rows.failed()) << sql << ": " << db.error_text();
    return all;
  }

  bool takes_one_pass(MediaClass media_class, std::size_t most_bytes = DisplayOrder::kMostBytes) {
    const SortTable& items = item_tables()[static_cast<std::size_t>(media_class)];
    return DisplayOrder::read(db, media_class, items.query, most_bytes).has_value();
  }

  // One row too few or too many, or the last one other than it should be.
  void expect_changes_noticed(const char* table, MediaClass media_class) {
    for (const char* change : {"delete from %s where ROWID = (select max(ROWID) from %s);",
                               "insert into %s select * from %s limit 1;",
                               "update %s set idx = 'x' where ROWID = (select max(ROWID) from %s);",
                               "update %s set name = 'x' where ROWID = (select max(ROWID) from %s);",
                               "update %s set cnt = 'x' where ROWID = (select max(ROWID) from %s);"}) {
      run("savepoint before;");
      const bool changed = db.exec(change, table, table) == SQLITE_OK && db.changed_rows() > 0;
      EXPECT_FALSE(changed && sort_tables_are_current(db, media_class)) << table << ": " << change;
      run("rollback to before;");
    }
  }

  void expect_tables_as_queries(MediaClass media_class) {
    ASSERT_TRUE(write_sort_tables(session, media_class)) << db.error_text();
    EXPECT_TRUE(sort_tables_are_current(db, media_class));
    const SortTable& items = item_tables()[static_cast<std::size_t>(media_class)];
    EXPECT_EQ(rows(std::string("select idx from ") + items.name), rows(items.query));
    expect_changes_noticed(items.name, media_class);
    if (media_class != MediaClass::kMusic) return;
    for (const SortTable& groups : group_tables()) {
      EXPECT_EQ(rows(std::string("select name,cnt from ") + groups.name), rows(groups.query));
      expect_changes_noticed(groups.name, media_class);
    }
  }
};

TEST_F(SortTablesTest, HoldWhatTheQueriesGiveWhateverTheValues) {
  const struct {
    std::vector<const char*> changes;
    bool in_one_pass;
  } cases[] = {
      {{}, true},
      {{"delete from music_tbl;"}, true},
      {{"update music_tbl set No='',Title='',Genre='',UTF_Path='' where ROWID % 3 = 0;"}, true},
      {{"update music_tbl set Title='Q'||Title;"}, true},  // one key for all
      {{"update music_tbl set Title='long enough '||Title;"}, true},
      {{"update music_tbl set Title=cast(x'c1fe'||Title as text);"}, true},
      {{"update music_tbl set EXT_fname='M3U' where ROWID < 9;"}, true},
      {{"update music_tbl set Title=null,Genre=1 where EXT_fname='pls';"}, true},
      {{"update music_tbl set ROWID=-ROWID;"}, true},
      {{"update music_tbl set No=cast(No as integer) where ROWID=5;"}, false},
      {{"update music_tbl set Title=case ROWID % 4 when 0 then 5 when 1 then x'41' when 2 then 'b' end;"},
       false},
      {{"update music_tbl set Title='b'||char(0)||'a' where ROWID=5;"}, false},
      {{"update music_tbl set Genre=case ROWID % 4 when 0 then 1 when 1 then x'41' when 2 then 'a' end;"},
       false},
      {{"update music_tbl set EXT_fname=null where ROWID=5;"}, false},
      {{"update music_tbl set UTF_Path=null where ROWID=5;"}, false},
      {{"create index i on music_tbl (EXT_fname,Title desc,No desc);"}, false},  // covers the query
      {{"alter table music_tbl add column other collate nocase;"}, false},
      {{"create table k (a primary key,No,EXT_fname,UTF_Path,Title,Genre,Artist,Album) without rowid;",
        "insert into k select -ROWID,No,EXT_fname,UTF_Path,Title,Genre,Artist,Album from music_tbl;",
        "drop table music_tbl;", "alter table k rename to music_tbl;"},
       false},
  };
  fill();
  for (const auto& [changes, in_one_pass] : cases) {
    SCOPED_TRACE(changes.empty() ? "texts" : changes.front());
    run("savepoint start;");
    for (const char* change : changes) ASSERT_EQ(db.write(change), SQLITE_OK) << db.error_text();
    EXPECT_EQ(takes_one_pass(MediaClass::kMusic), in_one_pass);
    expect_tables_as_queries(MediaClass::kMusic);
    run("rollback to start;");
  }
  for (const MediaClass media_class : {MediaClass::kVideo, MediaClass::kPhoto}) {
    EXPECT_TRUE(takes_one_pass(media_class));
    expect_tables_as_queries(media_class);
  }
  db.write("update photo_tbl set UTF_fname=7 where ROWID=7;");
  EXPECT_FALSE(takes_one_pass(MediaClass::kPhoto));
  expect_tables_as_queries(MediaClass::kPhoto);
  for (const char* column : {"UTF_Path", "Title", "Album"}) {  // each takes its share of the memory
    run("savepoint start;");
    run("delete from music_tbl where ROWID > 1;");
    run("update music_tbl set %s = printf('%%.1000c', 'x');", column);
    EXPECT_TRUE(takes_one_pass(MediaClass::kMusic, 2'000)) << column;
    EXPECT_FALSE(takes_one_pass(MediaClass::kMusic, 1'000)) << column;
    run("rollback to start;");
  }
}

TEST_F(SortTablesTest, HoldWhatTheQueriesGiveInACatalogueOfAnotherEncoding) {
  db.close();
  ASSERT_EQ(db.open(path("utf-16.db")), SQLITE_OK);
  run("PRAGMA encoding = 'UTF-16be';");
  ASSERT_EQ(create_tables(db), SQLITE_OK);
  fill();
  EXPECT_FALSE(takes_one_pass(MediaClass::kMusic));
  expect_tables_as_queries(MediaClass::kMusic);
}

TEST_F(SortTablesTest, AreRebuiltWithTheFoldersFlagsAndLeaveTheOtherClassesAlone) {
  fill();
  run("create table video_sortidx_tbl (idx,reserve1,reserve2);");
  run("insert into video_sortidx_tbl values ('old',0,0);");
  run("update music_tbl set Genre = 'Rock';");
  run("update path_objid_tbl set have_video = '1', have_music = ''||(ROWID % 2), have_photo = ''||(ROWID % "
      "3);");
  const auto has_rows = [](const std::string& table) {
    return "||(select COUNT(No) > 0 from " + table + " where UTF_Path like path||'%%')";
  };
  for (const char* objid : {"3040000000001", "3040000000002"}) {
    printed([this] { EXPECT_EQ(rebuild_for_whole_catalogue(session), 1); });
    EXPECT_FALSE(db.is_open());
    EXPECT_EQ(column("select ObjID from music_sortGen_tbl"), objid);
    EXPECT_EQ(column("select path||have_video||have_music||have_photo from path_objid_tbl"),
              column("select path" + has_rows("video_tbl") + has_rows("music_tbl") + has_rows("photo_tbl") +
                     " from path_objid_tbl order by ROWID"));
  }
  EXPECT_EQ(column("select value from record_objid_tbl where name == 'music_file_gen_objid'"),
            "3040000000002|3040000000003");
  EXPECT_EQ(column("select idx from video_sortidx_tbl"), "old");
}

}  // namespace
}  // namespace corvexal
