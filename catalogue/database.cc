// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/database.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <new>
#include <thread>
#include <utility>

#include "base/byte_reader.h"
#include "base/log.h"

namespace corvexal {
namespace {

constexpr const char* kBrokenLiteral = "a value holds the quote character of its literal: syntax error";

// Whether a statement that ended in `code` was prevented. One that is merely wrong harms nothing but itself.
// A read that the disk fails shows as a damaged file, and what goes on after it takes rows for missing.
bool is_prevented(int code) {
  switch (code) {
    case SQLITE_OK:
    case SQLITE_ERROR:
    case SQLITE_CONSTRAINT:
    case SQLITE_TOOBIG:
    case SQLITE_MISMATCH:
      return false;
    default:
      return true;
  }
}

}  // namespace

Rows::Rows(Database& database, std::string sql, Statement statement, int result)
    : database_(&database), sql_(std::move(sql)), statement_(std::move(statement)), result_(result) {}

Rows::Rows(Rows&& other) noexcept = default;

Rows::~Rows() {
  if (statement_) database_->give_back(std::move(sql_), std::move(statement_));
}

bool Rows::next() {
  if (!statement_ || failed()) return false;
  const bool had_transaction = database_->in_transaction();
  const int code = database_->guard_.step(statement_.get(), work_);
  if (code == SQLITE_ROW) return true;
  result_ = database_->check(code);
  database_->give_back(std::move(sql_), std::move(statement_));
  database_->settle(result_, had_transaction);
  return false;
}

std::string_view Rows::text(int column) const {
  const auto* text = sqlite3_column_text(statement_.get(), column);
  if (text == nullptr) return {};
  return {reinterpret_cast<const char*>(text),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

int Database::open(const std::string& path, std::chrono::milliseconds busy_timeout,
                   std::chrono::milliseconds longest_step) {
  return open(path, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, busy_timeout, longest_step);
}

int Database::open_to_read(const std::string& path, std::span<const std::string> setup) {
  const int code = open(path, SQLITE_OPEN_READONLY, kBusyTimeout, kLongestStep);
  if (code != SQLITE_OK) return code;
  simple("PRAGMA temp_store=memory");
  for (const std::string& statement : setup) simple(statement.c_str());
  return SQLITE_OK;
}

int Database::open(const std::string& path, int flags, std::chrono::milliseconds busy_timeout,
                   std::chrono::milliseconds longest_step) {
  close();
  loss_.reset();
  std::string reason = sqlite3_errstr(SQLITE_CANTOPEN);
  const int code = open_handle(path, flags, reason);
  if (code != SQLITE_OK) {
    error_printf("Corvexal: cannot open the catalogue %s: %s\n", path.c_str(), reason.c_str());
    handle_.reset();
    return code;
  }
  busy_timeout_ = busy_timeout;
  sqlite3_busy_handler(handle_.get(), wait_for_lock, this);
  guard_.attach(handle_.get(), longest_step);
  simple("PRAGMA cell_size_check=1");
  // A spill locks other clients out from there to the commit, so only a change of much of a large catalogue
  // may spill: past 10,000 pages, 40 MiB.
  simple("PRAGMA cache_spill=10000");
  return SQLITE_OK;
}

int Database::open_handle(const std::string& path, int flags, std::string& reason) {
  const bool is_file = path != ":memory:";
  if (is_file) files_ = CatalogueFiles::find(path, reason);
  if (is_file && !files_) return SQLITE_CANTOPEN;
  sqlite3* handle = nullptr;
  const int code = sqlite3_open_v2(is_file ? files_->database() : path.c_str(), &handle,
                                   flags | SQLITE_OPEN_NOMUTEX,  // one thread at a time has a connection
                                   is_file ? files_->file_system() : nullptr);
  handle_.reset(handle);
  if (code != SQLITE_OK) reason = sqlite3_errstr(code);
  return code;
}

// Called by SQLite when another connection's lock is in the way; 0 gives up.
int Database::wait_for_lock(void* database, int tries) {
  auto& self = *static_cast<Database*>(database);
  // Within a transaction only a spill meets a lock, that of a client who reads: it is put off, and memory
  // grows instead. BEGIN is not yet, and COMMIT no longer, within.
  if (self.in_transaction()) return 0;
  const auto now = std::chrono::steady_clock::now();
  if (tries == 0) self.waiting_since_ = now;
  if (now - self.waiting_since_ >= self.busy_timeout_) return 0;
  std::this_thread::sleep_for(std::chrono::milliseconds(std::min(1 << std::min(tries, 6), 50)));
  return 1;
}

void Database::close() {
  if (!handle_) return;
  if (in_transaction()) settle(check(simple("COMMIT")), true);
  uncommitted_rows_ = 0;
  prepared_.clear();
  handle_.reset();
  files_.reset();
}

// Takes note of a statement's end: nothing of a transaction that lost a part may stay.
int Database::settle(int code, bool had_transaction) {
  const bool rolled_back = had_transaction && !in_transaction();
  if (!loss_ && code != SQLITE_OK && (is_prevented(code) || rolled_back)) note_loss(code);
  return code;
}

void Database::note_loss(int code) {
  loss_ = {code, error_text()};
  error_printf("Corvexal: the run's work since its last commit is lost: %s\n", error_text());
  if (in_transaction()) simple("ROLLBACK");  // at once, since a commit that waits locks other clients out
}

// The result of every statement on a closed catalogue and after a loss; SQLITE_OK otherwise.
int Database::check_usable() {
  if (!handle_) return fail(SQLITE_MISUSE, sqlite3_errstr(SQLITE_MISUSE));
  return loss_ ? fail(loss_->code, loss_->text.c_str()) : SQLITE_OK;
}

int Database::fail(int code, const char* text) {
  error_ = text;
  return code;
}

int Database::check(int code) {
  if (code == SQLITE_OK || code == SQLITE_DONE) return SQLITE_OK;
  const bool was_ended = (code & 0xFF) == SQLITE_INTERRUPT;
  return fail(code & 0xFF, was_ended ? "a statement takes too long" : sqlite3_errmsg(handle_.get()));
}

int Database::simple(const char* sql) {
  return guard_.execute(sql);
}

int Database::run(std::string_view format, std::span<const SqlValue> values) {
  error_.clear();
  if (const int code = check_usable(); code != SQLITE_OK) return code;
  return run(bind_sql(format, values));
}

int Database::run(BoundSql sql) {
  error_.clear();
  if (const int code = check_usable(); code != SQLITE_OK) return code;
  Statement statement;
  const bool had_transaction = in_transaction();
  int code = prepare(sql, statement);
  if (code == SQLITE_OK) code = execute(statement.get());
  if (statement) give_back(std::move(sql.text), std::move(statement));
  return settle(code, had_transaction);
}

void Database::read_in_one_transaction() {
  if (check_usable() == SQLITE_OK && !in_transaction()) simple("BEGIN");
}

void Database::commit_in_batches() {
  constexpr int kRowsPerCommit = 500;
  if (++uncommitted_rows_ < kRowsPerCommit) return;
  uncommitted_rows_ = 0;
  exec("COMMIT;");
}

void Database::begin_writing() {
  if (check_usable() == SQLITE_OK) settle(begin_if_needed(), false);
}

std::optional<std::uint32_t> Database::change_counter() const {
  constexpr std::size_t kReadVersionAt = 19, kCounterAt = 24;
  constexpr std::uint8_t kRollbackJournal = 1;
  std::array<std::uint8_t, kCounterAt + sizeof(std::uint32_t)> header{};
  sqlite3_file* file = nullptr;
  sqlite3_file_control(handle_.get(), "main", SQLITE_FCNTL_FILE_POINTER, &file);
  const bool is_read = file != nullptr && file->pMethods != nullptr &&
                       file->pMethods->xRead(file, header.data(), header.size(), 0) == SQLITE_OK;
  std::uint32_t counter = 0;
  if (!is_read || header[kReadVersionAt] != kRollbackJournal) return std::nullopt;
  if (!ByteReader(std::span(header).subspan(kCounterAt)).be32(counter)) return std::nullopt;
  return counter;
}

// Takes the write lock where waiting for it is possible, and not at some later statement, where it isn't.
int Database::begin_if_needed() {
  return in_transaction() ? SQLITE_OK : check(simple("BEGIN IMMEDIATE"));
}

int Database::execute(sqlite3_stmt* statement) {
  if (sqlite3_stmt_readonly(statement) == 0)
    if (const int code = begin_if_needed(); code != SQLITE_OK) return code;
  return step_to_end(statement);
}

int Database::step_to_end(sqlite3_stmt* statement) {
  StatementGuard::Work work;
  int code = guard_.step(statement, work);
  while (code == SQLITE_ROW) code = guard_.step(statement, work);
  return check(code);
}

Rows Database::start(std::string_view format, std::span<const SqlValue> values) {
  return start(bind_sql(format, values));
}

Rows Database::start(BoundSql sql) {
  error_.clear();
  if (const int code = check_usable(); code != SQLITE_OK) return {*this, {}, nullptr, code};
  Statement statement;
  const bool had_transaction = in_transaction();
  const int code = settle(prepare(sql, statement), had_transaction);
  return {*this, std::move(sql.text), std::move(statement), code};
}

int Database::prepare(const BoundSql& sql, Statement& statement) {
  if (sql.broken) return fail(SQLITE_ERROR, kBrokenLiteral);
  if (const int code = prepare(sql.text, statement); code != SQLITE_OK) return code;
  for (int i = 0; i < static_cast<int>(sql.values.size()); ++i) {
    const std::string& value = sql.values[static_cast<std::size_t>(i)];
    const int code = check(sqlite3_bind_text(statement.get(), i + 1, value.data(),
                                             static_cast<int>(value.size()), SQLITE_TRANSIENT));
    if (code != SQLITE_OK) return code;
  }
  return SQLITE_OK;
}

int Database::prepare(const std::string& text, Statement& statement) {
  if (auto kept = prepared_.extract(text)) {
    statement = std::move(kept.mapped());
    return SQLITE_OK;
  }
  sqlite3_stmt* fresh = nullptr;
  const int code =
      check(sqlite3_prepare_v3(handle_.get(), text.c_str(), -1, SQLITE_PREPARE_PERSISTENT, &fresh, nullptr));
  statement.reset(fresh);
  return code;
}

// The values are SQLite's for the length of the step only.
int Database::bind_and_execute(sqlite3_stmt* statement, std::span<const SqlValue> values) {
  for (int i = 0; i < static_cast<int>(values.size()); ++i) {
    const std::string_view value = values[static_cast<std::size_t>(i)].text();
    if (value.find('"') != std::string_view::npos) return fail(SQLITE_ERROR, kBrokenLiteral);
    const char* const text = value.empty() ? "" : value.data();  // a null pointer would be a NULL
    const int code =
        check(sqlite3_bind_text(statement, i + 1, text, static_cast<int>(value.size()), SQLITE_STATIC));
    if (code != SQLITE_OK) return code;
  }
  const int code = execute(statement);
  sqlite3_reset(statement);
  return code;
}

int Database::insert(RowInsert& row, std::span<const SqlValue> values) {
  error_.clear();
  if (const int code = check_usable(); code != SQLITE_OK) return code;
  const bool had_transaction = in_transaction();
  int code = row.statement_ ? SQLITE_OK : prepare(row.text_, row.statement_);
  if (code == SQLITE_OK) code = bind_and_execute(row.statement_.get(), values);
  return settle(code, had_transaction);
}

RowInsert::RowInsert(Database& database, std::string_view format, const char* table)
    : database_(database), text_(bind_sql(format, std::array{SqlValue(table)}).text) {}

RowInsert::~RowInsert() {
  if (statement_) database_.give_back(std::move(text_), std::move(statement_));
}

void Database::give_back(std::string sql, Statement statement) noexcept {
  sqlite3_reset(statement.get());
  sqlite3_clear_bindings(statement.get());
  try {
    prepared_.insert_or_assign(std::move(sql), std::move(statement));
  } catch (const std::bad_alloc&) {  // then it is prepared anew when it is next needed
  }
}

}  // namespace corvexal
