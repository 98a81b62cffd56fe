// SPDX-License-Identifier: GPL-3.0-or-later
// What the machine and its libraries need at least for the work of a run, without Corvexal:
//   floors sql CATALOGUE STATEMENTS   SQL
//   floors stat FOLDER                a walk that looks at every file
//   floors read FOLDER                a walk that reads every file

#include <fcntl.h>
#include <ftw.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <string_view>

#include "base/descriptor.h"

namespace {

int run(const char* catalogue, const char* statements) {
  sqlite3* db = nullptr;
  const bool done = sqlite3_open(catalogue, &db) == SQLITE_OK &&
                    sqlite3_exec(db, statements, nullptr, nullptr, nullptr) == SQLITE_OK;
  if (!done) std::fprintf(stderr, "%s\n", sqlite3_errmsg(db));
  sqlite3_close(db);
  return done ? 0 : 1;
}

unsigned long long bytes = 0;  // seen, so that no look is optimised away

int look_at(const char* /*path*/, const struct stat* status, int /*kind*/, FTW* /*where*/) {
  bytes += static_cast<unsigned long long>(status->st_size);
  return 0;
}

int read_it(const char* path, const struct stat* /*status*/, int kind, FTW* /*where*/) {
  if (kind != FTW_F) return 0;
  const corvexal::Descriptor file(open(path, O_RDONLY | O_CLOEXEC));
  std::array<char, 64 * 1024> piece;
  for (ssize_t size = 1; size > 0;) {
    size = read(file.get(), piece.data(), piece.size());
    bytes += static_cast<unsigned long long>(std::max<ssize_t>(size, 0));
  }
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view what = argc > 2 ? argv[1] : "";
  if (what == "sql" && argc == 4) return run(argv[2], argv[3]);
  if (what == "stat") return nftw(argv[2], look_at, 64, FTW_PHYS);
  if (what == "read") return nftw(argv[2], read_it, 64, FTW_PHYS);
  return 2;
}
