// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/library_survey.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <deque>
#include <iterator>
#include <utility>

#include "base/file.h"
#include "base/log.h"
#include "catalogue/media_rows.h"
#include "catalogue/moved_folders.h"
#include "catalogue/path_depth.h"
#include "catalogue/scan.h"
#include "songdb/update.h"

namespace corvexal {

bool SurveyScope::holds(std::string_view path) const {
  const bool is_inside = std::any_of(folders_.begin(), folders_.end(),
                                     [path](const std::string& folder) { return path.starts_with(folder); });
  return is_inside && !is_kept(path);
}

bool SurveyScope::is_kept(std::string_view path) const {
  if (kept_.empty()) return false;
  if (!path.ends_with('/') && kept_.contains(std::string(path) + '/')) return true;
  for (; !path.empty(); path = folder_around(path)) {
    if (kept_.contains(path)) return true;
    if (is_given(path)) return false;
  }
  return false;
}

std::uint64_t parent_of(const Folders& folders, std::string_view folder) {
  const auto around = folders.find(std::string(folder_around(folder)));
  return around == folders.end() ? 0 : around->second.objid;
}

Difference difference(Session& session, const LibrarySurvey& survey, const FolderRef& folder,
                      const Finding& finding) {
  const StoredRow& row = *finding.row;
  const FolderEntry& entry = *finding.entry;
  const auto& wrong = survey.wrong[static_cast<std::size_t>(finding.media_class)];
  Difference found;
  found.content =
      row.size != std::to_string(entry.status.st_size) || row.date != date_text(entry.status.st_mtime);
  found.place = folder.second.objid == 0 || row.parent != folder.second.objid ||
                row.depth != depth_below_share(session.config.sharepath, folder.first);
  if (const auto at = wrong.find(row.rowid); at != wrong.end()) found.identifiers = at->second;
  if (finding.media_class == MediaClass::kMusic && is_store_song(entry.name)) {
    const SongState state = song_state(session.songs, folder.first + std::string(entry.name), entry.status);
    found.shares_record = state == SongState::kShared;
    found.song = state == SongState::kMoved || state == SongState::kOutdated;
  }
  return found;
}

namespace {

constexpr std::array kClasses = {MediaClass::kMusic, MediaClass::kVideo, MediaClass::kPhoto};
constexpr const IdentifiedTable* kIdentified[] = {&kMusicIds, &kVideoIds, &kPhotoIds};

// What a folder holds, without a look at its rows.
struct Glance {
  std::uint64_t files = 0;
  std::vector<std::uint32_t> songs;  // ids
  std::vector<std::string> sub_folders;
};

Glance glance_at(const std::string& folder, FolderCursor& entries) {
  Glance seen;
  while (const FolderEntry* entry = entries.next()) {
    if (entry->kind == EntryKind::kFolder)
      seen.sub_folders.push_back(folder + std::string(entry->name) + '/');
    if (entry->kind != EntryKind::kFile) continue;
    ++seen.files;
    if (is_store_song(entry->name)) seen.songs.push_back(song_id(entry->status));
  }
  return seen;
}

class Surveyor {
 public:
  Surveyor(Session& session, const ReconcileTask& task, const FolderDigests* left_in_line,
           ReconcileCounts& counts, ReconcileListener& listener)
      : session_(session),
        task_(task),
        left_in_line_(left_in_line),
        counts_(counts),
        listener_(listener),
        survey_(session.db, task.folders) {}

  LibrarySurvey run() {
    for (const std::string& file : task_.left_files) survey_.scope.keep(file + '/');
    if (read_catalogue()) {
      walk();
      survey_.is_as_left = left_in_line_ != nullptr && unchanged_folders_ == left_in_line_->size() &&
                           unchanged_folders_ == counts_.folders && !has_playlists_to_read_ &&
                           !has_rows_outside();
      if (!survey_.is_as_left) look_for_gone_folders();
      if (!survey_.is_as_left || !survey_.work.empty()) look_for_stale_songs();
      match_moved_files();
    }
    survey_.is_whole = !catalogue_failed_ && !listener_.wants_to_stop();
    return std::move(survey_);
  }

 private:
  void fail(const std::string& path, int error) {
    ++counts_.failed;
    error_printf("Corvexal: cannot look at %s: %s; what is known of it stays\n", path.c_str(),
                 std::strerror(error));
  }

  bool catalogue_fails() {
    if (!std::exchange(catalogue_failed_, true)) {
      ++counts_.failed;
      error_printf("Corvexal: cannot read the catalogue: %s\n", session_.db.error_text());
    }
    return false;
  }

