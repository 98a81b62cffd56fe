// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>
#include <string>

#include "catalogue/database.h"
#include "catalogue/row_counts.h"
#include "catalogue/schema.h"
#include "fuzz/input.h"

// Four values, divided by zero bytes, that a row is written and looked for with: they are stored as they are
// or, where one holds the quote of its own literal, not at all, and nothing else changes.
namespace {

using Values = std::array<std::string, 4>;

Values values_of(std::string_view input) {
  Values values;
  for (std::string& value : values) {
    const std::size_t end = input.find('\0');
    value = input.substr(0, end);
    input = end == std::string_view::npos ? std::string_view() : input.substr(end + 1);
  }
  return values;
}

using corvexal::require;

std::string first_cell(corvexal::Database& db, const char* sql) {
  corvexal::Rows rows = db.select(sql);
  require(rows.next());
  return std::string(rows.text(0));
}

bool open_catalogue(corvexal::Database& db) {
  return db.open(":memory:") == SQLITE_OK && corvexal::create_tables(db) == SQLITE_OK;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static corvexal::Database db;
  static const bool opened = open_catalogue(db);
  require(opened);
  static const std::string tables = first_cell(db, "select group_concat(sql) from sqlite_master");
  const auto [folder, name, title, other] = values_of(corvexal::as_text(data, size));
  const auto holds = [](const std::string& value, char quote) {
    return value.find(quote) != std::string::npos;
  };

  const bool is_whole = !holds(folder, '"') && !holds(name, '"') && !holds(title, '"');
  const int code =
      db.exec(R"(insert into music_tbl (No,UTF_Path,UTF_fname,Title) values ("%d","%s","%s","%s");)", 7,
              folder, name, title);
  require(code == (is_whole ? SQLITE_OK : SQLITE_ERROR));
  if (is_whole) {
    corvexal::Rows rows = db.select(
        R"(select No,UTF_Path,UTF_fname,Title from music_tbl where UTF_Path = "%s" AND UTF_fname= "%s" )",
        folder, name);
    require(rows.next() && rows.text(0) == "7" && rows.text(1) == folder && rows.text(2) == name &&
            rows.text(3) == title && !rows.next());
  }
  // A path with what follows it, in the other kind of quotes.
  corvexal::Rows below = db.select("select count(*) from music_tbl where UTF_Path like '%s%%';", other);
  require(below.next() != holds(other, '\''));
  const int renamed = db.write("update music_tbl set Title = ?", other);
  require(renamed == SQLITE_OK);
  if (is_whole) require(first_cell(db, "select Title from music_tbl") == other);

  require(db.exec("delete from music_tbl where No == '%d';", 7) == SQLITE_OK && !db.lost_work());
  require(first_cell(db, "select count(*) from music_tbl") == "0");
  require(first_cell(db, "select group_concat(sql) from sqlite_master") == tables);
  return 0;
}
