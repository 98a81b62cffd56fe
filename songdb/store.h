#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "metadata/song_info.h"

// The DAAP server's song store: the gdbm file ".systemfile/songs.gdb" under the configured mount path, one
// record a song (songdb/record.h), its key the song's id. Calls may come from several threads; a
// deletion by path may miss what others add or delete meanwhile. While the store is not open, look-ups find
// nothing, and adding and deleting do nothing.

namespace corvexal {

extern std::uint32_t db_song_count;  // records that db_add has stored in this process
extern std::uint32_t db_new_count;   // those among them whose id was not in the store before

// Where the store lies under a mount path.
[[nodiscard]] std::string song_store_path(const std::string& mount_path);

// Opens the store, creating it where it is missing, and says so on standard output without a line end. With
// `reload`, and when its first record is of another version, it is opened empty. A damaged store, such as a
// killed run may leave behind, is repaired and the loss named on standard error. The first argument is
// ignored. Returns 0, or -1 with the reason in the log and on standard error: there is no such folder, or
// the file is no gdbm file of this host or beyond repair (it is left as it is). Without a configured mount
// path nothing is opened and the result is 0.
int db_open(int ignored, int reload);

// Closes the store. Returns 0.
int db_close();

// Stores a song under its id, in place of an earlier record. In the stored copy a missing time_added or
// time_modified is now, time_stored is now and time_played 0. A record that gdbm refuses is named in the log,
// and counted all the same. Returns 0, or -1 with errno ENOMEM when the song cannot be packed.
int db_add(const SongInfo& song);

// The song of that id, as unpack_song gives it.
[[nodiscard]] std::optional<SongInfo> db_fetch(std::uint32_t id);

// 1 when there is a record of that id, else 0.
[[nodiscard]] int db_exists(std::uint32_t id);

// When the record of that id was stored (seconds since 1970); 0 when there is none.
[[nodiscard]] std::int32_t db_time_stored(std::uint32_t id);

// Deletes the record of that id, if there is one. Returns 0.
int db_delete(std::uint32_t id);

// 0 when there is a record of that id whose shortened path equals `path` byte for byte, else 1. A full path
// never does, so the update driver sees every file as modified: known files are always scanned anew.
[[nodiscard]] int db_path_modified(std::uint32_t id, const std::string& path);

// Deletes the first record, in gdbm's key order, whose shortened path begins with the first of the paths,
// compared without regard to case. Returns 0, also when there is none.
int db_delete_by_path_OneFile(std::span<const std::string> paths);

// Deletes the records whose shortened path begins with any of the paths, compared without regard to case;
// with `keep`, those that begin with none of them. Returns 0.
int db_delete_by_path(std::span<const std::string> paths, bool keep);

}  // namespace corvexal
