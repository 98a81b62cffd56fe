// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/reconcile.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

#include "base/file.h"
#include "base/heap.h"
#include "base/log.h"
#include "base/text.h"
#include "catalogue/folder_flags.h"
#include "catalogue/folder_renames.h"
#include "catalogue/last_sync.h"
#include "catalogue/library_survey.h"
#include "catalogue/media_rows.h"
#include "catalogue/path_depth.h"
#include "catalogue/path_marks.h"
#include "catalogue/playlists.h"
#include "catalogue/song_reconciler.h"
#include "catalogue/sort_tables.h"
#include "songdb/update.h"

namespace corvexal {
namespace {

constexpr std::array kClasses = {MediaClass::kMusic, MediaClass::kVideo, MediaClass::kPhoto};

class Reconciler {
 public:
  Reconciler(Session& session, const ReconcileTask& task, ReconcileListener& listener)
      : session_(session),
        db_(session.db),
        task_(task),
        listener_(listener),
        survey_(db_, {}),
        songs_(session, task, counts_) {}

  ReconcileCounts run() {
    const LastSync last_sync(session_);
    if (!task_.preview)
      for (const FolderRename& rename : task_.renames)
        forgot_rows_ |= carry_out(session_, rename, counts_, listener_);
    songs_.open_to_read();
    db_.read_in_one_transaction();
    auto left = last_sync.others_wrote() || songs_.was_disturbed() ? std::nullopt : last_sync.folders();
    is_trusting_ = left && task_.trusts_last_sync && is_of_everything();
    survey_ = survey_library(session_, task_, is_trusting_ ? &*left : nullptr, counts_, listener_);
    db_.exec("COMMIT;");
    const std::uint64_t kept = left ? left->summary() : 0;
    left.reset();
    const bool all_ids_were_right = std::all_of(survey_.wrong.begin(), survey_.wrong.end(),
                                                [](const auto& rows) { return rows.empty(); });
    if (survey_.is_whole) {
      write_folders_and_files();
      let_go_of_what_was_written();
      const bool is_complete = survey_.is_as_left && !counts_.any_change();
      if (!is_complete && !stopped()) complete();
    }
    songs_.close();
    if (!task_.preview) db_.exec("COMMIT;");
    if (db_.lost_work()) ++counts_.failed;
    if (leaves_all_in_line() && all_ids_were_right &&
        (counts_.any_change() || kept != survey_.digests.summary()))
      last_sync.replace(survey_.digests, songs_.state_when_closed());
    return counts_;
  }

  [[nodiscard]] bool lost_songs() const { return songs_.lost_any(); }

 private:
  // What a sync of a part leaves in line is not kept: it may have taken rows and records from the rest.
  [[nodiscard]] bool is_of_everything() const {
    return task_.whole_library && task_.known_folders_too && task_.entries_only.empty() &&
           task_.left_files.empty() && task_.renames.empty();
  }

  [[nodiscard]] bool leaves_all_in_line() {
    return is_of_everything() && !task_.preview && survey_.is_whole && !stopped() && counts_.failed == 0 &&
           !lost_songs() && !songs_.was_disturbed() && !changed_meanwhile_;
  }

  [[nodiscard]] bool stopped() { return db_.lost_work() || listener_.wants_to_stop(); }

  void fail(const std::string& path, const char* what) {
    ++counts_.failed;
    error_printf("Corvexal: %s: %s\n", path.c_str(), what);
  }

  void note_write(MediaClass media_class) { has_written_[static_cast<std::size_t>(media_class)] = true; }

  // Every write of the work goes through here: a preview does none of them.
  template <class... Values>
  bool write(const char* sql, const Values&... values) {
    if (task_.preview) return true;
    const bool written = db_.write(sql, values...) == SQLITE_OK;
    if (!written) ++counts_.failed;
    return written;
  }

  void refuse(const std::string& path) {
    ++counts_.refused;
    compare_again(folder_around(path));
    error_printf("Corvexal: %s: the catalogue cannot hold a tag with a \" in it\n", path.c_str());
  }

