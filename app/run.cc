#include "app/run.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <string>

#include "app/command_line.h"
#include "app/daap_server.h"
#include "app/run_lock.h"
#include "base/config.h"
#include "catalogue/add_file.h"
#include "catalogue/database.h"
#include "catalogue/object_ids.h"
#include "catalogue/playlists.h"
#include "catalogue/remove.h"
#include "catalogue/rename.h"
#include "catalogue/row_counts.h"
#include "catalogue/scan.h"
#include "catalogue/schema.h"
#include "catalogue/sort_tables.h"
#include "catalogue/sync.h"
#include "metadata/charset.h"
#include "songdb/store.h"

namespace corvexal {
namespace {

constexpr int kSuccess = 0, kFailure = -1;

int print_usage() {
  std::puts(kUsage);
  return kSuccess;
}

bool is_directory(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && (status.st_mode & 0x4000U) != 0;
}

void choose_codepage() {
  codepage = CodePageType();
  if (codepage != 0) return;
  from_codepage = "autodetect_utf8";
  codepage = 5;
}

// The song store stays open to the end of the run, so that the whole scan is one session.
void scan_into_both_stores(SongStore& songs, const std::string& folder) {
  songs.open(global_cdata.mntpath);
  ScanMediaDirectory(songs, folder, kScanBothStores);
}

// Each operation returns whether the run succeeds.

bool rename_folder(SongStore& songs, const Command& command) {
  if (command.catalogue_only) {
    Update_File_Path(command.path, command.new_path);
  } else {
    sync_mms_db();
    scan_into_both_stores(songs, command.new_path);
  }
  RebuildSortTables(kWholeCatalogue);
  return true;
}

bool rename_file(const Command& command) {
  commit_after_remove = 0;
  const int removed = RemoveMediaFile(command.path);
  const int added = MmsAddMediaFile(command.new_path);
  if (removed == -1 && added == -1) return false;  // the add has said why
  RebuildSortTables(kWholeCatalogue);
  return true;
}

bool delete_tree(const Command& command) {
  sync_mms_db();
  DeleteFolderRow(command.path, "path_objid_tbl");
  playlist_pending = 1;
  return true;
}

bool delete_file(const Command& command) {
  if (RemoveMediaFile(command.path) == -1) {
    std::fprintf(stderr, "Corvexal: cannot remove %s: no extension that removal knows\n",
                 command.path.c_str());
    return false;
  }
  RebuildSortTables(kWholeCatalogue);
  return true;
}

bool add_folder(SongStore& songs, const Command& command) {
  // With both targets a new folder is left alone: its files come one by one.
  if (!command.catalogue_only) return true;
  std::int64_t folders = 0;
  if (Total_Match_count("select COUNT(*) from path_objid_tbl;", folders) == 0)
    std::puts("No media file found");
  init_objid.media_path_objid += static_cast<std::uint64_t>(folders);
  ScanMediaDirectory(songs, command.path, kScanFolderRowsToo);
  return true;
}

bool add_file(const Command& command) {
  if (access(command.path.c_str(), F_OK) != 0) return true;
  if (MmsAddMediaFile(command.path) == -1) return false;
  RebuildSortTables(kWholeCatalogue);
  return true;
}

bool carry_out(SongStore& songs, const Command& command) {
  if (command.operation == Operation::kSync) {
    std::puts(kUsage);
    return false;
  }
  if (!command.updates_catalogue()) return true;
  switch (command.operation) {
    case Operation::kRename:
      return is_directory(command.new_path) ? rename_folder(songs, command) : rename_file(command);
    case Operation::kDeleteTree:
      return delete_tree(command);
    case Operation::kDelete:
      return delete_file(command);
    default:
      return is_directory(command.path) ? add_folder(songs, command) : add_file(command);
  }
}

// Carries the command out, links playlists where that is pending, and closes both stores.
int finish_run(const Command& command) {
  SongStore songs;
  const bool succeeded = carry_out(songs, command);
  if (command.daap_only) return succeeded ? kSuccess : kFailure;
  if (succeeded && playlist_pending == 1 && parser_playlist() == 0) std::puts("parser_playlist fail");
  g_db.close();
  songs.close();
  return succeeded && !g_db.lost_work() ? kSuccess : kFailure;
}

}  // namespace

int run(std::span<const char* const> arguments) {
  InitObjectIds();
  const std::optional<Command> command = parse_command_line(arguments);
  if (!command) return print_usage();
  choose_codepage();

  const int sem_id = GetSemaphoreID(kRunLockKey);
  if (sem_id == -1) {
    std::fprintf(stderr, "#%d %s\n", 1052, "main");
    return kFailure;
  }
  semaphore_wait(sem_id);  // whatever way the run ends without a release, the kernel gives the lock back

  if (command->updates_catalogue()) {
    readconfig(1, arguments, global_cdata);
    const std::string& mount_path = global_cdata.mntpath;
    if (mount_path.empty()) {
      std::printf("%s: SQL_open():Open DB fail %s, %s\n", "main", "", "");
      return kSuccess;
    }
    retval = g_db.open(catalogue_path(mount_path));
    if (retval != SQLITE_OK) return kFailure;
  }
  if (command->updates_daap_server()) notify_daap_server();
  const int status = finish_run(*command);
  semaphore_release(sem_id);
  return status;
}

}  // namespace corvexal
