// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

#include "catalogue/database.h"

namespace corvexal {

// Stores the number in the first cell of a query's result (0 when there is none) and returns 1; on failure
// prints the query and its error and returns 0, leaving `count` as it is.
int Total_Match_count(Database& db, std::string_view sql, std::int64_t& count);

// The `No` of the table's last row, a number in the range of int: 0 for an empty table, -1 when the table
// cannot be read.
[[nodiscard]] std::int64_t LastRowNo(Database& db, const char* table);

// The number of rows that a query yields, 0 when it fails. Placeholders as for Database::select.
template <class... Values>
[[nodiscard]] int QueryRowCount(Database& db, std::string_view sql, const Values&... values) {
  int count = 0;
  Rows rows = db.select(sql, values...);
  while (rows.next()) ++count;
  return rows.failed() ? 0 : count;
}

}  // namespace corvexal
