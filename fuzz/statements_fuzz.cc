// SPDX-License-Identifier: GPL-3.0-or-later
#include <sstream>

#include "catalogue/database.h"
#include "catalogue/schema.h"
#include "fuzz/input.h"

namespace corvexal {

static std::string first_cell(Database& db, const char* sql) {
  Rows rows = db.select(sql);
  require(rows.next());
  return std::string(rows.text(0));
}

// Four values, divided by zero bytes, that a row is written and looked for with: they are stored as they are
// or, where one holds the quote of its own literal, not at all, and nothing else changes.
void try_input(Bytes input) {
  constexpr const char* kTables = "select group_concat(sql) from sqlite_master";
  std::string folder, name, title, other;
  std::istringstream values{std::string(as_text(input))};
  for (std::string* value : {&folder, &name, &title, &other}) std::getline(values, *value, '\0');
  static Database db;
  if (!db.is_open()) require(db.open(":memory:") == SQLITE_OK && create_tables(db) == SQLITE_OK);
  require(db.exec("delete from music_tbl;") == SQLITE_OK);
  const std::string tables = first_cell(db, kTables);

  const bool is_whole = (folder + name + title).find('"') == std::string::npos;
  const int code =
      db.exec(R"(insert into music_tbl (No,UTF_Path,UTF_fname,Title) values ("%d","%s","%s","%s");)", 7,
              folder, name, title);
  require(code == (is_whole ? SQLITE_OK : SQLITE_ERROR));
  if (is_whole) {
    Rows rows = db.select(
        R"(select No,UTF_Path,UTF_fname,Title from music_tbl where UTF_Path = "%s" AND UTF_fname= "%s" )",
        folder, name);
    require(rows.next() && rows.text(0) == "7" && rows.text(1) == folder && rows.text(2) == name &&
            rows.text(3) == title && !rows.next());
  }
  // A path with what follows it, in the other kind of quotes.
  Rows below = db.select("select count(*) from music_tbl where UTF_Path like '%s%%';", other);
  require(below.next() == (other.find('\'') == std::string::npos));
  require(db.write("update music_tbl set Title = ?", other) == SQLITE_OK);
  if (is_whole) require(first_cell(db, "select Title from music_tbl") == other);
  require(!db.lost_work() && first_cell(db, kTables) == tables);
}

}  // namespace corvexal
