#include "catalogue/database.h"

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
  for (const char* inner : {"BEGIN;", "COMMIT;"}) EXPECT_EQ(g_db.exec(inner), SQLITE_OK);  // joins and leaves
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

TEST_F(DatabaseTest, SaysWhenAReaderNeverLetsGo) {
  Reader reader(file_);
  reader.run("begin; select count(*) from music_tbl;");
  Database impatient;
  ASSERT_EQ(impatient.open(file_, std::chrono::milliseconds(50)), SQLITE_OK);
  impatient.exec(kInsert, "a", 1);
  CapturedOutput errors(2);
  impatient.close();
  EXPECT_EQ(errors.text(), "Corvexal: the catalogue could not be written: database is locked\n");
  EXPECT_TRUE(impatient.lost_work());
  reader.run("commit");
  EXPECT_EQ(reader.cell(kCount), "0");
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
