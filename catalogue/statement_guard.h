// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sqlite3.h>

#include <chrono>
#include <cstdint>

namespace corvexal {

// Keeps a hostile catalogue from running code of its own and from keeping a run for ever: its triggers do not
// run, its views and virtual tables are errors, functions in its indexes and constraints are those that do no
// harm, values have a largest size, and a statement that takes too long ends as SQLITE_INTERRUPT.
class StatementGuard {
 public:
  // What a statement has taken so far. One object from its first step to its last.
  struct Work {
    std::int64_t looks = 0;
  };

  // To be called once for an open connection, which the guard must outlive. A step that takes more processor
  // time than `longest` ends; waiting for a slow disk or a lock is none. So does a statement whose rows come
  // without end, as a few pages that name each other can make them.
  void attach(sqlite3* handle, std::chrono::milliseconds longest = std::chrono::minutes(1));

  // sqlite3_step for a statement, and sqlite3_exec for one that is done in one go.
  int step(sqlite3_stmt* statement, Work& work);
  int execute(const char* sql);

 private:
  template <class Call>
  int watch(Work& work, Call call);
  static int look(void* guard);
  [[nodiscard]] std::int64_t most_looks() const;

  sqlite3* handle_ = nullptr;
  std::chrono::nanoseconds longest_{};
  Work* work_ = nullptr;
  bool is_first_look_ = true;  // of the step
  std::chrono::steady_clock::time_point began_;
  std::chrono::nanoseconds processor_time_before_{};
};

}  // namespace corvexal