  bool read_catalogue() {
    if (!read_folder_rows(session_.db, survey_.folders, survey_.double_folder_rows)) return catalogue_fails();
    if (left_in_line_ != nullptr) return true;  // or the last sync would not have left it so
    for (std::size_t i = 0; i < kClasses.size(); ++i) {
      auto wrong = wrong_identifiers(session_.db, *kIdentified[i]);
      if (!wrong) return catalogue_fails();
      survey_.wrong[i] = std::move(*wrong);
    }
    return true;
  }

  // Songs and playlists that no walk of the share comes by.
  bool has_rows_outside() {
    std::string end = task_.share;
    ++end.back();
    return session_.db.read("select 1 from music_tbl where Real_Path<? limit 1;", task_.share).next() ||
           session_.db.read("select 1 from music_tbl where Real_Path>=? limit 1;", end).next();
  }

  void refuse(const std::string& path) {
    ++counts_.refused;
    error_printf("Corvexal: %s: the catalogue cannot hold a name with a \" in it%s\n", path.c_str(),
                 path.ends_with('/') ? "; what lies in the folder is left out" : "");
  }

  void walk() {
    for (const std::string& folder : survey_.scope.folders()) {
      if (!is_scanned(folder)) continue;
      add_folders_around(folder);
      queue_.push_back(folder);
    }
    while (!queue_.empty() && !catalogue_failed_ && !listener_.wants_to_stop()) {
      const std::string folder = std::move(queue_.front());
      queue_.pop_front();
      visit(folder);
    }
  }

  // False for a folder that is not there or that a walk from the share would pass over, as it would one above
  // it: it is as good as gone. What it is may also be unknown.
  [[nodiscard]] bool is_scanned(const std::string& folder) const {
    if (!folder.starts_with(task_.share)) return true;
    for (std::size_t at = task_.share.size(); at < folder.size(); at = folder.find('/', at) + 1) {
      const std::string path = folder.substr(0, folder.find('/', at));
      struct stat status {};
      if (folder[at] == '.' || path.size() >= kFullPathLimit) return false;
      if (lstat(path.c_str(), &status) != 0) return !says_gone(errno);
      if (!S_ISDIR(status.st_mode)) return false;
    }
    return true;
  }

  // The folders between the share and a task's folder hold entries, too: at least that one.
  void add_folders_around(const std::string& folder) {
    std::vector<std::string> around;
    for (std::string_view outer = folder_around(folder); outer.starts_with(task_.share);
         outer = folder_around(outer))
      around.emplace_back(outer);
    for (auto outer = around.rbegin(); outer != around.rend(); ++outer) {
      FolderRef& known = *survey_.folders.try_emplace(*outer).first;
      if (std::exchange(known.second.is_visited, true)) continue;
      known.second.holds_entries = true;
      if (needs_row(known)) note_work(known);
    }
  }

  [[nodiscard]] bool needs_row(const FolderRef& folder) const {
    const auto& [path, known] = folder;
    if (known.rowid == 0) return known.holds_entries && catalogue_takes(path);
    const std::uint64_t parent = parent_of(survey_.folders, path);
    const auto around = survey_.folders.find(std::string(folder_around(path)));
    const bool parent_is_new =
        around != survey_.folders.end() && around->second.objid == 0 && around->second.holds_entries;
    return known.objid == 0 || parent_is_new || known.parent != parent || !known.row_is_spelt ||
           known.level != depth_below_share(session_.config.sharepath, path);
  }

  void note_work(FolderRef& folder) {
    if (std::exchange(folder.second.needs_work, true)) return;
    survey_.work.push_back(&folder);
  }

  void visit(const std::string& path) {
    FolderCursor entries(path);
    if (entries.error() != 0) {
      if (says_gone(entries.error())) return;
      fail(path, entries.error());
      survey_.scope.keep(path);
      return;
    }
    FolderRef& folder = *survey_.folders.try_emplace(path).first;
    if (std::exchange(folder.second.is_walked, true)) return;  // one task's folder may lie in another
    if (folder.second.rowid == 0 && !catalogue_takes(path)) return refuse(path);
    folder.second.is_visited = true;
    folder.second.holds_entries = entries.holds_entries();
    ++counts_.folders;
    if (needs_row(folder)) note_work(folder);
    const auto left = left_in_line_ != nullptr ? left_in_line_->of(path) : std::nullopt;
    if (!left) return compare(folder, entries);
    const bool is_unchanged = passes_unchanged(folder, entries, *left);
    if (!is_unchanged) compare(folder, entries);
    if (is_unchanged || *left == FolderDigests::kCompareAgain) ++unchanged_folders_;
  }

