// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/rename.h"

#include <cstdio>
#include <optional>
#include <string>
#include <unordered_map>
#include <vector>

namespace corvexal {
namespace {

// The path with the old path's first occurrence, and whatever stands before it, replaced by the new one.
// REQUIRES: `path` holds the old path.
std::string spliced(std::string_view path, std::string_view old_path, std::string_view new_path) {
  return std::string(new_path).append(path.substr(path.find(old_path) + old_path.size()));
}

// The paths of a table's selected rows: one entry a row, in the rows' order, each distinct text kept once.
class PathList {
 public:
  void add(std::string_view path) { rows_.push_back(&*is_gone_.try_emplace(std::string(path)).first); }

  // Calls update(path), which returns the new path or nothing when it failed, for each row in turn. One
  // update rewrites every row of its path, so the path's later rows are passed over; unless the update
  // failed, or an update of another path has given rows this one in the meantime.
  template <class Update>
  void update_each(Update update) {
    for (auto* row : rows_) {
      auto& [path, is_gone] = *row;
      if (is_gone) continue;
      const std::optional<std::string> new_path = update(path);
      if (!new_path) continue;
      if (const auto found = is_gone_.find(*new_path); found != is_gone_.end()) found->second = false;
      is_gone = true;
    }
  }

 private:
  std::unordered_map<std::string, bool> is_gone_;  // by path: whether a further update would find nothing
  std::vector<std::pair<const std::string, bool>*> rows_;
};

struct PathTable {
  const char* name;
  const char* select;
  const char* update;
  bool is_media = true;
  const char* name_when_unreadable = name;
};

constexpr PathTable kTables[] = {
    {.name = "path_objid_tbl",
     .select = "select path,ObjID,Dir_ParentID from path_objid_tbl where path like '%s%%';",
     .update = "update path_objid_tbl set path = '%s' where path == '%s';",
     .is_media = false},
    {.name = "photo_tbl",
     .select = "select UTF_Path,Real_Path from photo_tbl where UTF_Path like '%s%%';",
     .update = "update photo_tbl set UTF_Path = '%s', Real_Path = '%s' where UTF_Path == '%s';"},
    {.name = "video_tbl",
     .select = "select UTF_Path,Real_Path from video_tbl where UTF_Path like '%s%%';",
     .update = "update video_tbl set UTF_Path = '%s', Real_Path = '%s' where UTF_Path == '%s';",
     .name_when_unreadable = "music_tbl"},  // this text stands for both tables: scripts may watch for it
    {.name = "music_tbl",
     .select = "select UTF_Path,Real_Path from music_tbl where UTF_Path like '%s%%';",
     .update = "update music_tbl set UTF_Path = '%s', Real_Path = '%s' where UTF_Path == '%s';"},
};

bool read_paths(Database& db, const PathTable& table, std::string_view old_path, PathList& paths) {
  Rows rows = db.select(table.select, old_path);
  while (rows.next())
    if (rows.text(0).find(old_path) != std::string_view::npos) paths.add(rows.text(0));
  if (!rows.failed()) return true;
  std::printf("Update_File_Path(): %s Execute SQL query Error = [%s]-[%s]\n", table.name_when_unreadable,
              composed(table.select, old_path).c_str(), db.error_text());
  return false;
}

bool update_rows(Database& db, const PathTable& table, const std::string& path, const std::string& new_path) {
  const int code = table.is_media ? db.exec(table.update, new_path, new_path, path)
                                  : db.exec(table.update, new_path, path);
  if (code != SQLITE_OK)
    std::printf("Update_File_Path(): %s update sql_query1 error[%s]\n", table.name, db.error_text());
  return code == SQLITE_OK;
}

}  // namespace

int Update_File_Path(Database& db, std::string_view old_path, std::string_view new_path) {
  for (const PathTable& table : kTables) {
    PathList paths;
    if (!read_paths(db, table, old_path, paths)) return 0;
    if (table.is_media) std::printf("%s:\n", table.name);
    paths.update_each([&](const std::string& path) -> std::optional<std::string> {
      std::string renamed = spliced(path, old_path, new_path);
      if (!update_rows(db, table, path, renamed)) return std::nullopt;
      return renamed;
    });
  }
  return 0;
}

}  // namespace corvexal
