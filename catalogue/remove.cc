#include "catalogue/remove.h"

#include "base/paths.h"
#include "catalogue/media_types.h"
#include "catalogue/playlists.h"
#include "catalogue/sort_tables.h"
#include "metadata/charset.h"

namespace corvexal {

int commit_after_remove = 1;

namespace {

int delete_rows(Database& database, const char* table, const std::string& path) {
  std::string folder;
  GetParentDirectory(path, folder);
  retval = database.exec("DELETE FROM %s where UTF_Path = \"%s\" AND UTF_fname= \"%s\" ", table, folder,
                         GetFileName(path));
  return retval == SQLITE_OK ? 0 : -1;
}

}  // namespace

int DelAudioEntry2(Database& database, const std::string& path) {
  return delete_rows(database, "music_tbl", path);
}

int DelImageEntry2(Database& database, const std::string& path) {
  return delete_rows(database, "photo_tbl", path);
}

int DelVideoEntry2(Database& database, const std::string& path) {
  return delete_rows(database, "video_tbl", path);
}

int RemoveMediaFile(const std::string& path) {
  const int media_class = MediaKindForRemoval(GetFileExtension(path, ""));
  const std::string utf8_path = convert_to_utf8(path, from_codepage.c_str()).text.value_or(path);
  switch (media_class) {
    case kMusicClass:
      DelAudioEntry2(g_db, utf8_path);
      playlist_pending = 1;
      break;
    case kVideoClass:
      DelVideoEntry2(g_db, utf8_path);
      break;
    case kPhotoClass:
      DelImageEntry2(g_db, utf8_path);
      break;
    default:
      return -1;
  }
  if (commit_after_remove == 1) RebuildSortTables(media_class);
  if (commit_after_remove == 0) commit_after_remove = 1;
  return 0;
}

}  // namespace corvexal
