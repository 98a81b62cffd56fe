// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/display_order.h"

#include "catalogue/schema.h"
#include "catalogue/sort_tables.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

class DisplayOrderTest : public testing::CatalogueTest {
 protected:
  // Songs whose titles, groups and folders meet in case, length and first bytes, and two playlists.
  void fill() {
    const auto titles = testing::words(
        "b B a A Zoo zoo \xC3\x84pfel \xC3\xA4pfel 12345678 123456789 12345678a 1234567 [x] ab abc  \xFF @ "
        "`");
    const auto names = testing::words("rock Rock ROCK rocK \xC3\x84 pop  P pOp2 [x] rock");
    for (std::size_t i = 0; i < 60; ++i) {
      add_row("music_tbl", "/s/" + names[i % 7] + '/', std::to_string(i) + (i % 30 == 7 ? ".pls" : ".mp3"));
      run(R"(update music_tbl set Title="%s",Genre="%s",Artist="%s",Album="%s" where ROWID=='%d';)",
          titles[i * 7 % titles.size()], names[i * 3 % names.size()], names[i * 5 % 4], titles[i % 19],
          i + 1);
      add_row("photo_tbl", "/s/", titles[i * 5 % titles.size()]);
      add_row("video_tbl", "/s/", titles[i * 3 % titles.size()] + (i % 9 == 0 ? ".srt" : ".mpg"));
    }
  }

  // All columns of all rows.
  std::string rows(const std::string& sql, int columns) {
    std::string all;
    Rows rows = db.read(sql.c_str());
    while (rows.next())
      for (int i = 0; i < columns; ++i) all.append(rows.text(i)).push_back(i + 1 < columns ? '|' : '\n');
    EXPECT_FALSE(rows.failed()) << sql << ": " << db.error_text();
    return all;
  }

  bool takes_one_pass(MediaClass media_class, std::size_t most_bytes = DisplayOrder::kMostBytes) {
    const SortTable& items = item_tables()[static_cast<std::size_t>(media_class)];
    return DisplayOrder::read(db, media_class, items.query, most_bytes).has_value();
  }

  // The tables must hold what the queries give, as text, in rows without a gap.
  void expect_as_queries(MediaClass media_class) {
    ASSERT_TRUE(write_sort_tables(session, media_class)) << db.error_text();
    const auto expect_same = [this](const SortTable& table, const char* stored, int columns) {
      const std::string from = " from " + std::string(table.name);
      EXPECT_EQ(rows(stored + from + " order by ROWID", columns), rows(table.query, columns)) << table.name;
      EXPECT_EQ(rows("select count(*)" + from, 1), rows("select ifnull(max(ROWID),0)" + from, 1));
      const std::string types = columns > 1 ? "typeof(name)||typeof(cnt)||typeof(ObjID)" : "typeof(idx)";
      const std::string shape = columns > 1 ? "texttexttext|integer|0|0\n" : "text|integer|0|0\n";
      const std::string found =
          rows("select distinct " + types + ",typeof(reserve1),reserve1,reserve2" + from, 4);
      EXPECT_TRUE(found.empty() || found == shape) << found;
    };
    expect_same(item_tables()[static_cast<std::size_t>(media_class)], "select idx", 1);
    if (media_class != MediaClass::kMusic) return;
    for (const SortTable& table : group_tables()) expect_same(table, "select name,cnt", 2);
  }
};

