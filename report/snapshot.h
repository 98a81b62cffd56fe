// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sqlite3.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>

#include "catalogue/database.h"

namespace corvexal::report {

// A store or the disk cannot be read; what() says which and why, for standard error.
struct Unreadable : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// The rows of one SELECT. Must be gone before its snapshot.
class Query {
 public:
  // Moves to the next row; false at the end. Throws Unreadable.
  [[nodiscard]] bool next();

  // A column of the current row as text (0-based), valid until the next step; empty for a missing value.
  [[nodiscard]] std::string_view text(int column) const;

 private:
  friend class Snapshot;
  Query(StatementGuard& guard, Statement statement) : guard_(&guard), statement_(std::move(statement)) {}

  StatementGuard* guard_;
  Statement statement_;
  StatementGuard::Work work_;
};

// A catalogue as it is at one moment: opened for reading only, all its queries in one read transaction.
// Nothing is written, created or rolled back, so that it can be read from a medium that is read-only; a run
// that writes meanwhile waits for the snapshot's end with its commit. A foreign catalogue is harmless
// (StatementGuard).
class Snapshot {
 public:
  // Throws Unreadable; a lock is waited for up to a minute.
  explicit Snapshot(const std::string& path);
  Snapshot(const Snapshot&) = delete;
  Snapshot& operator=(const Snapshot&) = delete;

  // Starts a SELECT. Throws Unreadable.
  [[nodiscard]] Query query(const std::string& sql);

  // True when there is a table of this name.
  [[nodiscard]] bool has_table(std::string_view name);

 private:
  struct CloseHandle {
    void operator()(sqlite3* handle) const noexcept { sqlite3_close_v2(handle); }
  };

  StatementGuard guard_;
  std::unique_ptr<CatalogueFiles> files_;
  std::unique_ptr<sqlite3, CloseHandle> handle_;
};

}  // namespace corvexal::report
