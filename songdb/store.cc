// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/store.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>
#include <system_error>
#include <utility>
#include <vector>

#include "base/log.h"
#include "base/saturate.h"
#include "base/text.h"

namespace corvexal {
namespace {

template <class Lock, class Mutex>
[[nodiscard]] Lock locked(Mutex& mutex, const char* name) {
  Lock lock(mutex, std::defer_lock);
  try {
    lock.lock();
  } catch (const std::system_error& error) {
    log_printf("cannot lock %s: %s\n", name, error.code().message().c_str());
  }
  return lock;
}

Bytes key_of(const std::uint32_t& id) {
  return {reinterpret_cast<const std::uint8_t*>(&id), sizeof id};
}

// Absent for a record that is damaged or another key's.
std::optional<SongInfo> song_in(Bytes record, Bytes key) {
  const std::uint32_t id = record_id(record);
  if (!is_whole_record(record) || !std::ranges::equal(key, key_of(id))) return std::nullopt;
  SongInfo song;
  read_stored_song(record, song);
  return song;
}

std::optional<PackedSong> pack_for_store(const SongInfo& song) try {
  SongInfo stored = song;
  stored.time_stored = saturated(std::time(nullptr));
  stored.time_played = 0;
  if (stored.time_added == 0) stored.time_added = stored.time_stored;
  if (stored.time_modified == 0) stored.time_modified = stored.time_stored;
  return pack_song(stored);
} catch (const std::bad_alloc&) {
  return std::nullopt;
}

}  // namespace

std::string song_store_path(const std::string& mount_path) {
  return mount_path + "/.systemfile/songs.gdb";
}

SongStore::ReadLock SongStore::lock_for_reading() {
  return locked<ReadLock>(content_lock_, "rdlock");
}
SongStore::WriteLock SongStore::lock_for_writing() {
  return locked<WriteLock>(content_lock_, "rwlock");
}
SongStore::GdbmLock SongStore::lock_gdbm() {
  return locked<GdbmLock>(gdbm_lock_, "gdbmlock");
}

bool SongStore::is_open() {
  const auto guard = lock_gdbm();
  return file_ != nullptr;
}

bool SongStore::has_record(std::uint32_t id) {
  const auto guard = lock_gdbm();
  return db() != nullptr && gdbm_exists(db(), as_datum(key_of(id))) != 0;
}

Datum SongStore::fetch_record(std::uint32_t id) {
  const auto content = lock_for_reading();
  const auto guard = lock_gdbm();
  return db() != nullptr ? Datum(gdbm_fetch(db(), as_datum(key_of(id)))) : Datum();
}

// Calls visit(record, key) for each record in gdbm's key order until it returns false. When another thread
// reopens the store or loses its changes meanwhile, the walk begins anew and may visit records again.
template <class Visit>
void SongStore::walk_records(Visit visit) {
  std::optional<KeyWalk> walk;
  std::uint64_t generation = 0;
  const auto next_record = [&]() -> std::optional<Datum> {
    const auto guard = lock_gdbm();
    if (db() == nullptr) return std::nullopt;
    if (!walk || generation != generation_) walk.emplace(db());
    generation = generation_;
    if (!walk->next()) return std::nullopt;
    return Datum(gdbm_fetch(db(), walk->key().borrowed()));
  };
  while (const auto record = next_record())
    if (*record && !visit(record->bytes(), walk->key().bytes())) return;
}

std::optional<std::uint32_t> SongStore::first_record_below(std::string_view path) {
  std::optional<std::uint32_t> id;
  walk_records([&](Bytes record, Bytes) {
    SongInfo song;
    unpack_song(record, song);
    if (song.path && starts_with_ignoring_case(*song.path, path)) id = song.id;
    return !id;
  });
  return id;
}

PathIndex SongStore::index_for(std::string_view path) {
  PathIndex index(PathIndex::root_of(path));
  for (KeyWalk walk(db()); walk.next();) {
    const Datum record(gdbm_fetch(db(), walk.key().borrowed()));
    index.put(walk.key().bytes(), record.bytes());
  }
  return index;
}

// Found::several also stands for "not known": the store has to be walked.
PathIndex::Answer SongStore::ask_index(std::string_view path) {
  if (PathIndex::root_of(path).empty()) return {PathIndex::Found::several};
  const auto guard = lock_gdbm();
  if (db() == nullptr) return {};
  if (!index_ || !index_->covers(path)) index_ = index_for(path);
  return index_->records_below(path);
}

void SongStore::let_go() {
  index_.reset();
  ++generation_;
}

void SongStore::hold(std::unique_ptr<StoreFile> file) {
  let_go();
  file_ = std::move(file);
}

// Makes a change in the file, which may have another handle afterwards.
template <class Change>
bool SongStore::change(Change make_change) {
  const auto guard = lock_gdbm();
  if (!file_) return false;
  const unsigned handles_made = file_->handles_made();
  const bool changed = make_change(*file_);
  if (file_->handles_made() != handles_made) let_go();
  return changed;
}

bool SongStore::put(Bytes key, Bytes record) {
  return change([&](StoreFile& file) {
    const bool stored = file.put(key, record);
    if (stored && index_) index_->put(key, record);
    return stored;
  });
}

bool SongStore::open(const std::string& mount_path, bool reload) {
  if (mount_path.empty()) {
    std::puts("11SQL_open():Open DB fail");
    return true;
  }
  const std::string path = song_store_path(mount_path);
  std::printf("%s, db_path=%s", "db_open", path.c_str());

  const auto guard = lock_gdbm();
  hold(nullptr);  // one file at a time has the folder of copies
  hold(StoreFile::open(path, reload));
  if (file_) return true;
  log_printf("11Could not open songs database (%s): %s\n", path.c_str(), std::strerror(errno));
  return false;
}

bool SongStore::open_to_read(const std::string& mount_path) {
  const auto guard = lock_gdbm();
  hold(StoreFile::open_to_read(song_store_path(mount_path)));
  return file_ != nullptr;
}

bool SongStore::close() {
  const auto guard = lock_gdbm();
  const bool saved = !file_ || file_->save();
  hold(nullptr);
  return saved;
}

bool SongStore::add(const SongInfo& song) {
  if (!is_open()) return true;
  const auto record = pack_for_store(song);
  if (!record) return false;
  const bool is_new = !has_record(song.id);
  const auto content = lock_for_writing();
  if (!put(key_of(song.id), *record)) {
    log_printf("Error inserting file %s in database\n", song.fname.value_or("").c_str());
    ++songs_refused_;
  }
  ++songs_added_;
  if (is_new) ++new_songs_;
  return true;
}

std::optional<SongInfo> SongStore::fetch(std::uint32_t id) {
  const Datum record = fetch_record(id);
  if (!record) return std::nullopt;
  SongInfo song;
  unpack_song(record.bytes(), song);
  return song;
}

std::optional<SongInfo> SongStore::stored(std::uint32_t id) {
  const Datum record = fetch_record(id);
  return song_in(record.bytes(), key_of(id));
}

bool SongStore::is_damaged() {
  const auto guard = lock_gdbm();
  return db() != nullptr && !is_sound(db());
}

bool SongStore::looks_damaged() {
  const auto guard = lock_gdbm();
  return db() != nullptr && !looks_sound(db());
}

std::uint64_t SongStore::count() {
  const auto guard = lock_gdbm();
  gdbm_count_t count = 0;
  return db() != nullptr && gdbm_count(db(), &count) == 0 ? count : 0;
}

std::vector<SongStore::Key> SongStore::keys_of(const std::function<bool(const SongInfo* song)>& wanted) {
  std::vector<Key> keys;
  walk_records([&](Bytes record, Bytes key) {
    const auto song = song_in(record, key);
    if (wanted(song ? &*song : nullptr)) keys.emplace_back(key.begin(), key.end());
    return true;
  });
  return keys;
}

bool SongStore::contains(std::uint32_t id) {
  const auto content = lock_for_reading();
  return has_record(id);
}

std::int32_t SongStore::time_stored(std::uint32_t id) {
  const auto song = fetch(id);
  return song ? song->time_stored : 0;
}

bool SongStore::is_modified(std::uint32_t id, const std::string& path) {
  const auto song = fetch(id);
  return !song || song->path != path;
}

void SongStore::remove(std::uint32_t id) {
  const Bytes key = key_of(id);
  if (contains(id)) remove(Key(key.begin(), key.end()));
}

void SongStore::remove(const Key& key) {
  const auto content = lock_for_writing();
  change([&](StoreFile& file) {
    const bool removed = file.remove(key);
    if (removed && index_) index_->remove(key);
    return removed;
  });
}

void SongStore::remove_first_below(std::string_view path) {
  const PathIndex::Answer answer = ask_index(path);
  if (answer.found == PathIndex::Found::one) return remove(answer.id);
  if (answer.found == PathIndex::Found::none) return;
  if (const auto first = first_record_below(path)) remove(*first);
}

void SongStore::remove_below(std::span<const std::string> paths, bool keep) {
  std::vector<std::uint32_t> doomed;
  walk_records([&](Bytes record, Bytes) {
    SongInfo song;
    unpack_song(record, song);
    const bool matches = song.path && std::any_of(paths.begin(), paths.end(), [&](const std::string& path) {
                           return starts_with_ignoring_case(*song.path, path);
                         });
    if (matches != keep) doomed.push_back(song.id);
    return true;
  });
  // Deleting moves other records about, so the walk has to be over.
  for (const std::uint32_t id : doomed) remove(id);
}

}  // namespace corvexal
