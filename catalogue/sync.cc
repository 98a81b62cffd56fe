// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/sync.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/descriptor.h"
#include "base/file.h"
#include "base/log.h"
#include "catalogue/remove.h"

namespace corvexal {
namespace {

struct SyncedTable {
  const char* name;
  int (*delete_rows)(Database& db, const std::string& path);
  const char* unreadable_message = nullptr;
};
constexpr SyncedTable kTables[] = {
    {"photo_tbl", DelImageEntry2},
    {"music_tbl", DelAudioEntry2},
    {"video_tbl", DelVideoEntry2, "4Execute SQL query Error"},
};

bool exists(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0;
}

// Looks whether files are there. The files of one folder are looked for from the folder: its path is followed
// once.
class FileLook {
 public:
  // As stat() of the folder's and the file's name together; errno says why there is no file.
  bool finds(std::string_view folder, std::string_view name) {
    if (folder != folder_) enter(folder);
    path_.assign(folder).append(name);
    const bool is_short = path_.size() < PATH_MAX && name.find('/') == std::string_view::npos;
    if (!here_ || !is_short || name.empty()) return exists(path_);
    struct stat status {};
    return fstatat(here_.get(), path_.c_str() + folder.size(), &status, 0) == 0;
  }

  // The path that finds() was last asked for.
  [[nodiscard]] const std::string& path() const { return path_; }

 private:
  void enter(std::string_view folder) {
    folder_ = folder;
    const bool is_whole = folder.ends_with('/') && folder.find('\0') == std::string_view::npos;
    here_ = Descriptor(is_whole ? open(folder_.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC) : -1);
  }

  std::string folder_, path_;
  Descriptor here_;  // none when the folder cannot be opened
};

// The files that the disk would not tell of, and the first reason.
struct Unknown {
  std::size_t files = 0;
  int error = 0;
};

// The files of a table that are gone; absent when the table cannot be read.
std::optional<std::vector<std::string>> vanished_files(Database& db, const SyncedTable& table,
                                                       Unknown& unknown) {
  std::vector<std::string> vanished;
  FileLook look;
  Rows rows = db.select("select UTF_Path,UTF_fname from %s;", table.name);
  while (rows.next()) {
    if (look.finds(rows.text(0), rows.text(1))) continue;
    if (says_gone(errno))
      vanished.push_back(look.path());
    else if (unknown.files++ == 0)
      unknown.error = errno;
  }
  if (rows.failed()) return std::nullopt;
  return vanished;
}

int remove_rows(Database& db, const SyncedTable& table, const std::vector<std::string>& paths) {
  int removed = 0;
  for (const std::string& path : paths) {
    if (table.delete_rows(db, path) == 0) ++removed;
    db.commit_in_batches();
  }
  return removed;
}

// An unplugged disk looks like one whose files were all deleted; whoever started the run should learn of it.
void report_lost_mount_path(const std::string& mount_path, const std::string& removals) {
  if (exists(mount_path) || !says_gone(errno)) return;
  error_printf("Corvexal: the mount path %s cannot be found; rows removed from the catalogue:%s\n",
               mount_path.c_str(), removals.c_str());
}

}  // namespace

int sync_mms_db(Session& session) {
  // The disk is asked before anything is written: it may take minutes to answer.
  std::vector<std::vector<std::string>> vanished;
  Unknown unknown;
  for (const SyncedTable& table : kTables) {
    auto files = vanished_files(session.db, table, unknown);
    if (!files) {
      if (table.unreadable_message != nullptr) std::puts(table.unreadable_message);
      break;
    }
    vanished.push_back(std::move(*files));
  }
  std::string removals;
  for (std::size_t i = 0; i < vanished.size(); ++i)
    removals.append(" ")
        .append(kTables[i].name)
        .append(" ")
        .append(std::to_string(remove_rows(session.db, kTables[i], vanished[i])));
  report_lost_mount_path(session.config.mntpath, removals);
  if (unknown.files > 0) {
    session.is_incomplete = true;
    error_printf("Corvexal: the disk does not tell of %zu files, whose rows stay: %s\n", unknown.files,
                 std::strerror(unknown.error));
  }
  return vanished.size() == std::size(kTables) ? 1 : 0;
}

int DeleteFolderRow(Session& session, const std::string& path, const char* table) {
  const std::string utf8_path = session.names.to_utf8(path).text.value_or(path);
  const int code = session.db.exec("delete from %s where path == '%s';", table, utf8_path);
  std::puts(code == SQLITE_OK ? " success!" : " fail");
  return 0;
}

}  // namespace corvexal
