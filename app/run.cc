// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/run.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <utility>

#include "app/command_line.h"
#include "app/daap_server.h"
#include "app/run_lock.h"
#include "base/file.h"
#include "base/locations.h"
#include "base/log.h"
#include "catalogue/add_file.h"
#include "catalogue/playlists.h"
#include "catalogue/remove.h"
#include "catalogue/rename.h"
#include "catalogue/row_counts.h"
#include "catalogue/scan.h"
#include "catalogue/schema.h"
#include "catalogue/session.h"
#include "catalogue/sort_tables.h"
#include "catalogue/sync.h"

namespace corvexal {
namespace {

constexpr int kSuccess = 0, kFailure = -1;

// The S_IFMT bits of what stands at a path, 0 for nothing; absent, with a line on standard error, when the
// disk does not tell.
std::optional<mode_t> file_type(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) return status.st_mode & S_IFMT;
  if (says_gone(errno)) return 0;
  error_printf("Corvexal: cannot look at %s: %s\n", path.c_str(), std::strerror(errno));
  return std::nullopt;
}

// A file outside the device's media that only an untrusted link leads to counts as missing, and so does what
// is neither file nor folder.
bool may_be_read(const Session& session, const std::string& path, mode_t type) {
  const bool is_trusted = leads_where_it_may(path, session.config.mntpath);
  if (is_trusted && (type == S_IFREG || type == 0)) return true;
  error_printf("Corvexal: %s is not read: %s\n", path.c_str(),
               is_trusted ? "it is no regular file" : "a symbolic link that is not root's leads to it");
  return false;
}

// The song store stays open to the end of the run, so that the whole scan is one session.
void scan_into_both_stores(Session& session, const std::string& folder) {
  session.songs.open(session.config.mntpath);
  ScanMediaDirectory(session, folder, ScanMode::kBothStores);
}

// Each operation returns whether the run succeeds.

bool rename_folder(Session& session, const Command& command) {
  if (command.updates_daap_server()) {
    sync_mms_db(session);
    scan_into_both_stores(session, command.new_path);
  } else {
    Update_File_Path(session.db, command.path, command.new_path);
  }
  rebuild_for_whole_catalogue(session);
  return true;
}

bool rename_file(Session& session, const Command& command, mode_t type) {
  const int removed = RemoveMediaFile(session, command.path, Rebuild::kByCaller);
  const int added =
      may_be_read(session, command.new_path, type) ? MmsAddMediaFile(session, command.new_path) : -1;
  if (removed == -1 && added == -1) return false;  // the add has said why
  rebuild_for_whole_catalogue(session);
  return true;
}

bool rename(Session& session, const Command& command) {
  const auto type = file_type(command.new_path);
  if (!type) return false;
  return *type == S_IFDIR ? rename_folder(session, command) : rename_file(session, command, *type);
}

bool delete_tree(Session& session, const Command& command) {
  sync_mms_db(session);
  DeleteFolderRow(session, command.path, "path_objid_tbl");
  session.playlist_pending = true;
  return true;
}

bool delete_file(Session& session, const Command& command) {
  if (RemoveMediaFile(session, command.path) == -1) {
    error_printf("Corvexal: cannot remove %s: no extension that removal knows\n", command.path.c_str());
    return false;
  }
  rebuild_for_whole_catalogue(session);
  return true;
}

bool add_folder(Session& session, const Command& command) {
  // With both targets a new folder is left alone: its files come one by one.
  if (command.updates_daap_server()) return true;
  std::int64_t folders = 0;
  if (Total_Match_count(session.db, "select COUNT(*) from path_objid_tbl;", folders) == 0)
    std::puts("No media file found");
  session.ids.media_path_objid += static_cast<std::uint64_t>(folders);
  ScanMediaDirectory(session, command.path, ScanMode::kFolderRows);
  return true;
}

bool add_file(Session& session, const Command& command, mode_t type) {
  if (type == 0 || !may_be_read(session, command.path, type)) return true;
  if (MmsAddMediaFile(session, command.path) == -1) return false;
  rebuild_for_whole_catalogue(session);
  return true;
}

bool add(Session& session, const Command& command) {
  const auto type = file_type(command.path);
  if (!type) return false;
  return *type == S_IFDIR ? add_folder(session, command) : add_file(session, command, *type);
}

bool carry_out(Session& session, const Command& command) {
  if (!command.updates_catalogue() && command.operation != Operation::kSync) return true;
  switch (command.operation) {
    case Operation::kRename:
      return rename(session, command);
    case Operation::kDeleteTree:
      return delete_tree(session, command);
    case Operation::kDelete:
      return delete_file(session, command);
    case Operation::kCreate:
      return add(session, command);
    case Operation::kSync:
      std::puts(kUsage);
  }
  return false;
}

// The run once the lock is held: opens the catalogue, tells the DAAP server, carries the command out, links
// playlists where that is pending, and closes both stores.
int run_locked(const Command& command, std::span<const char* const> arguments, Session& session) {
  if (command.updates_catalogue()) {
    if (readconfig(1, arguments, session.config) == -1 && errno != 0 && !says_gone(errno)) {
      error_printf("Corvexal: cannot read the configuration %s: %s\n", kConfigFile, std::strerror(errno));
      return kFailure;
    }
    const std::string& mount_path = session.config.mntpath;
    if (mount_path.empty()) {
      std::printf("%s: SQL_open():Open DB fail %s, %s\n", "main", "", "");
      return kSuccess;
    }
    if (!choose_tags(session.tags, session.config, session.names)) {
      error_printf("Corvexal: %s\n", kNoStandardTags);
      return kFailure;
    }
    if (session.db.open(catalogue_path(mount_path)) != SQLITE_OK) return kFailure;
  }
  if (command.updates_daap_server()) notify_daap_server();
  const bool succeeded = carry_out(session, command);
  if (succeeded && session.playlist_pending && parser_playlist(session.db, session.config.mntpath) == 0)
    std::puts("parser_playlist fail");
  session.db.close();
  const bool songs_kept = session.songs.close();
  const bool is_whole = songs_kept && !session.is_incomplete && !session.db.lost_work();
  return succeeded && is_whole ? kSuccess : kFailure;
}

}  // namespace

int run(std::span<const char* const> arguments) {
  const std::optional<Command> command = parse_command_line(arguments);
  if (!command) {
    std::puts(kUsage);
    if (arguments.size() > 1) std::fputs(text_after_usage(arguments[1]), stdout);
    return kSuccess;
  }
  NameCharset names;
  names.CodePageType();

  const RunLock lock;
  if (!lock) {
    error_printf("#%d %s\n", 1052, "main");
    return kFailure;
  }
  Session session;  // made after the lock, so that what it holds open is closed before the lock is given back
  session.names = std::move(names);
  return run_locked(*command, arguments, session);
}

}  // namespace corvexal