  // Has each run compare a folder whatever it looks like.
  void compare_again(std::string_view folder) { survey_.digests.add(folder, FolderDigests::kCompareAgain); }

  void write_folders_and_files() {
    for (const std::int64_t rowid : survey_.double_folder_rows)
      if (write("delete from path_objid_tbl where ROWID=?;", rowid)) ++counts_.mended;
    survey_.moved.each_lost([this](const GoneRow& row) {
      if (stopped()) return;
      remove(row.media_class, row.rowid, path_of(row));
      foresee_numbers(path_of(row));
    });
    for (FolderRef* const folder : survey_.work) {
      if (stopped()) return;
      if (bring_folder_row_in_line(*folder)) bring_files_in_line(*folder);
    }
    for (const FolderRef* const folder : survey_.gone_folders)
      if (write("delete from path_objid_tbl where ROWID=?;", folder->second.rowid)) ++counts_.mended;
    if ((survey_.has_stale_songs || forgot_rows_) && !stopped())
      songs_.remove_stale(survey_.songs,
                          [this](const std::string& path) { return survey_.scope.holds(path); });
  }

  // The sort tables need room of their own.
  void let_go_of_what_was_written() {
    survey_.work = survey_.gone_folders = {};
    survey_.folders = {};
    survey_.moved = MovedFiles(db_);
    survey_.songs = {};
    trim_heap();
  }

  static std::string path_of(const GoneRow& row) { return row.folder + row.facts.name; }

  void remove(MediaClass media_class, std::int64_t rowid, const std::string& path) {
    note_write(media_class);
    const std::string sql = composed("delete from %s where ROWID=?;", table_of(media_class));
    if (!write(sql.c_str(), rowid)) return;
    ++counts_.removed;
    tell(Change::kRemoved, path);
    batch();
  }

  void tell(Change change, const std::string& path) {
    listener_.changed(change, path);
    if (is_playlist(path)) spoken_of_.add(path);
  }

  static bool is_playlist(const std::string& path) {
    const auto extension = media_extension(path);
    return extension && media_kind(*extension) == MediaKind::kPlaylist;
  }

  void foresee_numbers(const std::string& path) {
    if (task_.preview) renumbered_.add(path);
  }

  void batch() {
    if (!task_.preview) db_.commit_in_batches();
  }

  // False when the catalogue refuses the folder, and with it all that lies in it.
  bool bring_folder_row_in_line(FolderRef& folder) {
    auto& [path, known] = folder;
    if (known.rowid == 0 && !known.holds_entries) return true;
    const std::uint64_t parent = parent_of(survey_.folders, path);
    const int level = depth_below_share(session_.config.sharepath, path);
    if (known.objid != 0 && known.parent == parent && known.level == level && known.row_is_spelt) return true;
    if (known.objid == 0) known.objid = folder_ids_.objid(db_)++;
    ++counts_.mended;
    if (task_.preview || write_folder_row(db_, folder, parent, level) == SQLITE_OK) return true;
    --counts_.mended;
    fail(path, db_.error_text());
    return false;
  }

  void bring_files_in_line(const FolderRef& folder) {
    FolderCursor entries(folder.first);
    changed_meanwhile_ |= entries.error() != 0;
    if (entries.error() != 0) return;
    FolderComparison comparison(db_, folder.first, &entries);
    while (const Finding* finding = comparison.next()) {
      if (stopped()) return;
      handle(folder, *finding);
    }
    const std::uint64_t digest = entries.digest();
    changed_meanwhile_ |= survey_.digests.of(folder.first).value_or(digest) != digest &&
                          survey_.digests.of(folder.first) != FolderDigests::kCompareAgain;
  }

