// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "metadata/song_info.h"
#include "songdb/gdbm_file.h"
#include "songdb/path_index.h"
#include "songdb/record.h"
#include "songdb/store_file.h"

namespace corvexal {

// Where the store lies under a mount path.
[[nodiscard]] std::string song_store_path(const std::string& mount_path);

// The DAAP server's song store: the gdbm file ".systemfile/songs.gdb" under the configured mount path, one
// record a song (songdb/record.h), its key the song's id. Calls may come from several threads; a deletion by
// path may miss what others add or delete meanwhile. While the store is not open, look-ups find nothing, and
// adding and deleting do nothing.
class SongStore {
 public:
  // Opens the store, creating it where it is missing, and says so on standard output without a line end. With
  // `reload`, and when its first record is of another version, it is opened empty. A damaged store, such as a
  // killed run may leave behind, is repaired and the loss named on standard error. False, with the reason in
  // the log and on standard error, when there is no such folder, or the file is refused (base/place.h), no
  // gdbm file of this host or beyond repair (it is left as it is). Without a mount path nothing is opened and
  // the result is true. All changes are made in a copy; where there is no room for one, none are taken.
  bool open(const std::string& mount_path, bool reload = false);

  // Opens an existing store, and changes nothing in it. False, in silence, when there is none that can be
  // read.
  bool open_to_read(const std::string& mount_path);

  // Puts the changes in the store's place, all at once, and closes it; harmless on a closed one. False, after
  // a line on standard error, when changes that were taken are lost and the store is as it was. Without
  // close() they are dropped.
  bool close();

  // Stores a song under its id, in place of an earlier record. In the stored copy a missing time_added or
  // time_modified is now, time_stored is now and time_played 0. A record that is not taken, as on a full
  // disk, is named in the log, and counted all the same. False when the song cannot be packed.
  bool add(const SongInfo& song);

  // The song of that id, as unpack_song gives it.
  [[nodiscard]] std::optional<SongInfo> fetch(std::uint32_t id);

  // The song of that id as the record holds it, whole path and all; absent without a whole record of our
  // version.
  [[nodiscard]] std::optional<SongInfo> stored(std::uint32_t id);

  // True for an open store that something left unsound: opening it for writing repairs it. The first looks at
  // every record, the second at none.
  [[nodiscard]] bool is_damaged();
  [[nodiscard]] bool looks_damaged();

  // How many records there are.
  [[nodiscard]] std::uint64_t count();

  // The keys of the records for which wanted(song) is true, songs as stored() gives them: null for a damaged
  // record, whose key may be any bytes.
  using Key = std::vector<std::uint8_t>;
  [[nodiscard]] std::vector<Key> keys_of(const std::function<bool(const SongInfo* song)>& wanted);

  [[nodiscard]] bool contains(std::uint32_t id);

  // When the record of that id was stored (seconds since 1970); 0 when there is none.
  [[nodiscard]] std::int32_t time_stored(std::uint32_t id);

  // False when there is a record of that id whose shortened path equals `path` byte for byte. A full path
  // never does, so the update driver sees every file as modified: known files are always scanned anew.
  [[nodiscard]] bool is_modified(std::uint32_t id, const std::string& path);

  // Deletes the record of that id or key, if there is one.
  void remove(std::uint32_t id);
  void remove(const Key& key);

  // Deletes the first record, in gdbm's key order, whose shortened path begins with `path`, compared without
  // regard to case, if there is one.
  void remove_first_below(std::string_view path);

  // Deletes the records whose shortened path begins with any of the paths, compared without regard to case;
  // with `keep`, those that begin with none of them.
  void remove_below(std::span<const std::string> paths, bool keep);

  // How many songs add() has taken, and how many of them had an id that was not in the store before.
  [[nodiscard]] std::uint32_t songs_added() const { return songs_added_; }
  [[nodiscard]] std::uint32_t new_songs() const { return new_songs_; }

  // How many of those were not taken after all.
  [[nodiscard]] std::uint32_t songs_refused() const { return songs_refused_; }

 private:
  using ReadLock = std::shared_lock<std::shared_mutex>;
  using WriteLock = std::unique_lock<std::shared_mutex>;
  using GdbmLock = std::unique_lock<std::mutex>;

  ReadLock lock_for_reading();
  WriteLock lock_for_writing();
  GdbmLock lock_gdbm();
  bool is_open();
  bool has_record(std::uint32_t id);
  Datum fetch_record(std::uint32_t id);
  template <class Visit>
  void walk_records(Visit visit);
  std::optional<std::uint32_t> first_record_below(std::string_view path);
  PathIndex index_for(std::string_view path);
  PathIndex::Answer ask_index(std::string_view path);
  GDBM_FILE db() const { return file_ ? file_->db() : nullptr; }
  void let_go();
  void hold(std::unique_ptr<StoreFile> file);
  template <class Change>
  bool change(Change make_change);
  bool put(Bytes key, Bytes record);

  // Locked in this order: the first parts readers of the content from writers, the second guards each call of
  // gdbm, the handle and the index.
  std::shared_mutex content_lock_;
  std::mutex gdbm_lock_;

  std::unique_ptr<StoreFile> file_;  // none while the store is not open
  std::uint64_t generation_ = 0;     // changes with the file's handle
  std::optional<PathIndex> index_;   // in step with the open store, once it was asked
  std::uint32_t songs_added_ = 0, new_songs_ = 0, songs_refused_ = 0;
};

}  // namespace corvexal
