#include "catalogue/database.h"

#include <functional>
#include <thread>

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;

// A second connection, as a reader of the catalogue holds one. Its statements must succeed unless a test
// asks.
class Reader {
 public:
  explicit Reader(const std::string& path) { EXPECT_EQ(sqlite3_open(path.c_str(), &handle_), SQLITE_OK); }
  ~Reader() { sqlite3_close(handle_); }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  void run(const char* sql) {
    EXPECT_EQ(sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
  }

  std::string cell(const char* sql) {
    std::string text = "none";
    const auto take = [](void* into, int, char** values, char**) {
      *static_cast<std::string*>(into) = values[0] == nullptr ? "null" : values[0];
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(handle_, sql, take, &text, nullptr), SQLITE_OK) << sql;
    return text;
  }

 private:
  sqlite3* handle_ = nullptr;
};

constexpr std::chrono::milliseconds kImpatience{50};
constexpr const char* kCount = "select count(*) from record_objid_tbl";
constexpr const char* kInsert = "insert into record_objid_tbl values (\"%s\",\"%llu\");";

class DatabaseTest : public testing::CatalogueTest {
 protected:
  DatabaseTest() {
    g_db.exec("COMMIT;");  // what the fixture made
  }
  const std::string file_ = path("catalogue.db");
};

TEST_F(DatabaseTest, TakesEveryValueAsData) {
  const char* hostile[] = {"x');drop table music_tbl;--", "name", "?", "%s", "%n%n", "a;b", "'", "\xFF\xFE"};
  for (const char* value : hostile) EXPECT_EQ(g_db.exec(kInsert, value, 1), SQLITE_OK) << value;
  EXPECT_EQ(g_db.exec(kInsert, R"(x","y");drop table music_tbl;--)", 1), SQLITE_ERROR);
  EXPECT_TRUE(zErrMsg);
  EXPECT_EQ(column("select name from record_objid_tbl"),
            "x');drop table music_tbl;--|name|?|%s|%n%n|a;b|'|\xFF\xFE");
  EXPECT_EQ(column("select distinct typeof(value) from record_objid_tbl"), "text");
  EXPECT_EQ(column("select count(*) from music_tbl"), "0");
}

TEST_F(DatabaseTest, KeepsTheErrorOfTheLastStatementOnly) {
  EXPECT_NE(g_db.exec("drop table nowhere;"), SQLITE_OK);
  EXPECT_STREQ(error_text(), "no such table: nowhere");
  EXPECT_EQ(g_db.exec(kInsert, "a", 1), SQLITE_OK);
  EXPECT_FALSE(zErrMsg);
  EXPECT_FALSE(g_db.select("select nothing from music_tbl;").next());
  EXPECT_TRUE(zErrMsg);
}

TEST_F(DatabaseTest, ShowsAReaderWholeChangesOnly) {
  Reader reader(file_);
  g_db.exec(kInsert, "a", 1);
  for (const char* inner : {"BEGIN;", "COMMIT;"}) EXPECT_EQ(g_db.exec(inner), SQLITE_OK);
  g_db.exec("drop table photo_tbl;");
  EXPECT_EQ(reader.cell(kCount), "0");
  EXPECT_EQ(reader.cell("select count(*) from photo_tbl"), "0");
  EXPECT_EQ(g_db.exec("COMMIT;"), SQLITE_OK);
  EXPECT_EQ(reader.cell(kCount), "1");
  EXPECT_NE(g_db.exec("COMMIT;"), SQLITE_OK);  // nothing is open
  g_db.exec(kInsert, "b", 1);
  EXPECT_EQ(reader.cell(kCount), "1");
  g_db.close();
  EXPECT_EQ(reader.cell(kCount), "2");
  EXPECT_FALSE(g_db.lost_work());
}

TEST_F(DatabaseTest, DoesNothingOnceClosed) {
  g_db.close();
  g_db.close();
  EXPECT_EQ(g_db.exec(kInsert, "a", 1), SQLITE_MISUSE);
  EXPECT_STREQ(error_text(), "bad parameter or other API misuse");
  Rows rows = g_db.select("select 1;");
  EXPECT_FALSE(rows.next());
  EXPECT_TRUE(rows.failed());
}

TEST_F(DatabaseTest, WaitsForAReader) {
  Reader reader(file_);
  reader.run("begin; select count(*) from music_tbl;");
  g_db.exec(kInsert, "a", 1);
  std::thread release([&reader] {
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    reader.run("commit");
  });
  g_db.close();
  release.join();
  EXPECT_FALSE(g_db.lost_work());
  EXPECT_EQ(reader.cell(kCount), "1");
}

// What another connection or the disk prevents, and how it shows.
TEST_F(DatabaseTest, KeepsNothingOfARunThatLostAPart) {
  const struct {
    const char* name;
    std::function<void(Reader&, Database&)> prevent;
    int code;
    const char* message;
  } rows[] = {
      {"a reader that never lets go",
       [](Reader& reader, Database&) { reader.run("begin; select count(*) from music_tbl;"); }, SQLITE_BUSY,
       "database is locked"},
      {"a full disk",
       [](Reader&, Database& ours) { EXPECT_EQ(ours.exec("PRAGMA max_page_count=1;"), SQLITE_OK); },
       SQLITE_FULL, "database or disk is full"},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.name);
    Reader reader(file_);
    Database ours;
    ASSERT_EQ(ours.open(file_, kImpatience), SQLITE_OK);
    EXPECT_EQ(ours.exec(kInsert, "first", 1), SQLITE_OK);
    row.prevent(reader, ours);
    CapturedOutput errors(2);
    const std::string much(1 << 20, 'x');
    int code = ours.exec(kInsert, much, 1);
    if (code == SQLITE_OK) code = ours.exec("COMMIT;");
    EXPECT_EQ(code, row.code);
    EXPECT_TRUE(ours.lost_work());
    // All that follows fails alike and at once, and the locks are gone.
    EXPECT_EQ(ours.exec(kInsert, "later", 1), row.code);
    EXPECT_STREQ(error_text(), row.message);
    EXPECT_TRUE(ours.select(kCount).failed());
    EXPECT_EQ(Reader(file_).cell(kCount), "0");
    ours.close();
    EXPECT_TRUE(ours.lost_work());
    EXPECT_EQ(errors.text(),
              "Corvexal: the run's work since its last commit is lost: " + std::string(row.message) + '\n');
    EXPECT_EQ(Reader(file_).cell(kCount), "0");
  }
}

