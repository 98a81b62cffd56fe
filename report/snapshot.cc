// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/snapshot.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace corvexal::report {
namespace {

constexpr int kLockWaitMs = 60'000;

std::string reason(sqlite3* handle) {
  switch (sqlite3_extended_errcode(handle)) {
    case SQLITE_READONLY_ROLLBACK:
      return "a killed run left half a change in it, which the next run of corvexal-sync takes back";
    case SQLITE_INTERRUPT:
      return "a query takes too long";
    default:
      return sqlite3_errmsg(handle);
  }
}

[[noreturn]] void fail(sqlite3* handle) {
  throw Unreadable("cannot read the catalogue: " + reason(handle));
}

}  // namespace

bool Query::next() {
  const int code = guard_->step(statement_.get(), work_);
  if (code != SQLITE_ROW && code != SQLITE_DONE) fail(sqlite3_db_handle(statement_.get()));
  return code == SQLITE_ROW;
}

std::string_view Query::text(int column) const {
  const auto* const text = sqlite3_column_text(statement_.get(), column);
  if (text == nullptr) return {};
  return {reinterpret_cast<const char*>(text),
          static_cast<std::size_t>(sqlite3_column_bytes(statement_.get(), column))};
}

Snapshot::Snapshot(const std::string& path) {
  if (access(path.c_str(), F_OK) != 0 && (errno == ENOENT || errno == ENOTDIR))
    throw Unreadable("there is no catalogue " + path + "; corvexal-sync makes it");
  std::string refusal = sqlite3_errstr(SQLITE_CANTOPEN);
  files_ = CatalogueFiles::find(path, refusal);
  if (!files_) throw Unreadable("cannot open the catalogue " + path + ": " + refusal);
  sqlite3* handle = nullptr;
  constexpr int kFlags = SQLITE_OPEN_READONLY | SQLITE_OPEN_NOMUTEX | SQLITE_OPEN_EXRESCODE;
  const int code = sqlite3_open_v2(files_->database(), &handle, kFlags, files_->file_system());
  handle_.reset(handle);
  if (code != SQLITE_OK) throw Unreadable("cannot open the catalogue " + path + ": " + sqlite3_errstr(code));
  sqlite3_busy_timeout(handle, kLockWaitMs);
  guard_.attach(handle);
  // The transaction begins with the first read.
  if (sqlite3_exec(handle, "BEGIN", nullptr, nullptr, nullptr) != SQLITE_OK) fail(handle);
  static_cast<void>(has_table("music_tbl"));
}

Query Snapshot::query(const std::string& sql) {
  sqlite3_stmt* statement = nullptr;
  const int code =
      sqlite3_prepare_v2(handle_.get(), sql.c_str(), static_cast<int>(sql.size() + 1), &statement, nullptr);
  Query query(guard_, Statement(statement));
  if (code != SQLITE_OK) fail(handle_.get());
  return query;
}

bool Snapshot::has_table(std::string_view name) {
  Query tables = query("select name from sqlite_master where type = 'table'");
  while (tables.next())
    if (tables.text(0) == name) return true;
  return false;
}

}  // namespace corvexal::report
