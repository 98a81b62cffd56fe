// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/scan.h"

#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <deque>
#include <utility>

#include "base/log.h"
#include "catalogue/folder_entries.h"
#include "catalogue/media_rows.h"
#include "catalogue/path_depth.h"
#include "catalogue/row_counts.h"
#include "songdb/update.h"

namespace corvexal {
namespace {

bool writes_catalogue(ScanMode mode) {
  return mode != ScanMode::kSongStore;
}
bool writes_song_store(ScanMode mode) {
  return mode != ScanMode::kFolderRows;
}

// Writes the row of a folder; `path_for_parent` is its path without the trailing "/".
bool insert_folder_row(Session& session, const std::string& folder, const std::string& path_for_parent,
                       int depth) {
  constexpr const char* kInsert =
      R"(insert into path_objid_tbl values ("%s","%llu","%llu","%d","%d","%d","%d");)";
  session.ids.media_path_parid = depth != 0 ? get_parid(session.db, session.ids, path_for_parent) : 0;
  const std::uint64_t objid = session.ids.media_path_objid, parid = session.ids.media_path_parid;
  if (session.db.exec(kInsert, folder, objid, parid, depth, 0, 0, 0) == SQLITE_OK) return true;
  const std::string sql = composed(kInsert, folder, objid, parid, depth, 0, 0, 0);
  std::printf("ScanMusic():execute sql query[%s] error[%s]\n", sql.c_str(), session.db.error_text());
  return false;
}

// The next row number of each table, counted up within one folder.
struct RowNumbers {
  explicit RowNumbers(Database& db)
      : music(LastRowNo(db, "music_tbl") + 1),
        video(LastRowNo(db, "video_tbl") + 1),
        photo(LastRowNo(db, "photo_tbl") + 1) {}

  std::int64_t music, video, photo;

  std::int64_t& of(MediaKind kind) {
    if (kind == MediaKind::kPhoto) return photo;
    return kind == MediaKind::kVideo || kind == MediaKind::kSubtitle ? video : music;
  }
};

constexpr ConversionReport kReports[] = {{MediaKind::kMusic, "2ret = ", ""},
                                         {MediaKind::kPhoto, "3ret = ", ""},
                                         {MediaKind::kVideo, "4ret = ", ""},
                                         {MediaKind::kPlaylist, "5ret = ", ""}};

// Adds the file's row as the scan does: no look for a row that is there already, identifiers as the counters
// stand, the folder's own identifier as every row's parent. False when the insert failed.
bool add_row(Session& session, MediaFile file, RowNumbers& numbers) {
  const std::optional<MediaRow> row = read_media_row(session, std::move(file));
  if (!row) return true;
  report_conversions(*row, kReports);
  const MediaKind kind = row->file.kind;
  std::int64_t& number = numbers.of(kind);
  if (insert_media_row(session, *row, number, session.ids.media_path_objid) != SQLITE_OK) return false;
  ++number;
  if (kind == MediaKind::kMusic || kind == MediaKind::kPlaylist) session.playlist_pending = true;
  if (kind == MediaKind::kMusic && row->music.genre.empty())
    std::printf("<file>path %s, namelist[i]->d_name %s\n", row->file.folder.c_str(), row->file.name.c_str());
  session.db.commit_in_batches();
  return true;
}

// One folder while it is being read.
class FolderScan {
 public:
  FolderScan(Session& session, const ScanFolder& folder, ScanMode mode, std::deque<ScanFolder>& queue)
      : session_(session), folder_(folder), mode_(mode), queue_(queue) {
    if (writes_catalogue(mode)) numbers_.emplace(session.db);
  }

  // Handles one entry; false when its row could not be written.
  bool handle(std::string_view name) {
    if (folder_.path.size() + name.size() >= kFullPathLimit) return true;
    const std::string path = folder_.path + std::string(name);
    look_at(path);
    if (S_ISDIR(status_.st_mode)) queue_.push_back({path + '/', folder_.depth + 1});
    if (!S_ISREG(status_.st_mode)) return true;
    return handle_file(path, name);
  }

 private:
  // An entry that cannot be looked at goes by what was seen of the entry before it: clients of the catalogue
  // know such rows.
  void look_at(const std::string& path) {
    struct stat status {};
    const int result = lstat(path.c_str(), &status);
    if (result == 0)
      status_ = status;
    else
      std::printf("<prescan>ScanMusic(): lstat error:[%s],%d,file:[%s]\n", std::strerror(result), result,
                  path.c_str());
  }

  bool handle_file(const std::string& path, std::string_view name) {
    const std::optional<std::string_view> extension = media_extension(name);
    if (!extension) return true;
    MediaFile file;
    set_extension(file, *extension);
    if (file.kind == MediaKind::kOther) return true;
    file.path = path;
    file.folder = folder_.path;
    file.name = name;
    file.modified = status_.st_mtime;
    file.size = static_cast<std::uint64_t>(status_.st_size);
    file.depth = folder_.depth;

    const bool is_music = file.kind == MediaKind::kMusic;
    if (numbers_ && !add_row(session_, std::move(file), *numbers_)) return false;
    if (is_music && writes_song_store(mode_) && update_song(session_.songs, session_.tags, path) == -1)
      log_printf("Updata gdb fail\n");
    return true;
  }

  Session& session_;
  const ScanFolder& folder_;
  ScanMode mode_;
  std::deque<ScanFolder>& queue_;
  std::optional<RowNumbers> numbers_;
  struct stat status_ {};
};

}  // namespace

int ScanMusic(Session& session, const ScanFolder& folder, ScanMode mode, std::deque<ScanFolder>& queue) {
  const FolderEntries entries(folder.path);
  if (entries.error() != 0)
    error_printf("Corvexal: cannot read the folder %s: %s\n", folder.path.c_str(),
                 std::strerror(entries.error()));
  if (entries.listed() == 0) return 1;
  FolderScan scan(session, folder, mode, queue);
  if (mode == ScanMode::kFolderRows) {
    const std::size_t length = folder.path.size() - (folder.path.ends_with('/') ? 1 : 0);
    if (!insert_folder_row(session, folder.path, folder.path.substr(0, length), folder.depth)) return 0;
  }
  for (std::size_t i = 0; i < entries.size(); ++i)
    if (!scan.handle(entries[i])) return 0;
  ++session.ids.media_path_objid;
  return 1;
}

void ScanMediaDirectory(Session& session, const std::string& folder, ScanMode mode) {
  ScanFolder current{folder + '/', 0};
  current.depth = depth_below_share(session.config.sharepath, current.path);
  if (mode == ScanMode::kFolderRows) {
    insert_folder_row(session, folder, folder, current.depth);
    return;
  }
  std::deque<ScanFolder> queue;
  if (ScanMusic(session, current, mode, queue) == 0) std::puts("1scan file fail");
  while (!session.db.lost_work() && !queue.empty()) {
    current = std::move(queue.front());
    queue.pop_front();
    if (ScanMusic(session, current, mode, queue) == 0) std::puts("2scan file fail");
  }
}

}  // namespace corvexal
