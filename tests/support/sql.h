// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>
#include <vector>

namespace corvexal::testing {

// A connection to a database as other programs have one, which knows nothing of the updater's rules.
class Sql {
 public:
  using Row = std::vector<std::string>;

  // Opens the file or, for ":memory:", a database of its own.
  explicit Sql(const std::string& path);

  // Runs a statement with these texts for its question marks and returns its rows, null as an empty text.
  // Throws std::runtime_error when it fails, at once when another connection has a lock.
  std::vector<Row> run(const std::string& statement,
                       const std::vector<std::string>& values = {}) const;  // NOLINT(modernize-use-nodiscard)

 private:
  struct Close {
    void operator()(sqlite3* db) const noexcept { sqlite3_close(db); }
  };
  std::unique_ptr<sqlite3, Close> db_;
};

}  // namespace corvexal::testing
