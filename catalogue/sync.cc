#include "catalogue/sync.h"

#include <sys/stat.h>

#include <cstdio>
#include <optional>
#include <utility>
#include <vector>

#include "base/config.h"
#include "catalogue/database.h"
#include "catalogue/remove.h"
#include "metadata/charset.h"

namespace corvexal {
namespace {

struct SyncedTable {
  const char* name;
  int (*delete_rows)(Database& database, const std::string& path);
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

// Removes the rows of a table's vanished files and counts them; absent when the table cannot be read, which
// is known before any row is removed.
std::optional<int> remove_vanished(const SyncedTable& table) {
  std::vector<std::string> vanished;
  Rows rows = g_db.select("select UTF_Path,UTF_fname from %s;", table.name);
  while (rows.next())
    if (std::string path = std::string(rows.text(0)).append(rows.text(1)); !exists(path))
      vanished.push_back(std::move(path));
  if (rows.failed()) return std::nullopt;
  int removed = 0;
  for (const std::string& path : vanished)
    if (table.delete_rows(g_db, path) == 0) ++removed;
  return removed;
}

}  // namespace

int sync_mms_db() {
  bool all_read = true;
  std::string removals;
  for (const SyncedTable& table : kTables) {
    const std::optional<int> removed = remove_vanished(table);
    if (!removed) {
      if (table.unreadable_message != nullptr) std::puts(table.unreadable_message);
      all_read = false;
      break;
    }
    removals.append(" ").append(table.name).append(" ").append(std::to_string(*removed));
  }
  // An unplugged disk looks like one whose files were all deleted; whoever started the run should learn of
  // it.
  if (const std::string& mount_path = global_cdata.mntpath; !exists(mount_path))
    std::fprintf(stderr, "Corvexal: the mount path %s cannot be found; rows removed from the catalogue:%s\n",
                 mount_path.c_str(), removals.c_str());
  return all_read ? 1 : 0;
}

int DeleteFolderRow(const std::string& path, const char* table) {
  const std::string utf8_path = convert_to_utf8(path, from_codepage.c_str()).text.value_or(path);
  g_db.exec("delete from %s where path == '%s';", table, utf8_path);
  std::puts(zErrMsg ? " fail" : " success!");
  return 0;
}

}  // namespace corvexal
