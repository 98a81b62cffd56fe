// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>

#include "catalogue/catalogue_files.h"
#include "catalogue/sql_text.h"
#include "catalogue/statement_guard.h"

namespace corvexal {

struct FinalizeStatement {
  void operator()(sqlite3_stmt* statement) const noexcept { sqlite3_finalize(statement); }
};
using Statement = std::unique_ptr<sqlite3_stmt, FinalizeStatement>;

class Database;
class RowInsert;

// The rows of one SELECT, read one at a time. Must be gone before its database is closed. What next() gives
// is valid until the next call; a table can't be dropped while rows of it are being read.
class Rows {
 public:
  Rows(Rows&& other) noexcept;
  Rows& operator=(Rows&&) = delete;
  ~Rows();

  // A column of the current row as a number, read from the front of its text; 0 when there is none.
  [[nodiscard]] std::int64_t number(int column) const {
    return sqlite3_column_int64(statement_.get(), column);
  }

  // Moves to the next row; false at the end or on an error, which failed() and the database's error_text()
  // tell.
  [[nodiscard]] bool next();
  [[nodiscard]] bool failed() const { return result_ != SQLITE_OK; }

  // A column of the current row as text (0-based); empty for a missing value. Ends at the next call of
  // next().
  [[nodiscard]] std::string_view text(int column) const;

  // Whether a column of the current row is stored as text.
  [[nodiscard]] bool is_text(int column) const {
    return sqlite3_column_type(statement_.get(), column) == SQLITE_TEXT;
  }

 private:
  friend class Database;
  Rows(Database& database, std::string sql, Statement statement, int result);

  Database* database_;
  std::string sql_;
  Statement statement_;
  StatementGuard::Work work_;
  int result_;
};

// The catalogue's connection. Statements are printf-style texts whose quoted placeholders are bound as text
// parameters, so a value is always data; a value that holds the quote character of its own literal makes the
// statement fail as an SQL error with nothing run. Each text is prepared once and kept.
//
// The first write opens a transaction, "COMMIT;" ends it, and close() commits what is still open: clients of
// the catalogue see whole changes only, and a small run is one durable commit. Destruction without close()
// takes back what is open. On a closed catalogue every call does nothing and reports SQLite's misuse error.
//
// A statement that the disk or another connection prevents (a full disk, an I/O error, a lock that never
// comes) is said on standard error and takes the transaction back, and every later statement fails as it did:
// what would follow a lost part of the run must not be kept without it.
class Database {
 public:
  Database() = default;
  Database(const Database&) = delete;
  Database& operator=(const Database&) = delete;

  // Opens (or creates) the file, reached as find_place says. A lock held by another connection is waited for,
  // each time up to `busy_timeout`, and a statement ends after `longest_step` of work (see StatementGuard).
  // Returns SQLite's result code; on failure one line on standard error says why and the catalogue is closed.
  int open(const std::string& path, std::chrono::milliseconds busy_timeout = kBusyTimeout,
           std::chrono::milliseconds longest_step = kLongestStep);

  // Opens an existing file, reached alike, that is not written to, and sets it up with statements that write
  // nothing to it. Returns as open() does.
  int open_to_read(const std::string& path, std::span<const std::string> setup = {});

  // Commits what is open and closes; harmless on a closed catalogue.
  void close();

  [[nodiscard]] bool is_open() const { return handle_ != nullptr; }

  // True when a statement was prevented since the catalogue was opened: the run's work, or a part of it, is
  // lost and must be done again.
  [[nodiscard]] bool lost_work() const { return loss_.has_value(); }

  // Runs a statement that yields no rows, with one value for each placeholder. Returns SQLite's result code;
  // error_text() tells the reason of a failure.
  template <class... Values>
  int exec(std::string_view format, const Values&... values) {
    if constexpr (sizeof...(values) == 0) {
      return run(format, {});
    } else {
      const SqlValue list[] = {SqlValue(values)...};
      return run(format, list);
    }
  }

  // To be called after each row of work on very many rows: commits every 500, so that a client of the
  // catalogue waits for one commit at most and memory holds no more.
  void commit_in_batches();

  // Starts a SELECT; errors (failed()) may show at once or at any row.
  template <class... Values>
  [[nodiscard]] Rows select(std::string_view format, const Values&... values) {
    if constexpr (sizeof...(values) == 0) {
      return start(format, {});
    } else {
      const SqlValue list[] = {SqlValue(values)...};
      return start(format, list);
    }
  }

