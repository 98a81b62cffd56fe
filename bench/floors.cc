// What the machine and its libraries need at least for the work of a run, without Corvexal:
//   floors add CATALOGUE      one row more, every sort table and folder by SQL, one commit
//   floors commit CATALOGUE   one row more, one commit
//   floors stat FOLDER        a walk that looks at every file
//   floors read FOLDER        a walk that reads every file

#include <fcntl.h>
#include <ftw.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <string>
#include <string_view>

#include "base/descriptor.h"
#include "catalogue/sort_tables.h"

namespace {

void run(sqlite3* db, const std::string& sql) {
  if (sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK) return;
  std::cerr << sqlite3_errmsg(db) << ": " << sql << '\n';
  std::exit(1);
}

std::string without_semicolon(std::string query) {
  query.resize(query.rfind(';'));
  return query;
}

void fill_sort_tables(sqlite3* db) {
  const corvexal::SortTable& items = corvexal::item_tables()[0];
  const std::string name = items.name;
  run(db, "drop table if exists " + name);
  run(db, "create table " + name + " (idx,reserve1,reserve2)");
  run(db, "insert into " + name + " select No,0,0 from (" + without_semicolon(items.query) + ")");
  for (const corvexal::SortTable& groups : corvexal::group_tables()) {
    const std::string table = groups.name;
    run(db, "drop table if exists " + table);
    run(db, "create table " + table + " (name,cnt,ObjID,reserve1,reserve2)");
    run(db, "insert into " + table + " select *,'3040000000001',0,0 from (" +
                without_semicolon(groups.query) + ")");
  }
}

// Opens the catalogue, adds a song to it, does the work and commits.
template <class Work>
void change(const char* catalogue, Work work) {
  sqlite3* db = nullptr;
  if (sqlite3_open(catalogue, &db) != SQLITE_OK) std::exit(1);
  run(db, "begin immediate");
  run(db,
      "insert into music_tbl (No,UTF_Path,EXT_fname,Title,Genre,Artist,Album) "
      "values ('100001','/','mp3','New','New','New','New')");
  work(db);
  run(db, "commit");
  sqlite3_close(db);
}

void add(sqlite3* db) {
  fill_sort_tables(db);
  for (const char* table : {"music_tbl", "video_tbl", "photo_tbl"})
    run(db, "select distinct UTF_Path from " + std::string(table));
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
  if (argc != 3) return 2;
  const std::string_view what = argv[1];
  if (what == "add") change(argv[2], add);
  if (what == "commit") change(argv[2], [](sqlite3*) {});
  if (what == "stat") return nftw(argv[2], look_at, 64, FTW_PHYS);
  if (what == "read") return nftw(argv[2], read_it, 64, FTW_PHYS);
  return 0;
}
