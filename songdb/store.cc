#include "songdb/store.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <new>
#include <system_error>
#include <vector>

#include "base/log.h"
#include "base/saturate.h"
#include "base/text.h"
#include "songdb/store_file.h"

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
  return !path_.empty();
}

bool SongStore::has_record(std::uint32_t id) {
  const auto guard = lock_gdbm();
  return db_ && gdbm_exists(db_.get(), as_datum(key_of(id))) != 0;
}

Datum SongStore::fetch_record(std::uint32_t id) {
  const auto content = lock_for_reading();
  const auto guard = lock_gdbm();
  return db_ ? Datum(gdbm_fetch(db_.get(), as_datum(key_of(id)))) : Datum();
}

// Calls visit(record) for each record in gdbm's key order until it returns false. When another thread reopens
// or rebuilds the store meanwhile, the walk begins anew and may visit records again.
template <class Visit>
void SongStore::walk_records(Visit visit) {
  std::optional<KeyWalk> walk;
  std::uint64_t generation = 0;
  const auto next_record = [&]() -> std::optional<Datum> {
    const auto guard = lock_gdbm();
    if (!db_) return std::nullopt;
    if (!walk || generation != generation_) walk.emplace(db_.get());
    generation = generation_;
    if (!walk->next()) return std::nullopt;
    return Datum(gdbm_fetch(db_.get(), walk->key().borrowed()));
  };
  while (const auto record = next_record())
    if (*record && !visit(record->bytes())) return;
}

std::optional<std::uint32_t> SongStore::first_record_below(std::string_view path) {
  std::optional<std::uint32_t> id;
  walk_records([&](Bytes record) {
    SongInfo song;
    unpack_song(record, song);
    if (song.path && starts_with_ignoring_case(*song.path, path)) id = song.id;
    return !id;
  });
  return id;
}

PathIndex SongStore::index_for(std::string_view path) {
  PathIndex index(PathIndex::root_of(path));
  for (KeyWalk walk(db_.get()); walk.next();) {
    const Datum record(gdbm_fetch(db_.get(), walk.key().borrowed()));
    index.put(walk.key().bytes(), record.bytes());
  }
  return index;
}

// Found::several also stands for "not known": the store has to be walked.
PathIndex::Answer SongStore::ask_index(std::string_view path) {
  if (PathIndex::root_of(path).empty()) return {PathIndex::Found::several};
  const auto guard = lock_gdbm();
  if (!db_) return {};
  if (!index_ || !index_->covers(path)) index_ = index_for(path);
  return index_->records_below(path);
}

bool SongStore::put_record(Bytes key, Bytes record) {
  return db_ && gdbm_store(db_.get(), as_datum(key), as_datum(record), GDBM_REPLACE) == 0;
}

void SongStore::let_go() {
  index_.reset();
  db_.reset();
  ++generation_;
}

// gdbm gives up on a file as soon as it meets damage in it, and would take no more records in this or any
// later run.
bool SongStore::gave_up() const {
  return !db_ || gdbm_needs_recovery(db_.get()) != 0;
}

// One rebuild has to do: a failure after it has other reasons than the file.
void SongStore::rebuild() {
  let_go();
  db_ = rebuild_store_file(path_);
  was_rebuilt_ = db_ != nullptr;
}

bool SongStore::store(Bytes key, Bytes record) {
  const auto guard = lock_gdbm();
  bool stored = put_record(key, record);
  if (!stored && gave_up() && !was_rebuilt_) {
    rebuild();
    stored = put_record(key, record);
  }
  if (stored && index_) index_->put(key, record);
  return stored;
}

bool SongStore::open(const std::string& mount_path, bool reload) {
  if (mount_path.empty()) {
    std::puts("11SQL_open():Open DB fail");
    return true;
  }
  const std::string path = song_store_path(mount_path);
  std::printf("%s, db_path=%s", "db_open", path.c_str());

  auto guard = lock_gdbm();
  was_rebuilt_ = false;
  let_go();
  db_ = open_store_file(path, reload);
  const int reason = errno;
  const bool opened = db_ != nullptr;
  path_ = opened ? path : "";
  guard.unlock();
  if (!opened) log_printf("11Could not open songs database (%s): %s\n", path.c_str(), std::strerror(reason));
  return opened;
}

bool SongStore::open_to_read(const std::string& mount_path) {
  const auto guard = lock_gdbm();
  let_go();
  // Mapped, a store of 100,000 songs would take its 40 MiB of memory.
  db_ = open_gdbm(song_store_path(mount_path), GDBM_READER | GDBM_NOMMAP);
  return db_ != nullptr;
}

void SongStore::close() {
  const auto guard = lock_gdbm();
  let_go();
  path_.clear();
}

bool SongStore::add(const SongInfo& song) {
  if (!is_open()) return true;
  const auto record = pack_for_store(song);
  if (!record) return false;
  const bool is_new = !has_record(song.id);
  const auto content = lock_for_writing();
  if (!store(key_of(song.id), *record))
    log_printf("Error inserting file %s in database\n", song.fname.value_or("").c_str());
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
  if (!record || !is_whole_record(record.bytes())) return std::nullopt;
  SongInfo song;
  read_stored_song(record.bytes(), song);
  return song;
}

std::uint64_t SongStore::count() {
  const auto guard = lock_gdbm();
  gdbm_count_t count = 0;
  return db_ && gdbm_count(db_.get(), &count) == 0 ? count : 0;
}

std::vector<std::uint32_t> SongStore::ids_of(const std::function<bool(const SongInfo&)>& wanted) {
  std::vector<std::uint32_t> ids;
  walk_records([&](Bytes record) {
    SongInfo song;
    read_stored_song(record, song);
    if (wanted(song)) ids.push_back(song.id);
    return true;
  });
  return ids;
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
  if (!contains(id)) return;
  const auto content = lock_for_writing();
  const auto guard = lock_gdbm();
  if (!db_) return;
  gdbm_delete(db_.get(), as_datum(key_of(id)));
  if (index_) index_->remove(key_of(id));
}

void SongStore::remove_first_below(std::string_view path) {
  const PathIndex::Answer answer = ask_index(path);
  if (answer.found == PathIndex::Found::one) return remove(answer.id);
  if (answer.found == PathIndex::Found::none) return;
  if (const auto first = first_record_below(path)) remove(*first);
}

void SongStore::remove_below(std::span<const std::string> paths, bool keep) {
  std::vector<std::uint32_t> doomed;
  walk_records([&](Bytes record) {
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