  void handle(const FolderRef& folder, const Finding& finding) {
    if (survey_.scope.leaves(folder.first + std::string(name_of(finding)))) return;
    switch (finding.kind) {
      case FindingKind::kPresent:
        return bring_row_in_line(folder, finding);
      case FindingKind::kNew:
        return add(folder, finding);
      case FindingKind::kDouble:
        return remove(finding.media_class, finding.row->rowid, folder.first + finding.row->name);
      case FindingKind::kGone:  // dealt with, or to be taken over by a moved file
      case FindingKind::kRefused:
      case FindingKind::kFolder:
      case FindingKind::kUnknown:
        return;
    }
  }

  [[nodiscard]] MediaFile describe(const FolderRef& folder, const FolderEntry& entry) const {
    MediaFile file;
    file.path = folder.first + std::string(entry.name);
    file.folder = folder.first;
    file.name = entry.name;
    set_extension(file, *media_extension(entry.name));
    file.modified = entry.status.st_mtime;
    file.size = static_cast<std::uint64_t>(entry.status.st_size);
    file.depth = depth_below_share(session_.config.sharepath, folder.first);
    return file;
  }

  // The row of a file; absent for one that cannot be read or held, and for a photo that is none.
  std::optional<MediaRow> read_row(MediaFile file) {
    const std::string path = file.path;
    auto row = read_media_row(session_, std::move(file));
    if (tells_nothing(row) && !can_be_read(path)) return std::nullopt;
    return row && can_be_held(*row) ? std::move(row) : std::nullopt;
  }

  // As of a file that cannot be read.
  static bool tells_nothing(const std::optional<MediaRow>& row) {
    return !row || (row->music.bitrate == 0 && row->video.width == 0 && row->photo.width == 0);
  }

  bool can_be_held(const MediaRow& row) {
    const bool is_taken = catalogue_takes(row);
    if (!is_taken) refuse(row.file.path);
    return is_taken;
  }

  // Of a file that cannot be read now the readers would say that it has no tags.
  bool can_be_read(const std::string& path) {
    File file(path);
    std::array<std::uint8_t, 1> first{};
    if (file) file.read_at(0, first);
    if (file && !file.failed()) return true;
    if (says_gone(errno))
      changed_meanwhile_ = true;
    else
      fail(path, std::strerror(errno));
    return false;
  }

  void add(const FolderRef& folder, const Finding& finding) {
    MediaFile file = describe(folder, *finding.entry);
    const struct stat status = finding.entry->status;
    const std::string path = file.path;
    if (const auto source = survey_.moved.source_of(path)) {
      if (!store_anew(folder, std::move(file), *source)) return;
      ++counts_.moved;
      tell(Change::kMoved, path);
      if (is_playlist(path)) spoken_of_.add(path_of(*source));
      foresee_numbers(path_of(*source));
    } else {
      if (!insert(folder, std::move(file), finding.media_class)) return;
      ++counts_.added;
      tell(Change::kNew, path);
    }
    foresee_numbers(path);
    refresh_song(path, status);
    done_with_file();
  }

  bool insert(const FolderRef& folder, MediaFile file, MediaClass media_class) {
    const auto row = read_row(std::move(file));
    if (!row || task_.preview) return row.has_value();
    note_write(media_class);
    Identifiers& ids = ids_of(media_class);
    session_.ids.*ids.next = ids.source.objid(db_);
    if (insert_media_row(session_, *row, ids.source.number(db_), folder.second.objid) != SQLITE_OK) {
      ++counts_.failed;
      return false;
    }
    ++ids.source.objid(db_);
    ++ids.source.number(db_);
    return true;
  }

  // Reads a file again into a row that was another path's. The row is removed when the file can have none.
  bool store_anew(const FolderRef& folder, MediaFile file, const GoneRow& source) {
    const std::uint64_t failed_before = counts_.failed;
    const auto row = read_row(std::move(file));
    const bool can_have_none = !row && counts_.failed == failed_before;
    if (can_have_none && is_gone(path_of(source))) remove(source.media_class, source.rowid, path_of(source));
    if (!row || task_.preview) return row.has_value();
    note_write(source.media_class);
    if (update_media_row(session_, *row, source.rowid, folder.second.objid) != SQLITE_OK) {
      ++counts_.failed;
      return false;
    }
    const auto& wrong = survey_.wrong[static_cast<std::size_t>(source.media_class)];
    if (const auto at = wrong.find(source.rowid); at != wrong.end())
      mend_identifiers(source.media_class, source.rowid, at->second);
    return true;
  }

