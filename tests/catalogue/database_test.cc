// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/database.h"

#include <optional>
#include <stdexcept>
#include <vector>

#include "tests/catalogue/catalogue_fixture.h"
#include "tests/support/sql.h"

namespace corvexal {
namespace {

constexpr const char* kNames = "select name from record_objid_tbl;";
constexpr const char* kInsert = R"(insert into record_objid_tbl values ("%s","%llu");)";

using DatabaseTest = testing::CatalogueTest;

TEST_F(DatabaseTest, ShowsOtherClientsWholeChangesOnly) {
  run(kInsert, "a", 1);
  run("drop table photo_tbl;");
  EXPECT_EQ(committed(kNames), "");
  EXPECT_EQ(committed("select count(*) from photo_tbl"), "0");
  run("COMMIT;");
  EXPECT_EQ(committed(kNames), "a");
  EXPECT_NE(db.exec("COMMIT;"), SQLITE_OK);  // nothing is open
  {
    Database abandoned;
    ASSERT_EQ(abandoned.open(path("catalogue.db")), SQLITE_OK);
    EXPECT_EQ(abandoned.exec(kInsert, "never closed", 1), SQLITE_OK);
  }
  run("create unique index one on record_objid_tbl (name);");
  EXPECT_EQ(db.exec(kInsert, "a", 1), SQLITE_CONSTRAINT);  // a statement that is merely wrong loses nothing
  EXPECT_STREQ(db.error_text(), "UNIQUE constraint failed: record_objid_tbl.name");
  run(kInsert, "b", 1);
  EXPECT_STREQ(db.error_text(), "") << "an error is that of the last statement";
  EXPECT_EQ(committed(kNames), "a");
  db.close();
  EXPECT_EQ(committed(kNames), "a|b");
  EXPECT_FALSE(db.lost_work());
  EXPECT_EQ(db.exec(kInsert, "c", 1), SQLITE_MISUSE) << "closed";
  Rows rows = db.select(kNames);
  EXPECT_FALSE(rows.next());
  EXPECT_TRUE(rows.failed());
  testing::CapturedOutput errors(2);
  EXPECT_EQ(db.open_to_read(path("nowhere.db")), SQLITE_CANTOPEN);
  EXPECT_FALSE(db.is_open());
}

TEST_F(DatabaseTest, HoldsItsPictureUntilTheCommitAndCommitsManyRowsInBatches) {
  Database other;
  ASSERT_EQ(other.open(path("catalogue.db"), std::chrono::milliseconds(50)), SQLITE_OK);
  db.read_in_one_transaction();
  Rows none = db.select(kNames);
  EXPECT_FALSE(none.next());
  EXPECT_FALSE(none.next()) << "no second walk";
  EXPECT_FALSE(none.failed());
  {
    testing::CapturedOutput errors(2);
    EXPECT_EQ(other.exec(kInsert, "a", 1), SQLITE_OK);
    EXPECT_EQ(other.exec("COMMIT;"), SQLITE_BUSY) << "that would change what is being read";
  }
  run("COMMIT;");
  db.begin_writing();
  EXPECT_THROW(testing::Sql(path("catalogue.db")).run("begin immediate"), std::runtime_error);

  // Far more than SQLite's cache holds locks no client out.
  const std::string large(100'000, 'x');
  for (int i = 0; i < 499; ++i) {
    run(kInsert, i % 10 == 0 ? large : "x", i);
    db.commit_in_batches();
  }
  EXPECT_EQ(committed("select count(*) from record_objid_tbl"), "0");
  for (const int rows : {500, 501}) {
    run(kInsert, "x", rows);
    db.commit_in_batches();
    EXPECT_EQ(committed("select count(*) from record_objid_tbl"), "500");
  }
}

TEST_F(DatabaseTest, KeepsNothingOfARunThatLostAPart) {
  const struct {
    std::vector<const char*> others_do, we_do;
    int code;
  } rows[] = {{{"begin", kNames}, {}, SQLITE_BUSY},  // a client's read that never ends
              {{"begin", kNames}, {"PRAGMA cache_size=9;", "PRAGMA cache_spill=9;"}, SQLITE_BUSY},
              {{"begin immediate"}, {}, SQLITE_BUSY},
              {{}, {"PRAGMA max_page_count=1;"}, SQLITE_FULL}};
  Database ours;
  for (const auto& [others_do, we_do, expected] : rows) {
    std::optional<testing::Sql> other(path("catalogue.db"));
    for (const char* statement : others_do) other->run(statement);
    ASSERT_EQ(ours.open(path("catalogue.db"), std::chrono::milliseconds(50)), SQLITE_OK);
    EXPECT_FALSE(ours.lost_work()) << "a new start";
    for (const char* statement : we_do) EXPECT_EQ(ours.exec(statement), SQLITE_OK);

    testing::CapturedOutput errors(2);
    int code = SQLITE_OK;
    for (int i = 0; i < 10 && code == SQLITE_OK; ++i) code = ours.exec(kInsert, std::string(100'000, 'x'), i);
    if (code == SQLITE_OK) code = ours.exec("COMMIT;");
    EXPECT_EQ(code, expected);
    EXPECT_TRUE(ours.lost_work());
    // All that follows fails alike and at once, and the locks are gone.
    other.reset();
    EXPECT_EQ(ours.exec(kInsert, "later", 1), expected);
    const std::string message = sqlite3_errstr(expected);
    EXPECT_EQ(ours.error_text(), message);
    EXPECT_TRUE(ours.select(kNames).failed());
    run(kInsert, "ours again", 1);
    run("COMMIT;");
    ours.close();
    EXPECT_TRUE(ours.lost_work());
    EXPECT_EQ(errors.text(), "Corvexal: the run's work since its last commit is lost: " + message + '\n');
    EXPECT_EQ(committed(kNames), "ours again");
    run("delete from record_objid_tbl;");
    run("COMMIT;");
  }
}

}  // namespace
}  // namespace corvexal