  // The same for statements with a plain "?" for each value, which is bound as text whatever it holds.
  template <class... Values>
  int write(const char* sql, const Values&... values) {
    return run({sql, {std::string(SqlValue(values).text())...}});
  }
  template <class... Values>
  [[nodiscard]] Rows read(const char* sql, const Values&... values) {
    return start({sql, {std::string(SqlValue(values).text())...}});
  }

  // Keeps what is read from here to the next COMMIT or write one picture, and saves the asking for the lock
  // with each statement.
  void read_in_one_transaction();

  // Opens the transaction before its first write, so that what is read from here on stays as it is.
  void begin_writing();

  // SQLite's counter of the transactions that ever changed the file (SQLite's file format, "File change
  // counter"), to be asked within a transaction. Nothing for a catalogue in memory, and for one with a
  // write-ahead log, which leaves the counter alone.
  [[nodiscard]] std::optional<std::uint32_t> change_counter() const;

  // How many rows the last statement that wrote has changed.
  [[nodiscard]] std::uint64_t changed_rows() const {
    return static_cast<std::uint64_t>(sqlite3_changes(handle_.get()));
  }

  // The error's text of the last statement, for a message; empty when it succeeded.
  [[nodiscard]] const char* error_text() const { return error_.c_str(); }

  static constexpr std::chrono::milliseconds kBusyTimeout{60'000}, kLongestStep{60'000};

 private:
  friend class Rows;
  friend class RowInsert;
  struct CloseHandle {
    void operator()(sqlite3* handle) const noexcept { sqlite3_close_v2(handle); }
  };

  int open(const std::string& path, int flags, std::chrono::milliseconds busy_timeout,
           std::chrono::milliseconds longest_step);
  int open_handle(const std::string& path, int flags, std::string& reason);
  int run(std::string_view format, std::span<const SqlValue> values);
  int run(BoundSql sql);
  Rows start(std::string_view format, std::span<const SqlValue> values);
  Rows start(BoundSql sql);
  int prepare(const BoundSql& sql, Statement& statement);
  int prepare(const std::string& text, Statement& statement);
  int bind_and_execute(sqlite3_stmt* statement, std::span<const SqlValue> values);
  void give_back(std::string sql, Statement statement) noexcept;
  int insert(RowInsert& row, std::span<const SqlValue> values);
  int begin_if_needed();
  int execute(sqlite3_stmt* statement);
  int step_to_end(sqlite3_stmt* statement);
  static int wait_for_lock(void* database, int tries);
  int simple(const char* sql);
  int fail(int code, const char* text);
  int check(int code);
  int check_usable();
  int settle(int code, bool had_transaction);
  bool in_transaction() const { return sqlite3_get_autocommit(handle_.get()) == 0; }
  void note_loss(int code);

  struct Loss {
    int code;
    std::string text;
  };

  StatementGuard guard_;
  std::unique_ptr<CatalogueFiles> files_;
  std::unique_ptr<sqlite3, CloseHandle> handle_;
  std::unordered_map<std::string, Statement> prepared_;  // statements not in use, by their text
  std::chrono::milliseconds busy_timeout_{};
  std::chrono::steady_clock::time_point waiting_since_;
  int uncommitted_rows_ = 0;
  std::optional<Loss> loss_;
  std::string error_;
};

// An insert into one table that is run for many rows, taken apart and prepared once. Each literal of its text
// is one placeholder in double quotes. Must be gone before its database is closed.
class RowInsert {
 public:
  // `format` begins with a placeholder for the table's name.
  RowInsert(Database& database, std::string_view format, const char* table);
  RowInsert(const RowInsert&) = delete;
  RowInsert& operator=(const RowInsert&) = delete;
  ~RowInsert();

  // As Database::exec, with one value for each literal.
  template <class... Values>
  int exec(const Values&... values) {
    const SqlValue list[] = {SqlValue(values)...};
    return database_.insert(*this, list);
  }

 private:
  friend class Database;
  Database& database_;
  std::string text_;
  Statement statement_;  // absent until the first row
};

// The statement with its values written in, for messages.
template <class... Values>
[[nodiscard]] std::string composed(std::string_view format, const Values&... values) {
  if constexpr (sizeof...(values) == 0) {
    return compose_sql(format, {});
  } else {
    const SqlValue list[] = {SqlValue(values)...};
    return compose_sql(format, list);
  }
}

}  // namespace corvexal
