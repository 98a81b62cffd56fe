// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/playlists.h"

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/file.h"
#include "base/log.h"
#include "base/text.h"
#include "catalogue/playlist_entries.h"

namespace corvexal {
namespace {

struct Playlist {
  int number;
  std::string folder, name, songs;

  [[nodiscard]] std::string path() const { return folder + name; }
};

// The digits that tell the messages of an entry apart.
struct EntryKind {
  int missing, too_many, failed;
  bool shows_query;
};

constexpr EntryKind kind_of(EntryForm form) {
  switch (form) {
    case EntryForm::kExtendedM3u:
      return {.missing = 1, .too_many = 1, .failed = 2, .shows_query = true};
    case EntryForm::kPlainM3u:
      return {.missing = 2, .too_many = 2, .failed = 3, .shows_query = false};
    case EntryForm::kPls:
      break;
  }
  return {.missing = 3, .too_many = 1, .failed = 5, .shows_query = true};
}

// The numbers of a playlist's songs, each followed by ",".
class SongList {
 public:
  SongList(Database& db, const Playlist& playlist, const ForeseenRows* foreseen)
      : db_(db), playlist_(playlist), foreseen_(foreseen) {}

  // Looks the entry up in the playlist's folder; false when the list is full and reading must end.
  bool add(const std::string& entry, EntryForm form) {
    const EntryKind kind = kind_of(form);
    if (foreseen_ != nullptr) will_change_ |= foreseen_->has_other_number(playlist_.folder + entry);
    Rows songs = db_.select(kQuery, playlist_.folder, entry);
    if (!songs.next()) {
      songs.failed() ? report_failure(entry, kind) : report_missing(entry, kind);
      return true;
    }
    if (count_ == kMostSongs) {
      std::printf("%d:MP3 songs amount in playlist exceed %d\n", kind.too_many, kMostSongs);
      return false;
    }
    ++count_;
    numbers_.append(songs.text(0)) += ',';
    return true;
  }

  [[nodiscard]] const std::string& numbers() const { return numbers_; }
  [[nodiscard]] bool is_to_be_stored() const { return will_change_ || numbers_ != playlist_.songs; }

 private:
  static constexpr int kMostSongs = 256;
  static constexpr const char* kQuery =
      R"(select No from music_tbl where Real_Path="%s" AND Real_fname="%s";)";

  void report_missing(const std::string& entry, const EntryKind& kind) const {
    std::printf("%dCan't find [%s] in m3u[%s]\n", kind.missing, entry.c_str(), playlist_.path().c_str());
  }
  void report_failure(const std::string& entry, const EntryKind& kind) const {
    std::printf("parser_playlist():%dExecute SQL query Error\n", kind.failed);
    if (kind.shows_query) std::printf("sqlquery[%s]\n", composed(kQuery, playlist_.folder, entry).c_str());
  }

  Database& db_;
  const Playlist& playlist_;
  const ForeseenRows* foreseen_;
  bool will_change_ = false;
  std::string numbers_;
  int count_ = 0;
};

struct PlaylistFormat {
  const char* select;  // a walk through the whole table, once a run
  const char* update;
  void (PlaylistFile::*read)(const TakeEntry&);
  int unreadable, not_stored;  // digits of messages
};

constexpr PlaylistFormat kFormats[] = {
    {.select = "select No,Real_Path,Real_fname,PlsFile from music_tbl where EXT_fname =='m3u';",
     .update = R"(update music_tbl set PlsFile = "%s" where No =='%d';)",
     .read = &PlaylistFile::read_m3u,
     .unreadable = 1,
     .not_stored = 1},
    {.select = "select No,Real_Path,Real_fname,PlsFile from music_tbl where EXT_fname =='pls';",
     .update = "update music_tbl set PlsFile = '%s' where No =='%d';",
     .read = &PlaylistFile::read_pls,
     .unreadable = 4,
     .not_stored = 2},
};

std::optional<std::vector<Playlist>> playlists_of(Database& db, const PlaylistFormat& format) {
  std::vector<Playlist> playlists;
  Rows rows = db.select(format.select);
  while (rows.next())
    playlists.push_back({decimal_value(rows.text(0)), std::string(rows.text(1)), std::string(rows.text(2)),
                         std::string(rows.text(3))});
  if (!rows.failed()) return playlists;
  std::printf("parser_playlist():%dExecute SQL query Error\n", format.unreadable);
  return std::nullopt;
}

// A folder where a row points counts as an empty playlist.
bool is_readable_folder(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored) && access(path.c_str(), R_OK) == 0;
}

// The songs that the playlist's file names; absent when it cannot be read.
std::optional<SongList> songs_of(Database& db, const PlaylistFormat& format, const Playlist& playlist,
                                 const std::string& mount_path, const ForeseenRows* foreseen = nullptr) {
  PlaylistFile file(playlist.path());
  const bool is_trusted = leads_where_it_may(playlist.path(), mount_path);
  if (!is_trusted)
    error_printf("Corvexal: %s is not read: a symbolic link that is not root's leads to it\n",
                 playlist.path().c_str());
  if (!is_trusted || (!file && !is_readable_folder(playlist.path()))) {
    std::printf("parser_playlist():Open [%s] fail\n", playlist.path().c_str());
    return std::nullopt;
  }
  SongList songs(db, playlist, foreseen);
  (file.*format.read)([&songs](const std::string& entry, EntryForm form) { return songs.add(entry, form); });
  return songs;
}

bool store(Database& db, const PlaylistFormat& format, const Playlist& playlist, const std::string& songs) {
  if (db.exec(format.update, songs, playlist.number) == SQLITE_OK) return true;
  std::printf("%dparser playlist():execute sql query error[%s]\n", format.not_stored, db.error_text());
  return false;
}

bool parse(Database& db, const PlaylistFormat& format, const Playlist& playlist,
           const std::string& mount_path) {
  const auto songs = songs_of(db, format, playlist, mount_path);
  return songs && store(db, format, playlist, songs->numbers());
}

}  // namespace

int parser_playlist(Database& db, const std::string& mount_path) {
  for (const PlaylistFormat& format : kFormats) {
    const auto playlists = playlists_of(db, format);
    if (!playlists) return 0;
    for (const Playlist& playlist : *playlists)
      if (!parse(db, format, playlist, mount_path)) return 0;
  }
  return 1;
}

std::optional<PlaylistLinks> relink_playlists(Database& db, const std::string& mount_path,
                                              const ForeseenRows* foreseen) {
  PlaylistLinks links;
  for (const PlaylistFormat& format : kFormats) {
    const auto playlists = playlists_of(db, format);
    if (!playlists) return std::nullopt;
    for (const Playlist& playlist : *playlists) {
      if (foreseen != nullptr && foreseen->is_spoken_of(playlist.path())) continue;
      const auto songs = songs_of(db, format, playlist, mount_path, foreseen);
      if (!songs) links.unreadable.push_back(playlist.path());
      if (!songs || !songs->is_to_be_stored()) continue;
      if (foreseen == nullptr && !store(db, format, playlist, songs->numbers())) return std::nullopt;
      links.relinked.push_back(playlist.path());
    }
  }
  return links;
}

}  // namespace corvexal
