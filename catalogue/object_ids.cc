// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/object_ids.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "catalogue/database.h"
#include "catalogue/row_counts.h"

namespace corvexal {

namespace {

std::uint64_t identifier(std::string_view text) {
  return static_cast<std::uint64_t>(std::strtoll(std::string(text).c_str(), nullptr, 10));
}

}  // namespace

int SaveObjectIds(Database& db, const ObjectIds& ids) {
  const struct {
    const char* name;
    std::uint64_t value;
  } counters[] = {
      {"media_path_objid", ids.media_path_objid},         {"media_path_parid", ids.media_path_parid},
      {"photo_file_objid", ids.photo_file_objid},         {"video_file_objid", ids.video_file_objid},
      {"music_file_objid", ids.music_file_objid},         {"music_file_pls_parid", ids.music_file_pls_parid},
      {"music_file_gen_objid", ids.music_file_gen_objid}, {"music_file_art_objid", ids.music_file_art_objid},
      {"music_file_alb_objid", ids.music_file_alb_objid},
  };
  int result = SQLITE_OK;
  for (const auto& counter : counters)
    result = db.exec(R"(insert into record_objid_tbl values ("%s","%llu");)", counter.name, counter.value);
  return result;
}

void advance_by_row_count(Database& db, const char* table, std::uint64_t& counter) {
  std::int64_t rows = 0;
  if (Total_Match_count(db, composed("select COUNT(*) from %s where UTF_fname != '';", table), rows) == 0)
    std::puts("No media file found");
  counter += static_cast<std::uint64_t>(rows);
}

std::uint64_t get_objid(Database& db, const char* table, std::uint64_t start) {
  // Identifiers are stored as text of equal length, so one ordered walk meets the taken ones in turn.
  std::uint64_t candidate = start;
  Rows rows = db.select("select ObjID from %s where ObjID >= '%llu' order by ObjID;", table, start);
  while (rows.next()) {
    const std::string wanted = std::to_string(candidate);
    if (rows.text(0) > wanted) break;
    if (rows.text(0) == wanted) ++candidate;
  }
  if (rows.failed()) std::printf("get_objid(): Exe SQL query Error = [%s]\n", db.error_text());
  std::printf("get_objid(): objID = [%llu]\n", static_cast<unsigned long long>(candidate));
  return candidate;
}

std::uint64_t get_old_objid(Database& db, ObjectIds& ids, std::string_view folder) {
  Rows rows = db.select("select ObjID from path_objid_tbl where path == '%s';", folder);
  if (rows.next()) ids.media_path_objid = identifier(rows.text(0));
  if (rows.failed()) std::printf("get_old_objid(): Exe SQL query Error = [%s]\n", db.error_text());
  std::printf("get_old_objid(): init_objid.media_path_objid = [%llu]\n",
              static_cast<unsigned long long>(ids.media_path_objid));
  return ids.media_path_objid;
}

std::uint64_t get_parid(Database& db, ObjectIds& ids, std::string_view path) {
  constexpr const char* kFolderQuery = "select ObjID from path_objid_tbl where path == '%s';";
  const std::string_view folder = path.substr(0, path.rfind('/') + 1);
  Rows rows = db.select(kFolderQuery, folder);
  if (rows.next()) return identifier(rows.text(0));
  if (rows.failed()) {
    std::printf("get_parid():1Exe SQL query Error[%s]\n", composed(kFolderQuery, folder).c_str());
    return 0;
  }
  // An unknown folder gets the next parent identifier: one more for the one row of a count, not for what it
  // counts.
  constexpr const char* kCountQuery = "select COUNT(*) from path_objid_tbl;";
  const int count_rows = QueryRowCount(db, kCountQuery);
  if (count_rows == 0) std::printf("get_parid():1Exe SQL query Error[%s]\n", kCountQuery);
  ids.media_path_parid += static_cast<std::uint64_t>(count_rows);
  return ids.media_path_parid;
}

}  // namespace corvexal