  void bring_row_in_line(const FolderRef& folder, const Finding& finding) {
    const Difference differs = difference(session_, survey_, folder, finding);
    if (!differs.any()) return;
    const std::string path = folder.first + finding.row->name;
    const struct stat status = finding.entry->status;
    const std::int64_t rowid = finding.row->rowid;
    if (differs.content && !refresh(folder, finding)) return;
    mend(folder, finding.media_class, rowid, differs);
    const bool song_written =
        differs.song && (differs.content || can_be_read(path)) && refresh_song(path, status);
    const bool mended =
        differs.place || differs.identifiers.objid || differs.identifiers.number || song_written;
    if (!differs.content && !mended) return;
    ++(differs.content ? counts_.refreshed : counts_.mended);
    tell(Change::kRefreshed, path);
    if (differs.identifiers.number) foresee_numbers(path);
    done_with_file();
  }

  // A song without a record of its own is looked at each time: its reader may have failed for once, or the
  // record be another file's.
  bool refresh_song(const std::string& path, const struct stat& status) {
    const bool is_written = songs_.refresh(path, status);
    if (!is_store_song(std::string_view(path).substr(path.rfind('/') + 1))) return is_written;
    const std::uint32_t id = song_id(status);
    const auto found = is_written ? std::nullopt : session_.songs.stored(id);
    const bool has_record = is_written ? session_.songs.contains(id) : found && found->path == path;
    if (!has_record) compare_again(folder_around(path));
    return is_written;
  }

  // False when the row went, or could not be written or read for.
  bool refresh(const FolderRef& folder, const Finding& finding) {
    const std::int64_t rowid = finding.row->rowid;
    const std::string path = folder.first + finding.row->name;
    const auto row = read_media_row(session_, describe(folder, *finding.entry));
    if (tells_nothing(row) && !can_be_read(path)) return false;
    if (!row) remove(finding.media_class, rowid, path);
    if (!row || !can_be_held(*row)) return false;
    note_write(finding.media_class);
    if (task_.preview || update_media_row(session_, *row, rowid, folder.second.objid) == SQLITE_OK)
      return true;
    ++counts_.failed;
    return false;
  }

  void mend(const FolderRef& folder, MediaClass media_class, std::int64_t rowid, const Difference& differs) {
    const char* const table = table_of(media_class);
    if (differs.is_mendable()) note_write(media_class);
    if (differs.place)
      write(composed("update %s set ParentID=?,Depth=? where ROWID=?;", table).c_str(), folder.second.objid,
            depth_below_share(session_.config.sharepath, folder.first), rowid);
    mend_identifiers(media_class, rowid, differs.identifiers);
  }

  void mend_identifiers(MediaClass media_class, std::int64_t rowid, const WrongIdentifiers& wrong) {
    const char* const table = table_of(media_class);
    IdentifierSource& source = ids_of(media_class).source;
    if (wrong.objid)
      write(composed("update %s set ObjID=? where ROWID=?;", table).c_str(), source.objid(db_)++, rowid);
    if (wrong.number)
      write(composed("update %s set No=? where ROWID=?;", table).c_str(), source.number(db_)++, rowid);
  }

  void done_with_file() {
    batch();
    listener_.progressed(counts_, ++files_done_, survey_.files_to_handle);
  }

  // What follows from the rows, in one transaction.
  void complete() {
    if (!task_.preview) db_.exec("COMMIT;");
    db_.read_in_one_transaction();
    for (const MediaClass media_class : kClasses) {
      if (task_.preview && counts_.any_change()) break;
      if (are_left_in_line(media_class) || sort_tables_are_current(db_, media_class)) continue;
      ++counts_.mended;
      if (!task_.preview && !write_sort_tables(session_, media_class))
        fail(table_of(media_class), "its sort tables cannot be written");
    }
    relink();
    mend_flags();
    if (!task_.preview && counts_.any_change()) save_counters();
  }

