// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/row_counts.h"

#include <cstdio>
#include <string>

#include "base/text.h"

namespace corvexal {

int Total_Match_count(Database& db, std::string_view sql, std::int64_t& count) {
  Rows rows = db.select(sql);
  const std::int64_t first_cell = rows.next() ? decimal_value(rows.text(0)) : 0;
  if (rows.failed()) {
    std::printf("Total_Match_count(): Execute SQL query Error = [%s]-[%s]\n", std::string(sql).c_str(),
                db.error_text());
    return 0;
  }
  count = first_cell;
  return 1;
}

std::int64_t LastRowNo(Database& db, const char* table) {
  // The last row of "select No from TABLE", found from the table's end.
  Rows rows = db.select("select No from %s order by ROWID desc limit 1;", table);
  const bool found = rows.next();
  if (rows.failed()) return -1;
  return found ? decimal_value(rows.text(0)) : 0;
}

}  // namespace corvexal