TEST_F(DatabaseTest, CountsAWriteThatNeverGetsItsLockAsLost) {
  Reader writer(file_);
  writer.run("begin immediate;");
  Database ours;
  ASSERT_EQ(ours.open(file_, kImpatience), SQLITE_OK);
  CapturedOutput errors(2);
  EXPECT_EQ(ours.exec(kInsert, "a", 1), SQLITE_BUSY);
  writer.run("rollback;");
  EXPECT_EQ(ours.exec(kInsert, "b", 1), SQLITE_BUSY);
  EXPECT_TRUE(ours.lost_work());
  ASSERT_EQ(ours.open(file_), SQLITE_OK);  // a new start
  EXPECT_FALSE(ours.lost_work());
  EXPECT_EQ(ours.exec(kInsert, "c", 1), SQLITE_OK);
  ours.close();
  EXPECT_EQ(column("select name from record_objid_tbl"), "c");
}

TEST_F(DatabaseTest, LosesNothingToAStatementThatIsMerelyWrong) {
  EXPECT_EQ(g_db.exec(kInsert, "a", 1), SQLITE_OK);
  g_db.exec("create unique index one on record_objid_tbl (name);");
  EXPECT_EQ(g_db.exec(kInsert, "a", 1), SQLITE_CONSTRAINT);
  EXPECT_EQ(g_db.exec(kInsert, "\"", 1), SQLITE_ERROR);
  EXPECT_EQ(g_db.exec("insert into nowhere values (1);"), SQLITE_ERROR);
  EXPECT_EQ(g_db.exec(kInsert, "b", 1), SQLITE_OK);
  g_db.close();
  EXPECT_FALSE(g_db.lost_work());
  EXPECT_EQ(column("select name from record_objid_tbl"), "a|b");
}

TEST_F(DatabaseTest, TakesBackWhatIsNotClosed) {
  {
    Database abandoned;
    ASSERT_EQ(abandoned.open(file_), SQLITE_OK);
    EXPECT_EQ(abandoned.exec(kInsert, "a", 1), SQLITE_OK);
  }
  EXPECT_EQ(column(kCount), "0");
}

TEST_F(DatabaseTest, NestsASelectInItself) {
  for (const char* name : {"a", "b"}) g_db.exec(kInsert, name, 1);
  std::string pairs;
  constexpr const char* kNames = "select name from record_objid_tbl;";
  for (Rows outer = g_db.select(kNames); outer.next();)
    for (Rows inner = g_db.select(kNames); inner.next();)
      pairs.append(outer.text(0)).append(inner.text(0)).append(" ");
  EXPECT_EQ(pairs, "aa ab ba bb ");
}

TEST(Database, SaysWhyAFileCannotBeOpened) {
  Database database;
  CapturedOutput errors(2);
  EXPECT_EQ(database.open("/nonexistent/upnpav.db"), SQLITE_CANTOPEN);
  EXPECT_EQ(errors.text(),
            "Corvexal: cannot open the catalogue /nonexistent/upnpav.db: unable to open database file\n");
  EXPECT_FALSE(database.is_open());
}

}  // namespace
}  // namespace corvexal
