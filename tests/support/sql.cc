// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/sql.h"

#include <stdexcept>

namespace corvexal::testing {

Sql::Sql(const std::string& path) {
  sqlite3* opened = nullptr;
  const int code = sqlite3_open(path.c_str(), &opened);
  db_.reset(opened);
  if (code != SQLITE_OK) throw std::runtime_error("cannot open " + path);
}

std::vector<Sql::Row> Sql::run(const std::string& statement, const std::vector<std::string>& values) const {
  sqlite3_stmt* prepared = nullptr;
  int code = sqlite3_prepare_v2(db_.get(), statement.c_str(), -1, &prepared, nullptr);
  const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> owner(prepared, sqlite3_finalize);
  int place = 0;
  for (const std::string& value : values)
    sqlite3_bind_text(prepared, ++place, value.c_str(), static_cast<int>(value.size()), SQLITE_STATIC);
  std::vector<Row> rows;
  while (code == SQLITE_OK && (code = sqlite3_step(prepared)) == SQLITE_ROW) {
    Row& row = rows.emplace_back();
    for (int column = 0; column < sqlite3_column_count(prepared); ++column) {
      const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(prepared, column));
      row.emplace_back(text != nullptr ? text : "");
    }
    code = SQLITE_OK;
  }
  if (code != SQLITE_DONE) throw std::runtime_error(statement + ": " + sqlite3_errmsg(db_.get()));
  return rows;
}

}  // namespace corvexal::testing
