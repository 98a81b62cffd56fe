// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/update.h"

#include <sys/stat.h>

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

// The extension of a song's name, as written.
Text type_of(std::string_view name) {
  return Text(name.substr(name.rfind('.') + 1));
}

// The song of a file, under its inode number.
std::optional<SongInfo> read_song(TagDecoder& decoder, const std::string& path, const struct stat& status) {
  SongInfo song;
  song.path = path;
  song.fname = std::string(GetFileName(path));
  song.type = type_of(*song.fname);
  song.id = song_id(status);
  if (scan_song(decoder, path, song) != 0) {
    log_printf("Skipping %s - scan_gettags failed\n", song.fname->c_str());
    return std::nullopt;
  }
  make_composite_tags(song);
  song.time_added = saturated(std::min(status.st_mtime, status.st_ctime));
  song.time_modified = saturated(status.st_mtime);
  return song;
}

// Numbers of inodes are used again, on other file systems and by other names: a record whose path is that of
// such a file stands for that one.
bool stands_for_another(const SongInfo& song) {
  struct stat status {};
  return song.path && lstat(song.path->c_str(), &status) == 0 && S_ISREG(status.st_mode) &&
         song_id(status) == song.id;
}

// The song under another path; one without a title of its own is called by its file's name.
SongInfo renamed(SongInfo song, const std::string& path) {
  const Text name(GetFileName(path));
  if (song.title == song.fname) song.title = name;
  song.path = path;
  song.fname = name;
  return song;
}

}  // namespace

int update_song(SongStore& store, TagDecoder& decoder, const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    log_printf("Error statting: %s\n", std::strerror(errno));
    return -1;
  }
  if (is_music(GetFileExtension(path, ""))) store.remove_first_below(path);
  const bool is_song = (status.st_mode & S_IFDIR) == 0 && is_store_song(GetFileName(path));
  if (is_song && store.is_modified(song_id(status), path))
    if (const auto song = read_song(decoder, path, status)) store.add(*song);
  return 1;
}

std::uint32_t song_id(const struct stat& status) {
  return static_cast<std::uint32_t>(status.st_ino);
}

bool is_store_song(std::string_view name) {
  return name.size() >= kShortestName && is_music(name.substr(name.size() - kExtensionSize));
}

SongState song_state(SongStore& store, const std::string& path, const struct stat& status) {
  const auto song = store.stored(song_id(status));
  if (!song) return SongState::kOutdated;
  const bool same_content =
      song->file_size == saturated(status.st_size) && song->time_modified == saturated(status.st_mtime);
  if (song->path == path) return same_content ? SongState::kCurrent : SongState::kOutdated;
  if (stands_for_another(*song)) return SongState::kShared;
  // What is read of a file depends on its extension.
  const bool same_type = song->type == type_of(GetFileName(path));
  return same_content && same_type ? SongState::kMoved : SongState::kOutdated;
}

bool refresh_song(SongStore& store, TagDecoder& decoder, const std::string& path, const struct stat& status,
                  const std::function<bool()>& make_writable) {
  const SongState state = song_state(store, path, status);
  if (state == SongState::kCurrent || state == SongState::kShared) return false;
  const auto song = state == SongState::kMoved ? renamed(*store.stored(song_id(status)), path)
                                               : read_song(decoder, path, status);
  if (song) return make_writable() && store.add(*song);
  if (!store.contains(song_id(status)) || !make_writable()) return false;
  store.remove(song_id(status));
  return true;
}

}  // namespace corvexal
