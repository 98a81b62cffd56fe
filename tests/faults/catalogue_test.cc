// SPDX-License-Identifier: GPL-3.0-or-later
#include <ctime>

#include "catalogue/row_counts.h"
#include "tests/catalogue/catalogue_fixture.h"
#include "tests/support/sql.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;

constexpr const char* kInsert = R"(insert into music_tbl (No,Title) values ("%d","%s");)";
const std::string kCount =
    "select max(i) from (with recursive n(i) as (select 1 union all select i + 1 from n) select i from n "
    "limit ";

// A catalogue that others have had their hands on.
class HostileCatalogue : public testing::CatalogueTest {
 protected:
  // Does to the closed catalogue what a client of it may do.
  void spoil(const char* statement) {
    db.close();
    testing::Sql(path("catalogue.db")).run(statement);
    ASSERT_EQ(db.open(path("catalogue.db"), std::chrono::seconds(1), std::chrono::milliseconds(50)),
              SQLITE_OK);
  }
};

TEST_F(HostileCatalogue, RunsNoTriggers) {
  spoil(
      "create trigger endless after insert on music_tbl begin insert into video_tbl (No) "
      "with recursive n(i) as (select 1 union all select i + 1 from n) select i from n; end");
  EXPECT_EQ(db.exec(kInsert, 1, "a"), SQLITE_OK);
  EXPECT_EQ(column("select (select count(*) from music_tbl) || (select count(*) from video_tbl)"), "10");
}

TEST_F(HostileCatalogue, TakesNoViewOrVirtualTableForATable) {
  struct Form {
    const char *create, *drop;
  };
  for (const auto& [form, drop] :
       {Form{"create view music_tbl as with recursive n(i) as (select 1 union all select i + 1 from n) "
             "select i as No, 'x' as Title from n",
             "drop view music_tbl"},
        Form{"create virtual table music_tbl using fts5 (No, Title)", "drop table music_tbl"}}) {
    spoil("drop table if exists music_tbl");
    spoil(form);
    CapturedOutput out;
    EXPECT_EQ(LastRowNo(db, "music_tbl"), -1) << form;
    EXPECT_EQ(db.exec(kInsert, 1, "a"), SQLITE_ERROR) << form;
    EXPECT_FALSE(db.lost_work());
    spoil(drop);
  }
}

TEST_F(HostileCatalogue, ReadsNoTextThatWouldFillTheMemory) {
  const std::string large(70'000, 'x');
  const struct {
    std::string spoils, query;
  } rows[] = {{"insert into music_tbl (Title) values (zeroblob(200000))", "select Title from music_tbl;"},
              {"create table large (a default '" + large + "')", "select No from photo_tbl;"}};
  for (const auto& [spoils, query] : rows) {
    spoil(spoils.c_str());
    CapturedOutput errors(2);
    Rows found = db.select(query);
    EXPECT_FALSE(found.next()) << query;
    EXPECT_TRUE(found.failed()) << query;
  }
}

// What the statement layer cannot look through, an index's own work among it, ends all the same.
TEST_F(HostileCatalogue, EndsAStatementThatTakesTooLong) {
  run(kInsert, 1, std::string(100'000, 'a'));
  spoil("create index slow on music_tbl (instr(Title, substr(Title, 1, length(Title) / 2) || 'b'))");
  EXPECT_EQ(column(kCount + "99);"), "99");
  for (const std::clock_t end = std::clock() + CLOCKS_PER_SEC / 10; std::clock() < end;) {
  }
  EXPECT_EQ(column(kCount + "99);"), "99") << "what the run took before counts for nothing";
  CapturedOutput errors(2);
  int code = SQLITE_OK;
  for (int i = 0; i < 3 && code == SQLITE_OK; ++i)
    code = db.exec(
        "insert into music_tbl (No,Title) select a.No, a.Title from music_tbl a, music_tbl b, "
        "(select 1 union select 2 union select 3 union select 4);");
  EXPECT_EQ(code, SQLITE_INTERRUPT);
  EXPECT_TRUE(db.lost_work());
  EXPECT_EQ(errors.text(),
            "Corvexal: the run's work since its last commit is lost: a statement takes too long\n");
}

TEST_F(HostileCatalogue, EndsRowsWithoutEnd) {
  EXPECT_EQ(column(kCount + "400000);"), "400000") << "many, but not for any catalogue";
  for (int i = 0; i < 5; ++i) run(kInsert, i, std::string(100'000, 'a'));
  run("COMMIT;");
  EXPECT_EQ(column(kCount + "600000);"), "600000") << "many, but not for one of this size";
  Rows rows = db.select("with recursive n(i) as (select 1 union all select i + 1 from n) select i from n;");
  CapturedOutput errors(2);
  while (rows.next()) {
  }
  EXPECT_TRUE(rows.failed());
  EXPECT_TRUE(db.lost_work());
}
}  // namespace
}  // namespace corvexal
