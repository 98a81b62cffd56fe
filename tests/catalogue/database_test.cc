// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/database.h"

#include <vector>

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

constexpr const char* kNames = "select name from record_objid_tbl;";
constexpr const char* kInsert = R"(insert into record_objid_tbl values ("%s","%llu");)";

using DatabaseTest = testing::CatalogueTest;

TEST_F(DatabaseTest, TakesEveryValueAsData) {
  for (const char* value : {"x');drop table music_tbl;--", "name", "?", "%s%n", "a;b", "'", "\xFF\xFE"})
    EXPECT_EQ(db.exec(kInsert, value, 1), SQLITE_OK) << value;
  EXPECT_EQ(db.exec(kInsert, R"(x","y");drop table music_tbl;--)", 1), SQLITE_ERROR);
  EXPECT_STRNE(db.error_text(), "");
  EXPECT_EQ(column(kNames), "x');drop table music_tbl;--|name|?|%s%n|a;b|'|\xFF\xFE");
  EXPECT_STREQ(db.error_text(), "") << "an error is that of the last statement";
  EXPECT_EQ(column("select distinct typeof(value) from record_objid_tbl"), "text");
  EXPECT_EQ(column("select count(*) from music_tbl"), "0");
}

TEST_F(DatabaseTest, ShowsOtherClientsWholeChangesOnly) {
  run(kInsert, "a", 1);
  for (const char* statement : {"BEGIN;", "COMMIT;", "drop table photo_tbl;"}) run(statement);
  EXPECT_EQ(committed(kNames), "");
  EXPECT_EQ(committed("select count(*) from photo_tbl"), "0");
  run("COMMIT;");
  EXPECT_EQ(committed(kNames), "a");
  EXPECT_NE(db.exec("COMMIT;"), SQLITE_OK);  // nothing is open
  run(kInsert, "b", 1);
  EXPECT_EQ(committed(kNames), "a");
  db.close();
  EXPECT_EQ(committed(kNames), "a|b");
  EXPECT_FALSE(db.lost_work());
  EXPECT_EQ(db.exec(kInsert, "c", 1), SQLITE_MISUSE) << "closed";
  EXPECT_TRUE(db.select(kNames).failed());
}

// What another connection or the disk prevents, and how it shows.
TEST_F(DatabaseTest, KeepsNothingOfARunThatLostAPart) {
  const struct {
    const char* name;
    std::vector<const char*> others_do;
    const char* we_do;
    int code;
    const char* message;
  } rows[] = {
      {"another client's read that never ends",
       {"begin;", kNames},
       kNames,
       SQLITE_BUSY,
       "database is locked"},
      {"a lock that never comes", {"begin immediate;"}, kNames, SQLITE_BUSY, "database is locked"},
      {"a full disk", {}, "PRAGMA max_page_count=1;", SQLITE_FULL, "database or disk is full"},
  };
  Database ours;
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Database other;
    other.open(path("catalogue.db"));
    for (const char* statement : row.others_do) other.exec(statement);
    ASSERT_EQ(ours.open(path("catalogue.db"), std::chrono::milliseconds(50)), SQLITE_OK);
    EXPECT_FALSE(ours.lost_work()) << "a new start";
    EXPECT_EQ(ours.exec(row.we_do), SQLITE_OK);

    testing::CapturedOutput errors(2);
    int code = ours.exec(kInsert, "first", 1);
    for (int i = 0; i < 10 && code == SQLITE_OK; ++i) code = ours.exec(kInsert, std::string(100'000, 'x'), 1);
    if (code == SQLITE_OK) code = ours.exec("COMMIT;");
    EXPECT_EQ(code, row.code);
    EXPECT_TRUE(ours.lost_work());
    // All that follows fails alike and at once, and the locks are gone.
    other.close();
    EXPECT_EQ(ours.exec(kInsert, "later", 1), row.code);
    EXPECT_STREQ(ours.error_text(), row.message);
    EXPECT_TRUE(ours.select(kNames).failed());
    run(kInsert, "ours again", 1);
    run("COMMIT;");
    ours.close();
    EXPECT_TRUE(ours.lost_work());
    EXPECT_EQ(errors.text(),
              "Corvexal: the run's work since its last commit is lost: " + std::string(row.message) + '\n');
    EXPECT_EQ(committed(kNames), "ours again");
    run("delete from record_objid_tbl;");
    run("COMMIT;");
  }
}

TEST_F(DatabaseTest, LosesNothingToAStatementThatIsMerelyWrong) {
  run(kInsert, "a", 1);
  run("create unique index one on record_objid_tbl (name);");
  EXPECT_EQ(db.exec(kInsert, "a", 1), SQLITE_CONSTRAINT);
  EXPECT_EQ(db.exec(kInsert, "\"", 1), SQLITE_ERROR);
  EXPECT_EQ(db.exec("insert into nowhere values (1);"), SQLITE_ERROR);
  run(kInsert, "b", 1);
  db.close();
  EXPECT_FALSE(db.lost_work());
  EXPECT_EQ(column(kNames), "a|b");
}

TEST_F(DatabaseTest, TakesBackWhatIsNotClosed) {
  {
    Database abandoned;
    ASSERT_EQ(abandoned.open(path("catalogue.db")), SQLITE_OK);
    EXPECT_EQ(abandoned.exec(kInsert, "a", 1), SQLITE_OK);
  }
  EXPECT_EQ(committed(kNames), "");
}

}  // namespace
}  // namespace corvexal