  void compare(FolderRef& folder, FolderCursor& entries) {
    all_is_taken_ = true;
    FolderComparison comparison(session_.db, folder.first, &entries);
    while (const Finding* finding = comparison.next()) take(folder, *finding);
    if (comparison.failed()) catalogue_fails();
    survey_.digests.add(folder.first, all_is_taken_ ? entries.digest() : FolderDigests::kCompareAgain);
  }

  // Only counts the entries of a folder when they are those that were left in line. Otherwise false, and they
  // are all still to come.
  bool passes_unchanged(const FolderRef& folder, FolderCursor& entries, std::uint64_t left) {
    if (left == FolderDigests::kCompareAgain) return false;
    Glance seen = glance_at(folder.first, entries);
    if (entries.digest() != left) {
      entries.rewind();
      return false;
    }
    counts_.files += seen.files;
    survey_.songs.insert(survey_.songs.end(), seen.songs.begin(), seen.songs.end());
    survey_.digests.add(folder.first, left);
    for (std::string& sub_folder : seen.sub_folders) enter(folder.first, std::move(sub_folder));
    listener_.progressed(counts_, counts_.files, 0);
    return true;
  }

  void take(FolderRef& folder, const Finding& finding) {
    if (survey_.scope.leaves(folder.first + std::string(name_of(finding)))) return;
    const auto path = [&] { return folder.first + std::string(finding.entry->name); };
    switch (finding.kind) {
      case FindingKind::kPresent: {
        count_file(finding);
        has_playlists_to_read_ |= finding.entry->media == MediaKind::kPlaylist;
        const Difference differs = difference(session_, survey_, folder, finding);
        if (differs.song) add_differing_song(finding);
        if (differs.shares_record) all_is_taken_ = false;  // what becomes of the other file concerns it, too
        if (!differs.any()) return;
        break;
      }
      case FindingKind::kNew:
        count_file(finding);
        if (is_song(finding)) add_differing_song(finding);
        has_new_files_ = true;
        break;
      case FindingKind::kRefused:
        all_is_taken_ = false;
        return refuse(path());
      case FindingKind::kDouble:
        break;
      case FindingKind::kGone:
        add_gone(finding.media_class, folder.first, *finding.row);
        break;
      case FindingKind::kFolder:
        return enter(folder.first, path() + '/');
      case FindingKind::kUnknown:
        fail(path(), finding.entry->error);
        return survey_.scope.keep(path() + '/');
    }
    ++survey_.files_to_handle;
    note_work(folder);
  }

  void enter(const std::string& around, std::string folder) {
    const auto holds = [](const std::vector<std::string>& folders, const std::string& wanted) {
      return std::find(folders.begin(), folders.end(), wanted) != folders.end();
    };
    const auto known = survey_.folders.find(folder);
    const bool has_row = known != survey_.folders.end() && known->second.rowid != 0;
    const bool entries_only = !task_.known_folders_too || holds(task_.entries_only, around);
    if (!entries_only || !has_row)
      queue_.push_back(std::move(folder));
    else if (!holds(task_.folders, folder))
      survey_.scope.keep(std::move(folder));
  }

  static bool is_song(const Finding& finding) {
    return finding.media_class == MediaClass::kMusic && is_store_song(finding.entry->name);
  }

  void count_file(const Finding& finding) {
    ++counts_.files;
    if (is_song(finding)) survey_.songs.push_back(song_id(finding.entry->status));
    listener_.progressed(counts_, counts_.files, 0);
  }

  void add_differing_song(const Finding& finding) {
    songs_differ_ = true;
    const std::uint32_t id = song_id(finding.entry->status);
    if (!session_.songs.contains(id)) songs_without_record_.push_back(id);
  }

  void add_gone(MediaClass media_class, const std::string& folder, const StoredRow& row) {
    survey_.moved.add_gone({media_class, row.rowid, folder, {row.name, row.size, row.date}});
  }

  // Those that lie in no other one: a row is gone once.
  static std::vector<std::string> outermost(std::vector<std::string> folders) {
    std::sort(folders.begin(), folders.end());
    std::vector<std::string> outer;
    for (std::string& folder : folders)
      if (outer.empty() || !folder.starts_with(outer.back())) outer.push_back(std::move(folder));
    return outer;
  }

