// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/remove.h"

#include <optional>

#include "base/paths.h"
#include "catalogue/media_types.h"
#include "catalogue/sort_tables.h"

namespace corvexal {

namespace {

int delete_rows(Database& db, const char* table, const std::string& path) {
  std::string folder;
  GetParentDirectory(path, folder);
  const int code = db.exec(R"(DELETE FROM %s where UTF_Path = "%s" AND UTF_fname= "%s" )", table, folder,
                           GetFileName(path));
  return code == SQLITE_OK ? 0 : -1;
}

}  // namespace

int DelAudioEntry2(Database& db, const std::string& path) {
  return delete_rows(db, "music_tbl", path);
}

int DelImageEntry2(Database& db, const std::string& path) {
  return delete_rows(db, "photo_tbl", path);
}

int DelVideoEntry2(Database& db, const std::string& path) {
  return delete_rows(db, "video_tbl", path);
}

int RemoveMediaFile(Session& session, const std::string& path, Rebuild rebuild) {
  const std::optional<MediaClass> media_class = media_class_for_removal(GetFileExtension(path, ""));
  if (!media_class) return -1;
  const std::string utf8_path = session.names.to_utf8(path).text.value_or(path);
  switch (*media_class) {
    case MediaClass::kMusic:
      DelAudioEntry2(session.db, utf8_path);
      session.playlist_pending = true;
      break;
    case MediaClass::kVideo:
      DelVideoEntry2(session.db, utf8_path);
      break;
    case MediaClass::kPhoto:
      DelImageEntry2(session.db, utf8_path);
      break;
  }
  if (rebuild == Rebuild::kNow) RebuildSortTables(session, *media_class);
  return 0;
}

}  // namespace corvexal