  // Whether the rows of a class are those that the last sync has left, and with them its sort tables.
  [[nodiscard]] bool are_left_in_line(MediaClass media_class) const {
    return is_trusting_ && !has_written_[static_cast<std::size_t>(media_class)];
  }

  // They follow from the files' rows, so they count where they alone were wrong.
  void mend_flags() {
    if (task_.preview && counts_.any_change()) return;
    const auto mended = mend_folder_flags(db_, {}, !task_.preview);
    if (!mended) return fail("path_objid_tbl", "the folders' flags cannot be written");
    if (!counts_.any_change()) counts_.mended += *mended;
  }

  // A playlist beside the task's folders, whose row goes with its own folder's sync.
  static bool is_gone(const std::string& path) {
    struct stat status {};
    return lstat(path.c_str(), &status) != 0 && says_gone(errno);
  }

  void relink() {
    const ForeseenRows foreseen{[this](const std::string& path) { return spoken_of_.holds(path); },
                                [this](const std::string& path) { return renumbered_.holds(path); }};
    const auto links = relink_playlists(db_, session_.config.mntpath, task_.preview ? &foreseen : nullptr);
    if (!links) return fail("playlists", db_.error_text());
    for (const std::string& path : links->unreadable)
      if (!is_gone(path)) fail(path, "this playlist cannot be read");
    for (const std::string& path : links->relinked)
      if (!spoken_of_.holds(path)) listener_.changed(Change::kRefreshed, path);
    counts_.mended += links->relinked.size();
  }

  void save_counters() {
    for (Identifiers& ids : ids_) session_.ids.*ids.next = ids.source.objid(db_);
    session_.ids.media_path_objid = folder_ids_.objid(db_);
    SaveObjectIds(db_, session_.ids);
  }

  struct Identifiers {
    IdentifierSource source;
    std::uint64_t ObjectIds::*next;
  };
  Identifiers& ids_of(MediaClass media_class) { return ids_[static_cast<std::size_t>(media_class)]; }

  Session& session_;
  Database& db_;
  const ReconcileTask& task_;
  ReconcileListener& listener_;
  ReconcileCounts counts_;
  LibrarySurvey survey_;
  std::array<Identifiers, 3> ids_ = {{{IdentifierSource(kMusicIds), &ObjectIds::music_file_objid},
                                      {IdentifierSource(kVideoIds), &ObjectIds::video_file_objid},
                                      {IdentifierSource(kPhotoIds), &ObjectIds::photo_file_objid}}};
  IdentifierSource folder_ids_{kFolderIds};
  PathMarks spoken_of_;   // playlists that the listener was told of
  PathMarks renumbered_;  // files whose number a playlist may not know yet
  std::uint64_t files_done_ = 0;
  std::array<bool, 3> has_written_{};  // by media class
  bool changed_meanwhile_ = false;     // what the survey saw: the work may have missed something
  bool is_trusting_ = false;           // in what the last sync left in line
  bool forgot_rows_ = false;           // of an older folder, whose songs may have records
  SongReconciler songs_;
};

}  // namespace

ReconcileCounts reconcile(Session& session, const ReconcileTask& task, ReconcileListener& listener) {
  Reconciler first(session, task, listener);
  ReconcileCounts counts = first.run();
  if (!first.lost_songs() || listener.wants_to_stop()) return counts;
  const ReconcileCounts again = Reconciler(session, task, listener).run();
  counts.mended += again.mended;
  counts.failed += again.failed;
  return counts;
}

bool holds_files_below(Database& db, std::string_view folder) {
  std::string end(folder);
  ++end.back();
  for (const MediaClass media_class : kClasses) {
    const std::string select =
        composed("select 1 from %s where Real_Path>=? and Real_Path<? limit 1;", table_of(media_class));
    if (db.read(select.c_str(), folder, end).next()) return true;
  }
  return false;
}

}  // namespace corvexal
