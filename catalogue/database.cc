#include "catalogue/database.h"

#include <algorithm>
#include <cstdio>
#include <thread>
#include <utility>

namespace corvexal {

Database g_db;
std::optional<std::string> zErrMsg;
int retval = SQLITE_OK;

Rows::Rows(Database& database, std::string sql, Statement statement, int result)
    : database_(&database), sql_(std::move(sql)), statement_(std::move(statement)), result_(result) {}

Rows::Rows(Rows&& other) noexcept = default;

Rows::~Rows() {
  if (statement_) database_->give_back(std::move(sql_), std::move(statement_));
}

bool Rows::next() {
  if (!statement_ || failed()) return false;
  const bool was_in_transaction = database_->in_transaction();
  const int code = sqlite3_step(statement_.get());
  if (code == SQLITE_ROW) return true;
  if (code != SQLITE_DONE && was_in_transaction && !database_->in_transaction()) database_->note_loss();
  result_ = code == SQLITE_DONE ? SQLITE_OK : database_->check(code);
  database_->give_back(std::move(sql_), std::move(statement_));
  return false;
}

std::string_view Rows::text(int column) const {
  const auto* text = sqlite3_column_text(statement_.get(), column);
  if (text == nullptr) return {};
  return {reinterpret_cast<const char*>(text),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

int Database::open(const std::string& path, std::chrono::milliseconds busy_timeout) {
  close();
  sqlite3* handle = nullptr;
  const int code = sqlite3_open(path.c_str(), &handle);
  handle_.reset(handle);
  if (code != SQLITE_OK) {
    std::fprintf(stderr, "Corvexal: cannot open the catalogue %s: %s\n", path.c_str(), sqlite3_errstr(code));
    handle_.reset();
    return code;
  }
  busy_timeout_ = busy_timeout;
  sqlite3_busy_handler(handle_.get(), wait_for_lock, this);
  // A spill locks readers out from there to the commit, so only a change of much of a large catalogue may
  // spill: past 10,000 pages, 40 MiB.
  simple("PRAGMA cache_spill=10000");
  return SQLITE_OK;
}

// Called by SQLite when another connection's lock is in the way; 0 gives up.
int Database::wait_for_lock(void* database, int tries) {
  auto& self = *static_cast<Database*>(database);
  // Here only a spill meets a lock, that of a reader: it is put off, and memory grows instead.
  if (self.inside_write_) return 0;
  const auto now = std::chrono::steady_clock::now();
  if (tries == 0) self.waiting_since_ = now;
  if (now - self.waiting_since_ >= self.busy_timeout_) return 0;
  std::this_thread::sleep_for(std::chrono::milliseconds(std::min(1 << std::min(tries, 6), 50)));
  return 1;
}

void Database::close() {
  if (!handle_) return;
  if (!lost_work_ && in_transaction() && simple("COMMIT") != SQLITE_OK) note_loss();
  if (in_transaction()) simple("ROLLBACK");
  prepared_.clear();
  handle_.reset();
}

void Database::note_loss() {
  lost_work_ = true;
  std::fprintf(stderr, "Corvexal: the catalogue could not be written: %s\n", sqlite3_errmsg(handle_.get()));
}

int Database::fail(int code, const char* text) {
  zErrMsg = text;
  return code;
}

int Database::check(int code) {
  if (code == SQLITE_OK || code == SQLITE_DONE) return SQLITE_OK;
  return fail(code & 0xFF, sqlite3_errmsg(handle_.get()));
}

int Database::simple(const char* sql) {
  return sqlite3_exec(handle_.get(), sql, nullptr, nullptr, nullptr);
}

int Database::run(std::string_view format, std::span<const SqlValue> values) {
  zErrMsg.reset();
  if (!handle_) return fail(SQLITE_MISUSE, sqlite3_errstr(SQLITE_MISUSE));
  // What would follow a lost part of the run must not be kept without it.
  if (lost_work_) return fail(SQLITE_ABORT, "the run's work is lost");
  if (joins_or_leaves(format)) return SQLITE_OK;

  BoundSql sql = bind_sql(format, values);
  Statement statement;
  if (const int code = prepare(sql, statement); code != SQLITE_OK) return code;
  const bool was_in_transaction = in_transaction();
  const int code = execute(statement.get());
  // A full disk or an I/O error may take the whole transaction with it, not just this statement.
  if (code != SQLITE_OK && was_in_transaction && !in_transaction()) note_loss();
  give_back(std::move(sql.text), std::move(statement));
  return code;
}

bool Database::joins_or_leaves(std::string_view format) {
  if (format == "BEGIN;" && in_transaction()) return joined_ = true;
  return format == "COMMIT;" && std::exchange(joined_, false);
}

int Database::execute(sqlite3_stmt* statement) {
  // Taking the write lock here, where waiting for it is possible, and not at some later statement, where it
  // isn't.
  if (sqlite3_stmt_readonly(statement) != 0) return check(sqlite3_step(statement));
  if (!in_transaction())
    if (const int code = check(simple("BEGIN IMMEDIATE")); code != SQLITE_OK) {
      note_loss();
      return code;
    }
  inside_write_ = true;
  const int code = write(statement);
  inside_write_ = false;
  return code;
}

int Database::write(sqlite3_stmt* statement) {
  int code = sqlite3_step(statement);
  while (code == SQLITE_ROW) code = sqlite3_step(statement);
  return check(code);
}

Rows Database::start(std::string_view format, std::span<const SqlValue> values) {
  zErrMsg.reset();
  if (!handle_) return {*this, {}, nullptr, fail(SQLITE_MISUSE, sqlite3_errstr(SQLITE_MISUSE))};
  BoundSql sql = bind_sql(format, values);
  Statement statement;
  const int code = prepare(sql, statement);
  return {*this, std::move(sql.text), std::move(statement), code};
}

int Database::prepare(const BoundSql& sql, Statement& statement) {
  if (sql.broken) return fail(SQLITE_ERROR, "a value holds the quote character of its literal: syntax error");
  if (auto kept = prepared_.extract(sql.text)) {
    statement = std::move(kept.mapped());
  } else {
    sqlite3_stmt* fresh = nullptr;
    const int code =
        check(sqlite3_prepare_v3(handle_.get(), sql.text.c_str(), static_cast<int>(sql.text.size() + 1),
                                 SQLITE_PREPARE_PERSISTENT, &fresh, nullptr));
    statement.reset(fresh);
    if (code != SQLITE_OK) return code;
  }
  for (int i = 0; i < static_cast<int>(sql.values.size()); ++i) {
    const std::string& value = sql.values[static_cast<std::size_t>(i)];
    const int code = check(sqlite3_bind_text(statement.get(), i + 1, value.data(),
                                             static_cast<int>(value.size()), SQLITE_TRANSIENT));
    if (code != SQLITE_OK) return code;
  }
  return SQLITE_OK;
}

void Database::give_back(std::string sql, Statement statement) {
  sqlite3_reset(statement.get());
  sqlite3_clear_bindings(statement.get());
  prepared_.insert_or_assign(std::move(sql), std::move(statement));
}

}  // namespace corvexal
