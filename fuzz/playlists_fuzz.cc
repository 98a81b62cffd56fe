// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/playlists.h"

#include <algorithm>

#include "catalogue/database.h"
#include "catalogue/schema.h"
#include "fuzz/input.h"

// The input is read as an M3U and as a PLS file of a folder that holds the song a.mp3.
void corvexal::try_input(Bytes input) {
  const MemoryFile file(input);
  const std::filesystem::path path = file.path();
  static Database db;
  if (!db.is_open()) require(db.open(":memory:") == SQLITE_OK && create_tables(db) == SQLITE_OK);
  require(db.exec("delete from music_tbl;") == SQLITE_OK);
  for (const auto& [name, extension] : {std::pair{path.filename().string(), "m3u"},
                                        {path.filename().string(), "pls"},
                                        {std::string("a.mp3"), "mp3"}})
    require(db.exec(R"(insert into music_tbl (No,Real_Path,Real_fname,EXT_fname)
                       values (1,"%s/","%s","%s");)",
                    path.parent_path().string(), name, extension) == SQLITE_OK);

  require(parser_playlist(db, "/") == 1);
  Rows lists = db.select("select PlsFile from music_tbl;");
  while (lists.next()) require(std::ranges::count(lists.text(0), ',') <= 256);
}
