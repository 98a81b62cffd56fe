// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/catalogue_files.h"

#include <filesystem>
#include <numeric>

#include "tests/catalogue/catalogue_fixture.h"
#include "tests/support/bytes.h"

namespace corvexal {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using testing::be32;
using testing::CapturedOutput;

class CatalogueFilesTest : public testing::CatalogueTest {
 protected:
  // What opening a catalogue says on standard error after its name; empty when it opens.
  std::string refusal_of(const std::string& name) const {
    CapturedOutput errors(2);
    Database database;
    const int code = database.open(path(name));
    const std::string said = errors.text(),
                      start = "Corvexal: cannot open the catalogue " + path(name) + ": ";
    EXPECT_EQ(code, said.empty() ? SQLITE_OK : SQLITE_CANTOPEN);
    return said.starts_with(start) ? said.substr(start.size()) : said;
  }
};

TEST_F(CatalogueFilesTest, AreTakenOnlyWhereEachIsPlain) {
  fs::create_symlink("loop", path("loop"));
  EXPECT_EQ(refusal_of("loop/c.db"), "a symbolic link on the way does not belong to root\n");
  EXPECT_EQ(refusal_of("nowhere/c.db"), "unable to open database file\n");
  fs::create_hard_link(write_file("victim"), path("linked.db"));
  EXPECT_EQ(refusal_of("linked.db"), "linked.db: it has a second hard link\n");
  for (const char* suffix : {"-journal", "-wal", "-shm"}) {
    fs::create_symlink(path("victim"), path("c.db"s + suffix));
    EXPECT_EQ(refusal_of("c.db"),
              "c.db"s + suffix + ": a symbolic link on the way does not belong to root\n");
    fs::remove(path("c.db"s + suffix));
  }
}

// SQLite would delete the file that a journal names.
const std::string magic = "\xd9\xd5\x05\xf9\x20\xa1\x63\xd7";

TEST_F(CatalogueFilesTest, AreRefusedWithAJournalThatNamesASuperJournal) {
  const std::string name = "name";
  const struct {
    std::string journal;
    bool is_refused;
  } rows[] = {
      {name + be32(4) + be32(0) + magic, true},
      {name + be32(3) + be32(0) + magic, true},
      {name + be32(5) + be32(0) + magic, false},  // longer than the journal
      {name + be32(0) + be32(0) + magic, false},
      {'\0' + name + be32(4) + be32(0) + magic, false},  // spent
      {name + be32(4) + be32(0) + magic.substr(1) + 'x', false},
      {"", false},
  };
  for (const auto& [journal, is_refused] : rows) {
    write_file("c.db-journal", journal);
    EXPECT_EQ(refusal_of("c.db"), is_refused ? "c.db-journal: it names a super-journal\n" : "")
        << &journal - &rows[0].journal;
  }
}

TEST_F(CatalogueFilesTest, AreLookedAtAgainAsTheyAreOpened) {
  const std::string victim = write_file("victim", "precious");
  fs::create_hard_link(victim, path("catalogue.db-journal"));
  CapturedOutput errors(2);
  db.exec("insert into record_objid_tbl values ('a','1');");
  db.close();
  EXPECT_TRUE(db.lost_work());
  EXPECT_EQ(testing::read_file(victim), "precious");
}

TEST_F(CatalogueFilesTest, AreReadWithNoOtherThanTheirOwnAndTemporaryOnes) {
  EXPECT_EQ(column("with recursive n(i) as (select 1 union all select i + 1 from n limit 40) "
                   "select '' from n order by hex(randomblob(50000))"),  // more than is sorted in memory
            std::string(39, '|'));
  const std::string victim = write_file("victim", "precious");
  const auto size = static_cast<std::uint32_t>(victim.size());
  write_file("catalogue.db-journal",
             victim + be32(size) + be32(std::accumulate(victim.begin(), victim.end(), 0U)) + magic);
  CapturedOutput errors(2);
  EXPECT_FALSE(db.select("select No from music_tbl;").next());
  EXPECT_STREQ(db.error_text(), "disk I/O error");
  EXPECT_EQ(testing::read_file(victim), "precious");
}

}  // namespace
}  // namespace corvexal
