#include "songdb/update.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "base/log.h"
#include "base/paths.h"
#include "base/saturate.h"
#include "base/text.h"
#include "metadata/composite_tags.h"
#include "metadata/song_scanners.h"

namespace corvexal {
namespace {

constexpr std::size_t kExtensionSize = 4;

// With the dot, a name that is nothing but an extension has four characters: it is no song.
constexpr std::size_t kShortestName = kExtensionSize + 1;

bool is_music(std::string_view extension) {
  static constexpr std::string_view kMusic[] = {".mp3", ".m4a", ".m4p", ".wav"};
  return std::any_of(std::begin(kMusic), std::end(kMusic),
                     [extension](std::string_view music) { return equal_ignoring_case(music, extension); });
}

// The extension as written, whether we know it or not.
Text type_of(std::string_view name) {
  const std::size_t dot = name.rfind('.');
  if (name.size() < kShortestName || dot == std::string_view::npos) return std::nullopt;
  return Text(name.substr(dot + 1));
}

// Adds the song to the store under its inode number.
void scan_music_file(SongStore& store, TagDecoder& decoder, const std::string& path,
                     const struct stat& status) {
  SongInfo song;
  song.path = path;
  song.fname = std::string(GetFileName(path));
  song.type = type_of(*song.fname);
  song.id = static_cast<std::uint32_t>(status.st_ino);
  if (scan_song(decoder, path, song) != 0) {
    log_printf("Skipping %s - scan_gettags failed\n", song.fname->c_str());
    return;
  }
  make_composite_tags(song);
  song.time_added = saturated(std::min(status.st_mtime, status.st_ctime));
  song.time_modified = saturated(status.st_mtime);
  store.add(song);
}

}  // namespace

bool is_store_song(std::string_view name) {
  return name.size() >= kShortestName && is_music(name.substr(name.size() - kExtensionSize));
}

int update_song(SongStore& store, TagDecoder& decoder, const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    log_printf("Error statting: %s\n", std::strerror(errno));
    return -1;
  }
  if (is_music(GetFileExtension(path, ""))) store.remove_first_below(path);
  if ((status.st_mode & S_IFDIR) != 0 || !is_store_song(GetFileName(path))) return 1;
  if (store.is_modified(static_cast<std::uint32_t>(status.st_ino), path))
    scan_music_file(store, decoder, path, status);
  return 1;
}

}  // namespace corvexal
