#include "songdb/update.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <optional>
#include <string_view>

#include "base/log.h"
#include "base/paths.h"
#include "base/saturate.h"
#include "base/text.h"
#include "metadata/composite_tags.h"
#include "metadata/song_scanners.h"
#include "songdb/store.h"

namespace corvexal {
namespace {

// With the dot, a name that is nothing but an extension has four characters: it is no song.
constexpr std::size_t kExtensionSize = 4;
constexpr std::size_t kShortestName = kExtensionSize + 1;

bool is_music(std::string_view extension) {
  static constexpr std::string_view kMusic[] = {".mp3", ".m4a", ".m4p", ".wav"};
  return std::any_of(std::begin(kMusic), std::end(kMusic),
                     [extension](std::string_view music) { return equal_ignoring_case(music, extension); });
}

std::optional<struct stat> status_of(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) == 0) return status;
  log_printf("Error statting: %s\n", std::strerror(errno));
  return std::nullopt;
}

void drop_old_record(const std::string& path) {
  if (is_music(GetFileExtension(path, ""))) db_delete_by_path_OneFile({&path, 1});
}

// The path's last component; slashes at its end do not count.
std::string last_component(std::string_view path) {
  while (path.size() > 1 && path.ends_with('/')) path.remove_suffix(1);
  return path.size() == 1 ? "/" : std::string(GetFileName(path));
}

int rescan_if_needed(const std::string& path) {
  std::string folder;
  GetParentDirectoryFullPath(path, folder);
  const std::string name = last_component(path);
  const auto status = status_of(path);
  if (!status) return -1;
  if ((status->st_mode & S_IFDIR) != 0 || name.size() < kShortestName) return 1;
  if (!is_music(std::string_view(name).substr(name.size() - kExtensionSize))) return 1;
  if (db_path_modified(static_cast<std::uint32_t>(status->st_ino), path) == 1)
    scan_music_file(folder, name, *status);
  return 1;
}

// The extension as written, whether we know it or not.
Text type_of(const std::string& fname) {
  const std::size_t dot = fname.rfind('.');
  if (fname.size() < kShortestName || dot == std::string::npos) return std::nullopt;
  return fname.substr(dot + 1);
}

}  // namespace

int update_song(const std::string& path) {
  if (!status_of(path)) return -1;
  drop_old_record(path);
  return rescan_if_needed(path);
}

int scan_music_file(const std::string& dir, const std::string& fname, const struct stat& status) {
  SongInfo song;
  song.path = dir + "/" + fname;
  song.fname = fname;
  song.type = type_of(fname);
  song.id = static_cast<std::uint32_t>(status.st_ino);
  if (scan_tags_by_type(*song.path, song) != 0 || scan_info_by_type(*song.path, song) != 0) {
    log_printf("Skipping %s - scan_gettags failed\n", fname.c_str());
    return 0;
  }
  make_composite_tags(song);
  song.time_added = saturated(std::min(status.st_mtime, status.st_ctime));
  song.time_modified = saturated(status.st_mtime);
  db_add(song);
  return 0;
}

}  // namespace corvexal
