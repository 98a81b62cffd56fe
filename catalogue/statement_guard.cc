// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/statement_guard.h"

#include <algorithm>
#include <ctime>
#include <utility>

namespace corvexal {
namespace {

struct Setting {
  int id, value;
};
constexpr Setting kLimits[] = {
    {SQLITE_LIMIT_LENGTH, 1 << 17},      // bytes of a row; the longest paths and texts of one take 60,000
    {SQLITE_LIMIT_SQL_LENGTH, 1 << 16},  // also of each text in the schema
    {SQLITE_LIMIT_EXPR_DEPTH, 100},     {SQLITE_LIMIT_COMPOUND_SELECT, 10},
    {SQLITE_LIMIT_TRIGGER_DEPTH, 1},    {SQLITE_LIMIT_ATTACHED, 0},
};

constexpr Setting kSettings[] = {
    {SQLITE_DBCONFIG_DEFENSIVE, 1},
    {SQLITE_DBCONFIG_ENABLE_TRIGGER, 0},
    {SQLITE_DBCONFIG_ENABLE_VIEW, 0},
    {SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0},
};

// A catalogue's header may ask for a cache of any size.
constexpr sqlite3_int64 kMostMemory = 96 << 20;

// Steps of SQLite's virtual machine. A pass over a table takes some 15 to 200 for each row, and a row some
// bytes of the file.
constexpr int kStepsALook = 256;
constexpr std::int64_t kMostStepsAByte = 50;
constexpr std::int64_t kFewestLooks = 10'000'000 / kStepsALook;
constexpr std::int64_t kMostLooks = 4'000'000'000 / kStepsALook;

std::chrono::nanoseconds processor_time() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

std::int64_t size_of_file(sqlite3* handle) {
  sqlite3_file* file = nullptr;
  sqlite3_int64 size = 0;
  sqlite3_file_control(handle, "main", SQLITE_FCNTL_FILE_POINTER, &file);
  if (file->pMethods != nullptr) file->pMethods->xFileSize(file, &size);
  return size;
}

}  // namespace

void StatementGuard::attach(sqlite3* handle, std::chrono::milliseconds longest) {
  handle_ = handle;
  longest_ = longest;
  for (const auto& [id, value] : kLimits) sqlite3_limit(handle, id, value);
  for (const auto& [id, value] : kSettings) sqlite3_db_config(handle, id, value, nullptr);
  sqlite3_drop_modules(handle, nullptr);
  sqlite3_soft_heap_limit64(kMostMemory);
  sqlite3_progress_handler(handle, kStepsALook, look, this);
}

template <class Call>
int StatementGuard::watch(Work& work, Call call) {
  work_ = &work;
  is_first_look_ = true;
  const int code = call();
  work_ = nullptr;
  return code;
}

int StatementGuard::step(sqlite3_stmt* statement, Work& work) {
  return watch(work, [&] { return sqlite3_step(statement); });
}

int StatementGuard::execute(const char* sql) {
  Work work;
  return watch(work, [&] { return sqlite3_exec(handle_, sql, nullptr, nullptr, nullptr); });
}

// Called by SQLite while a statement runs; anything but 0 ends it.
int StatementGuard::look(void* guard) {
  auto& self = *static_cast<StatementGuard*>(guard);
  if (self.work_ == nullptr) return 0;
  const auto now = std::chrono::steady_clock::now();
  if (std::exchange(self.is_first_look_, false)) {
    self.began_ = now;
    self.processor_time_before_ = processor_time();
  }
  const bool takes_too_long =
      now - self.began_ > self.longest_ && processor_time() - self.processor_time_before_ > self.longest_;
  const bool has_no_end = ++self.work_->looks > kFewestLooks && self.work_->looks > self.most_looks();
  return takes_too_long || has_no_end ? 1 : 0;
}

std::int64_t StatementGuard::most_looks() const {
  constexpr std::int64_t kLargestThatCounts = kMostLooks * kStepsALook / kMostStepsAByte;
  return std::min(size_of_file(handle_), kLargestThatCounts) * kMostStepsAByte / kStepsALook;
}

}  // namespace corvexal
