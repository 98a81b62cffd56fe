// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/playlist_check.h"

#include <algorithm>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "catalogue/playlist_entries.h"

namespace corvexal::report {
namespace {

constexpr const char* kRows = "select No,Real_Path,Real_fname,EXT_fname,PlsFile from music_tbl";

std::size_t hash_of(std::string_view text) {
  return std::hash<std::string_view>()(text);
}

// The music rows by number and by path, as hashes.
struct MusicRows {
  std::vector<std::size_t> numbers, paths;

  explicit MusicRows(Snapshot& snapshot) {
    for (Query rows = snapshot.query(kRows); rows.next();) {
      numbers.push_back(hash_of(rows.text(0)));
      paths.push_back(hash_of(std::string(rows.text(1)).append(rows.text(2))));
    }
    std::sort(numbers.begin(), numbers.end());
    std::sort(paths.begin(), paths.end());
  }

  [[nodiscard]] bool has_number(std::string_view number) const {
    return std::binary_search(numbers.begin(), numbers.end(), hash_of(number));
  }
  [[nodiscard]] bool has_path(std::string_view path) const {
    return std::binary_search(paths.begin(), paths.end(), hash_of(path));
  }
};

struct Links {
  std::uint64_t songs = 0;  // numbers that a row has
  std::uint64_t dead = 0;   // others
};

// Numbers that are followed by "," each; a playlist that was never read has "0".
Links links_in(std::string_view list, const MusicRows& music) {
  Links links;
  for (std::size_t comma = list.find(','); comma != std::string_view::npos; comma = list.find(',')) {
    ++(music.has_number(list.substr(0, comma)) ? links.songs : links.dead);
    list.remove_prefix(comma + 1);
  }
  return links;
}

void count_entries(const std::string& folder, bool is_pls, const MusicRows& music, PlaylistFigures& figures) {
  PlaylistFile file(figures.path);
  figures.readable = static_cast<bool>(file);
  const TakeEntry take = [&](const std::string& entry, EntryForm) {
    ++figures.entries;
    if (!music.has_path(folder + entry)) ++figures.missing;
    return true;
  };
  is_pls ? file.read_pls(take) : file.read_m3u(take);
}

// A row lists no more than this.
std::uint64_t songs_to_link(const PlaylistFigures& playlist) {
  constexpr std::uint64_t kMostSongs = 256;
  return std::min(playlist.entries - playlist.missing, kMostSongs);
}

}  // namespace

void check_playlists(Snapshot& snapshot, Figures& figures, ProblemList& problems) {
  Query rows = snapshot.query(
      std::string(kRows) + " where EXT_fname == 'm3u' OR EXT_fname == 'pls' order by Real_Path,Real_fname");
  if (!rows.next()) return;
  const MusicRows music(snapshot);
  do {
    const std::string folder(rows.text(1));
    PlaylistFigures playlist;
    playlist.path = folder + std::string(rows.text(2));
    const Links links = links_in(rows.text(4), music);
    playlist.linked = links.songs;
    count_entries(folder, rows.text(3) == "pls", music, playlist);
    if (playlist.readable && (links.dead != 0 || links.songs != songs_to_link(playlist)))
      problems.add(Kind::kPlaylistLinks, folder, rows.text(2));
    figures.playlists.push_back(std::move(playlist));
  } while (rows.next());
}

}  // namespace corvexal::report