TEST_F(DisplayOrderTest, IsWhatTheQueriesGiveWhateverTheValues) {
  const struct {
    const char* what;
    const char* change;
    bool in_one_pass;
  } cases[] = {
      {"texts", "select 1;", true},
      {"no rows", "delete from music_tbl;", true},
      {"empty texts", "update music_tbl set No='',Title='',Genre='',UTF_Path='' where ROWID % 3 = 0;", true},
      {"one key for all", "update music_tbl set Title='Q'||Title;", true},
      {"long keys that differ late", "update music_tbl set Title='long enough '||Title;", true},
      {"bytes that are no characters", "update music_tbl set Title=cast(x'c1fe'||Title as text);", true},
      {"an extension in capitals", "update music_tbl set EXT_fname='M3U' where ROWID < 9;", true},
      {"a playlist without a title", "update music_tbl set Title=null,Genre=1 where EXT_fname='pls';", true},
      {"rows out of their numbers' order", "update music_tbl set ROWID=-ROWID;", true},
      {"an integer for a number", "update music_tbl set No=cast(No as integer) where ROWID=5;", false},
      {"no title", "update music_tbl set Title=null where ROWID=5;", false},
      {"a title of many types",
       "update music_tbl set Title=case ROWID % 4 when 0 then 5 when 1 then 4.5 when 2 then x'41' else 'b' "
       "end;",
       false},
      {"a title with a NUL", "update music_tbl set Title='b'||char(0)||'a' where ROWID=5;", false},
      {"groups of many types",
       "update music_tbl set Genre=case ROWID % 4 when 0 then null when 1 then 1 when 2 then x'41' else 'a' "
       "end;",
       false},
      {"no extension", "update music_tbl set EXT_fname=null where ROWID=5;", false},
      {"no folder", "update music_tbl set UTF_Path=null where ROWID=5;", false},
      {"an index that covers the query", "create index i on music_tbl (EXT_fname,Title desc,No desc);",
       false},
      {"a collation",
       "drop table music_tbl; create table music_tbl (No,EXT_fname,UTF_Path,Title,Genre collate "
       "nocase,Artist,"
       "Album); insert into music_tbl values ('1','mp3','/','t','a','',''),('2','mp3','/','t','A','','');",
       false},
      {"a key in place of the ROWID",
       "create table k (a primary key,No,EXT_fname,UTF_Path,Title,Genre,Artist,Album) without rowid; insert "
       "into "
       "k select -ROWID,No,EXT_fname,UTF_Path,Title,Genre,Artist,Album from music_tbl; drop table music_tbl; "
       "alter table k rename to music_tbl;",
       false},
  };
  for (const auto& [what, change, in_one_pass] : cases) {
    SCOPED_TRACE(what);
    for (const char* table : {"music_tbl", "photo_tbl", "video_tbl"}) run("drop table %s;", table);
    create_tables(db);
    fill();
    for (std::string_view rest = change; !rest.empty();) {
      const std::size_t end = rest.find(';') + 1;
      ASSERT_EQ(db.write(std::string(rest.substr(0, end)).c_str()), SQLITE_OK) << db.error_text();
      rest.remove_prefix(end);
    }
    EXPECT_EQ(takes_one_pass(MediaClass::kMusic), in_one_pass);
    expect_as_queries(MediaClass::kMusic);
    EXPECT_TRUE(sort_tables_are_current(db, MediaClass::kMusic));
  }
  for (const MediaClass media_class : {MediaClass::kVideo, MediaClass::kPhoto}) {
    EXPECT_TRUE(takes_one_pass(media_class));
    expect_as_queries(media_class);
  }
  db.write("update photo_tbl set UTF_fname=7 where ROWID=7;");
  EXPECT_FALSE(takes_one_pass(MediaClass::kPhoto));
  expect_as_queries(MediaClass::kPhoto);
}

TEST_F(DisplayOrderTest, KeepsNoMoreThanItMay) {
  fill();
  EXPECT_TRUE(takes_one_pass(MediaClass::kMusic, 10'000));
  EXPECT_FALSE(takes_one_pass(MediaClass::kMusic, 1'000));
}

// Each kind of row that a sort table can hold wrongly.
TEST_F(DisplayOrderTest, IsComparedWithEveryStoredRow) {
  const char* const faults[] = {
      "delete from music_sortidx_tbl where ROWID=1;",
      "delete from music_sortAlb_tbl where ROWID=(select max(ROWID) from music_sortAlb_tbl);",
      "insert into music_sortidx_tbl values ('1',0,0);",
      "insert into music_sortGen_tbl values ('zzz','1','9999999999999',0,0);",
      "update music_sortGen_tbl set name='x' where ROWID=2;",
      "update music_sortArt_tbl set cnt='99' where ROWID=2;",
      "update music_sortAlb_tbl set ObjID='1' where ROWID=2;",
      "drop table music_sortGen_tbl;",
  };
  fill();
  for (const char* fault : faults) {
    ASSERT_TRUE(write_sort_tables(session, MediaClass::kMusic));
    EXPECT_TRUE(sort_tables_are_current(db, MediaClass::kMusic));
    run(fault);
    EXPECT_FALSE(sort_tables_are_current(db, MediaClass::kMusic)) << fault;
  }
}

}  // namespace
}  // namespace corvexal
