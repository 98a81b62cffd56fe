// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/folder_comparison.h"
#include "catalogue/folder_digests.h"
#include "catalogue/folder_rows.h"
#include "catalogue/identifiers.h"
#include "catalogue/moved_files.h"
#include "catalogue/reconcile.h"

namespace corvexal {

// The part of the disk that a task speaks of, less what must be left as it is.
class SurveyScope {
 public:
  explicit SurveyScope(std::vector<std::string> folders) : folders_(std::move(folders)) {}

  [[nodiscard]] const std::vector<std::string>& folders() const { return folders_; }

  // Leaves what stands at or below a path, given with a trailing "/", as it is, but for the task's folders in
  // it.
  void keep(std::string path) { kept_.insert(std::move(path)); }

  // Whether a path of a file or, with its trailing "/", of a folder is in the scope.
  [[nodiscard]] bool holds(std::string_view path) const;

  // Whether a path must be left as it is.
  [[nodiscard]] bool leaves(std::string_view path) const { return !kept_.empty() && is_kept(path); }

 private:
  [[nodiscard]] bool is_kept(std::string_view path) const;
  [[nodiscard]] bool is_given(std::string_view path) const {
    return std::find(folders_.begin(), folders_.end(), path) != folders_.end();
  }

  std::vector<std::string> folders_;
  std::set<std::string, std::less<>> kept_;
};

// What a walk over disk and catalogue, which writes nothing, found to differ.
struct LibrarySurvey {
  LibrarySurvey(Database& db, std::vector<std::string> tops) : scope(std::move(tops)), moved(db) {}

  SurveyScope scope;
  Folders folders;
  std::vector<FolderRef*> work;                  // folders where something differs, outer ones first
  std::vector<FolderRef*> gone_folders;          // rows of folders that are gone or empty no more
  std::vector<std::int64_t> double_folder_rows;  // ROWIDs
  MovedFiles moved;
  std::array<std::map<std::int64_t, WrongIdentifiers>, 3> wrong;  // by media class
  std::vector<std::uint32_t> songs;                               // ids of the songs on the disk, sorted
  bool has_stale_songs = false;  // records in the store may stand for no song on the disk
  std::uint64_t files_to_handle = 0;
  FolderDigests digests;  // of the folders as they were walked, in line then or after the work
  // The folders are those of the last sync, and unchanged but for those that are compared each time; no
  // playlist has to be read again.
  bool is_as_left = false;
  bool is_whole = false;  // false when the catalogue could not be read or the walk was stopped
};

// How a row differs from its file.
struct Difference {
  bool content = false;  // size or date
  bool place = false;    // parent or depth
  WrongIdentifiers identifiers;
  bool song = false;           // the song store's record
  bool shares_record = false;  // of another file: no difference

  [[nodiscard]] bool any() const { return content || is_mendable(); }
  [[nodiscard]] bool is_mendable() const { return place || identifiers.objid || identifiers.number || song; }
};
[[nodiscard]] Difference difference(Session& session, const LibrarySurvey& survey, const FolderRef& folder,
                                    const Finding& finding);

// The identifier that the rows of sub-folders name as their parent: 0 above the task's outermost folder that
// has a row.
[[nodiscard]] std::uint64_t parent_of(const Folders& folders, std::string_view folder);

// Compares disk and catalogue, but for the folders that are as the last sync has left them, where its digests
// are given (null otherwise). What cannot be read is said on standard error, counted and kept.
LibrarySurvey survey_library(Session& session, const ReconcileTask& task, const FolderDigests* left_in_line,
                             ReconcileCounts& counts, ReconcileListener& listener);

}  // namespace corvexal
