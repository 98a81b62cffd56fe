// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvexal::report {

struct Amount {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;  // at most the largest number

  void add(std::uint64_t size) {
    ++files;
    bytes = size > std::numeric_limits<std::uint64_t>::max() - bytes
                ? std::numeric_limits<std::uint64_t>::max()
                : bytes + size;
  }
};

// The size that a row's text gives; 0 for what is no number.
[[nodiscard]] std::uint64_t size_in(std::string_view text);

struct NamedAmount {
  std::string name;
  Amount amount;
};

// Amounts by name.
class Tally {
 public:
  void add(std::string_view name, std::uint64_t size) { amounts_[std::string(name)].add(size); }

  // The most files first; of equals the first by name. Empties the tally.
  [[nodiscard]] std::vector<NamedAmount> ranked();

 private:
  std::unordered_map<std::string, Amount> amounts_;
};

struct PlaylistFigures {
  std::string path;
  std::uint64_t entries = 0;  // that the file names
  std::uint64_t linked = 0;   // songs that the catalogue lists for it
  std::uint64_t missing = 0;  // entries that name no song of the playlist's folder
  bool readable = true;       // false: entries and missing are not known
};

enum class StoreState { kMissing, kRead, kBeingWritten, kUnreadable };

// What a library holds, by the rows of its catalogue. Texts are as stored, so in any encoding.
struct Figures {
  std::string share;  // with its trailing "/"
  Amount total;
  std::string first_change, last_change;  // "2020-01-01T12:00:00", local time; empty for an empty library
  std::vector<NamedAmount> classes, extensions, genres, artists, tongues;  // ranked
  std::vector<NamedAmount> folders;                                        // in the order of their paths
  std::vector<PlaylistFigures> playlists;
  StoreState store = StoreState::kMissing;
  std::uint64_t song_records = 0;
};

}  // namespace corvexal::report
