// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/playlists.h"

#include <algorithm>
#include <cstdlib>
#include <string>

#include "catalogue/database.h"
#include "catalogue/schema.h"
#include "fuzz/memory_file.h"

// The input is read as an M3U and as a PLS file of a folder that holds the song a.mp3.
namespace {

constexpr const char* kRows =
    "insert into music_tbl (No,Real_Path,Real_fname,EXT_fname) values (\"1\",\"%s\",\"\",\"m3u\"),"
    "(\"2\",\"%s\",\"\",\"pls\"),(\"3\",\"%s\",\"a.mp3\",\"mp3\");";

bool open_catalogue(corvexal::Database& db, const std::string& folder) {
  return db.open(":memory:") == SQLITE_OK && corvexal::create_tables(db) == SQLITE_OK &&
         db.exec(kRows, folder, folder, folder) == SQLITE_OK;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static corvexal::Database db;
  const corvexal::MemoryFile file({data, size});
  const std::string path = file.path();
  const std::size_t name = path.rfind('/') + 1;
  static const bool opened = open_catalogue(db, path.substr(0, name));
  if (!opened ||
      db.exec("update music_tbl set Real_fname = \"%s\" where No < '3';", path.substr(name)) != SQLITE_OK)
    std::abort();

  if (corvexal::parser_playlist(db, "/") != 1) std::abort();
  corvexal::Rows lists = db.select("select PlsFile from music_tbl where No < '3';");
  while (lists.next())
    if (std::ranges::count(lists.text(0), ',') > 256) std::abort();
  return 0;
}
