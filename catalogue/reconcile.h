// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "catalogue/session.h"

namespace corvexal {

// What is done to a file, as a preview and a talkative run show it.
enum class Change : char { kNew = '+', kRemoved = '-', kRefreshed = '~', kMoved = '>' };

struct ReconcileCounts {
  std::uint64_t folders = 0, files = 0;  // looked at
  std::uint64_t added = 0, removed = 0, refreshed = 0, moved = 0;
  std::uint64_t mended = 0;   // rows, records and tables that did not fit unchanged files
  std::uint64_t refused = 0;  // files and folders that the catalogue cannot hold: `"` in a name or tag
  std::uint64_t failed = 0;   // what else could not be read or written; each is said on standard error

  [[nodiscard]] bool any_change() const { return added + removed + refreshed + moved + mended > 0; }
};

// Who wants to know how it goes on; every function may be left as it is.
class ReconcileListener {
 public:
  ReconcileListener() = default;
  virtual ~ReconcileListener() = default;
  ReconcileListener(const ReconcileListener&) = delete;
  ReconcileListener& operator=(const ReconcileListener&) = delete;

  virtual void changed(Change /*change*/, std::string_view /*path*/) {}

  // After each file: how many of `expected` (0 while that is not known) were looked at.
  virtual void progressed(const ReconcileCounts& /*counts*/, std::uint64_t /*done*/,
                          std::uint64_t /*expected*/) {}

  // True when the work must end soon: what is done by then is kept.
  virtual bool wants_to_stop() { return false; }
};

struct FolderRename {
  std::string from, to;  // each with its trailing "/"
};

struct ReconcileTask {
  std::string share;                      // the outermost folder of the library, with its trailing "/"
  std::vector<std::string> folders;       // to be brought in line, with their trailing "/"
  std::vector<std::string> entries_only;  // those of the folders whose known sub-folders are left alone
  std::vector<std::string> left_files;    // files to be left as they are: somebody is still writing them
  std::vector<FolderRename> renames;      // that are known to have happened
  bool whole_library = true;              // the folders hold all that the stores know of
  bool known_folders_too = true;          // without, sub-folders that have a row are left alone
  bool trusts_last_sync = true;           // what it left in line is not compared again
  bool preview = false;                   // nothing is written; the listener is told what would be done
};

// Brings both stores in line with the disk below the task's folders, under the scan's rules: rows for new
// files, none for files that are gone, those of changed files read again in place; one row for each folder
// that holds entries; identifiers that are unique and parents that are right; song records, sort tables,
// folder flags and playlists to match. What is right is not written, and where all is right nothing is.
// Files and folders that were moved keep their identifiers where the match is certain. Of the whole library
// only folders that may have changed since the last such run are compared, as long as nobody else wrote to
// the stores.
//
// The catalogue is open and has its tables; it is committed in batches and stays open. What cannot be looked
// at keeps its rows and records. `session.songs` must be closed, and is again.
ReconcileCounts reconcile(Session& session, const ReconcileTask& task, ReconcileListener& listener);

// True when the catalogue holds a file below the folder (with its trailing "/").
[[nodiscard]] bool holds_files_below(Database& db, std::string_view folder);

}  // namespace corvexal
