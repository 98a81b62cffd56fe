// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <string>

#include "catalogue/reconcile.h"
#include "tests/support/sql.h"

namespace corvexal::testing {

// Brings the stores below the mount path in line with the share; throws std::runtime_error when a part fails.
ReconcileCounts sync(const std::string& mount, const ReconcileTask& task, ReconcileListener& listener);

// A task for all of the share, which is given without a trailing "/".
[[nodiscard]] ReconcileTask whole_library(const std::string& share);

// What disk and stores hold at one moment, and held the moment before, read without any of the code that
// brings them in line: tables whose names begin with "now_" and "old_", which statements ask for what is
// wrong. Paths of folders end in "/".
class StoreLooks {
 public:
  // An existing share, and where its stores are, both without a trailing "/".
  StoreLooks(std::string share, std::string mount);

  // Looks anew: what was "now" is "old" from here on. What is seen must pass the check "in_line".
  void look();

  // Looks at the disk alone: the tables "next_file" and "next_folder".
  void look_at_disk();

  // Each statement of tests/sync/<name>.sql follows a comment which says what its rows are: there must be
  // none, and the first one is thrown as a std::runtime_error.
  void check(const std::string& name) const;

  // How many files and folders with a `"` the last look met, which no row can hold.
  [[nodiscard]] std::size_t refused() const { return refused_; }
  [[nodiscard]] const Sql& sql() const { return sql_; }

 private:
  void walk(const std::string& folder, const std::string& around, std::size_t depth);
  void look_at_songs() const;

  std::string share_, mount_;
  Sql sql_{":memory:"};
  std::size_t refused_ = 0;
};

}  // namespace corvexal::testing