  void look_for_gone_folders() {
    for (const std::string& folder : outermost(survey_.scope.folders()))
      for (const MediaClass media_class : kClasses) look_for_gone_rows(media_class, folder);
    for (FolderRef& folder : survey_.folders)
      if (folder.second.rowid != 0 && !folder.second.is_visited && survey_.scope.holds(folder.first))
        survey_.gone_folders.push_back(&folder);
  }

  // Steps from one folder with rows to the next, by the index on folders.
  void look_for_gone_rows(MediaClass media_class, const std::string& scope) {
    std::string end = scope;
    ++end.back();
    std::string folder = scope;
    const char* from = ">=";
    for (;;) {
      const std::string step =
          composed("select min(Real_Path) from %s where Real_Path %s ? and Real_Path < ?;",
                   table_of(media_class), std::exchange(from, ">"));
      Rows rows = session_.db.read(step.c_str(), folder, end);
      if (!rows.next() || rows.text(0).empty()) {
        if (rows.failed()) catalogue_fails();
        return;
      }
      folder = rows.text(0);
      const auto known = survey_.folders.find(folder);
      if (known != survey_.folders.end() && known->second.is_visited) continue;
      if (survey_.scope.holds(folder)) take_all_as_gone(media_class, folder);
    }
  }

  void take_all_as_gone(MediaClass media_class, const std::string& folder) {
    const std::string select =
        composed("select ROWID,Real_fname,Size,Date from %s where Real_Path=?;", table_of(media_class));
    Rows rows = session_.db.read(select.c_str(), folder);
    const auto text = [&rows](int column) { return std::string(rows.text(column)); };
    while (rows.next())
      survey_.moved.add_gone({media_class, rows.number(0), folder, {text(1), text(2), text(3)}});
    if (rows.failed()) catalogue_fails();
  }

  // Of the whole library the count of the records shows whether there are any that no song has, or whether
  // the count is wrong: all songs of folders that are not compared have one. Of a part, a song that is gone
  // leaves its record, and so does one that another file replaced.
  void look_for_stale_songs() {
    sort_out_doubles(survey_.songs);
    sort_out_doubles(songs_without_record_);
    const std::uint64_t records = session_.songs.count();
    survey_.has_stale_songs =
        task_.whole_library
            ? records != survey_.songs.size() - songs_without_record_.size()
            : records > 0 && (survey_.moved.has_gone_rows() || has_new_files_ || songs_differ_);
  }

  static void sort_out_doubles(std::vector<std::uint32_t>& ids) {
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
  }

  void match_moved_files() {
    if (!survey_.moved.has_gone_rows() || !has_new_files_) return;
    for (FolderRef* const folder : survey_.work) {
      if (listener_.wants_to_stop()) return;
      FolderCursor entries(folder->first);
      FolderComparison comparison(session_.db, folder->first, &entries);
      while (const Finding* finding = comparison.next())
        if (finding->kind == FindingKind::kNew) add_new(*folder, *finding);
    }
    survey_.moved.match();
    match_moved_folders(survey_);
  }

  void add_new(const FolderRef& folder, const Finding& finding) {
    const FolderEntry& entry = *finding.entry;
    std::optional<std::string> recorded;
    const std::string path = folder.first + std::string(entry.name);
    if (is_store_song(entry.name) && song_state(session_.songs, path, entry.status) == SongState::kMoved)
      recorded = session_.songs.stored(song_id(entry.status))->path;
    const FileFacts facts{std::string(entry.name), std::to_string(entry.status.st_size),
                          date_text(entry.status.st_mtime)};
    survey_.moved.add_new(finding.media_class, folder.first, facts, recorded);
  }

  Session& session_;
  const ReconcileTask& task_;
  const FolderDigests* left_in_line_;  // null when nothing is known to be in line
  ReconcileCounts& counts_;
  ReconcileListener& listener_;
  LibrarySurvey survey_;
  std::size_t unchanged_folders_ = 0;  // of those that were left in line
  bool all_is_taken_ = true;           // of the folder's findings
  bool has_playlists_to_read_ = false;
  std::deque<std::string> queue_;
  std::vector<std::uint32_t> songs_without_record_;  // of those that differ
  bool has_new_files_ = false;
  bool songs_differ_ = false;
  bool catalogue_failed_ = false;
};

}  // namespace

LibrarySurvey survey_library(Session& session, const ReconcileTask& task, const FolderDigests* left_in_line,
                             ReconcileCounts& counts, ReconcileListener& listener) {
  return Surveyor(session, task, left_in_line, counts, listener).run();
}

}  // namespace corvexal
