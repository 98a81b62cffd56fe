// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/stat.h>

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

#include "metadata/tag_decoder.h"
#include "songdb/store.h"

namespace corvexal {

// True for the name of a file that the store keeps songs of: .mp3, .m4a, .m4p and .wav, without regard to
// case.
[[nodiscard]] bool is_store_song(std::string_view name);

// Brings the song store up to date for one music file of a directory scan: deletes the first record whose
// path begins with the file's, then scans the file anew and stores it. Returns 1, also for a folder or a file
// of another kind, which are left alone, or -1 with a line in the log when there is no such file. A file
// whose tags or stream cannot be read is skipped with a line in the log.
int update_song(SongStore& store, TagDecoder& decoder, const std::string& path);

// The id of a file's record: the low 32 bits of its inode number.
[[nodiscard]] std::uint32_t song_id(const struct stat& status);

// What a song store holds of a file.
enum class SongState {
  kCurrent,  // a record of its path, size and date
  kShared,   // the record of another file of the same id: mostly another name of the same one
  kMoved,    // a record of its size and date under a path where nothing of the kind is left
  kOutdated  // anything else
};
[[nodiscard]] SongState song_state(SongStore& store, const std::string& path, const struct stat& status);

// Brings the record of a file in line with its state: a moved one gets its new path, an outdated one is read
// anew; a file whose reader fails has none, with a line in the log. Before the first write `make_writable` is
// called, which may open the store anew; nothing is written when it answers false. True when a record was
// written or removed.
bool refresh_song(SongStore& store, TagDecoder& decoder, const std::string& path, const struct stat& status,
                  const std::function<bool()>& make_writable);

}  // namespace corvexal
