// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "catalogue/database.h"

namespace corvexal {

// Reads every M3U and PLS file that the catalogue knows and stores in its row's PlsFile the `No` of each song
// that it names, each followed by ",", in the order of the entries. An entry is a file name in the playlist's
// own folder; one that names another folder is not found. At most 256 songs a playlist are kept. A file is
// read in pieces of 511 characters, a longer line counting as several; memory does not grow with it.
//
// What is found missing is printed. A playlist to which an untrusted link leads out of the mount path
// (base/file.h) cannot be opened. A folder where a row points counts as an empty playlist. Returns 1, or 0 at
// the first playlist that cannot be opened (regular files only) or stored, or when the playlists cannot be
// read from the catalogue.
int parser_playlist(Database& db, const std::string& mount_path);

// What became of the playlists.
struct PlaylistLinks {
  std::vector<std::string> relinked;    // paths of those whose songs were stored anew
  std::vector<std::string> unreadable;  // of those that could not be read, which keep theirs
};

// What a preview knows of rows that are not written yet, by their paths.
struct ForeseenRows {
  std::function<bool(const std::string& playlist)> is_spoken_of;  // it comes, goes or changes itself
  std::function<bool(const std::string& song)> has_other_number;  // it comes, goes or is numbered anew
};

// Compares each playlist's stored songs with what its file names now, and stores what differs; with
// `foreseen` nothing is stored, and the playlists that would be are told. Absent when the playlists cannot be
// read from the catalogue or not be stored.
[[nodiscard]] std::optional<PlaylistLinks> relink_playlists(Database& db, const std::string& mount_path,
                                                            const ForeseenRows* foreseen);

}  // namespace corvexal
