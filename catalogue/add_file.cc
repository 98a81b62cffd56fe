// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/add_file.h"

#include <sys/stat.h>

#include <cstdio>
#include <utility>

#include "base/paths.h"
#include "catalogue/media_rows.h"
#include "catalogue/path_depth.h"
#include "catalogue/row_counts.h"
#include "catalogue/sort_tables.h"

namespace corvexal {
namespace {

// Describes the file at `path`; a file that cannot be read from the disk counts as empty and as old as time
// itself.
MediaFile describe(const ConfigRecord& config, const std::string& path) {
  MediaFile file;
  file.path = path;
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) {
    file.size = static_cast<std::uint64_t>(status.st_size);
    file.modified = status.st_mtime;
  }
  file.depth = depth_below_share(config.sharepath, path);
  GetParentDirectory(path, file.folder);
  return file;
}

// Music, photo and video rows are numbered from the rows there are; playlists and subtitles take the counter
// as it stands. Clients of the catalogue know identifiers given in this way.
void advance_identifier(Session& session, MediaKind kind) {
  if (kind == MediaKind::kMusic) advance_by_row_count(session.db, "music_tbl", session.ids.music_file_objid);
  if (kind == MediaKind::kVideo) advance_by_row_count(session.db, "video_tbl", session.ids.video_file_objid);
  if (kind == MediaKind::kPhoto) {
    advance_by_row_count(session.db, "photo_tbl", session.ids.photo_file_objid);
    session.ids.photo_file_objid = get_objid(session.db, "photo_tbl", session.ids.photo_file_objid);
  }
}

constexpr ConversionReport kReports[] = {{MediaKind::kMusic, "2ret = ", ""},
                                         {MediaKind::kPhoto, "MmsAddMediaFile(): ret = [", "]"},
                                         {MediaKind::kVideo, "4ret = ", ""},
                                         {MediaKind::kPlaylist, "5ret = ", ""},
                                         {MediaKind::kSubtitle, "5ret = ", ""}};

bool is_in_catalogue(Session& session, const MediaRow& row) {
  return QueryRowCount(session.db, R"(select * from %s where UTF_Path = "%s" AND UTF_fname= "%s" )",
                       media_table(row.file.kind), row.utf_folder, row.utf_name) > 0;
}

// The work that follows an insert.
void finish(Session& session, MediaKind kind) {
  switch (kind) {
    case MediaKind::kMusic:
      RebuildSortTables(session, MediaClass::kMusic);
      session.playlist_pending = true;
      break;
    case MediaKind::kVideo:
      RebuildSortTables(session, MediaClass::kVideo);
      break;
    case MediaKind::kPhoto:
      RebuildSortTables(session, MediaClass::kPhoto);
      break;
    case MediaKind::kPlaylist:
      session.playlist_pending = true;
      break;
    case MediaKind::kSubtitle:
    case MediaKind::kOther:
      break;
  }
}

int add_row(Session& session, const MediaRow& row) {
  if (is_in_catalogue(session, row)) return 1;
  const MediaKind kind = row.file.kind;
  const std::int64_t number = LastRowNo(session.db, media_table(kind)) + 1;
  // A photo hangs below the parent folder's identifier, everything else below the folder's own.
  const std::uint64_t parent =
      kind == MediaKind::kPhoto ? session.ids.media_path_parid : session.ids.media_path_objid;
  if (insert_media_row(session, row, number, parent) != SQLITE_OK) return kind == MediaKind::kMusic ? -1 : 0;
  finish(session, kind);
  return 1;
}

}  // namespace

int MmsAddMediaFile(Session& session, const std::string& path) {
  MediaFile file = describe(session.config, path);
  session.ids.media_path_parid = file.depth != 0 ? get_parid(session.db, session.ids, path) : 0;

  const std::optional<std::string_view> extension = media_extension(path);
  if (!extension) return 0;
  file.name = FileBaseName(path, "/", false).append(*extension);
  set_extension(file, *extension);
  if (file.kind == MediaKind::kOther) return 1;

  advance_identifier(session, file.kind);
  const std::optional<MediaRow> row = read_media_row(session, std::move(file));
  if (!row) return 1;
  report_conversions(*row, kReports);
  return add_row(session, *row);
}

}  // namespace corvexal
