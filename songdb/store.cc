#include "songdb/store.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <mutex>
#include <new>
#include <shared_mutex>
#include <system_error>
#include <vector>

#include "base/config.h"
#include "base/log.h"
#include "base/saturate.h"
#include "base/text.h"
#include "songdb/gdbm_file.h"
#include "songdb/path_index.h"
#include "songdb/record.h"
#include "songdb/store_file.h"

namespace corvexal {

std::uint32_t db_song_count = 0;
std::uint32_t db_new_count = 0;

namespace {

// Locked in this order: db_rwlock parts readers of the content from writers, db_gdbm_lock guards each call of
// gdbm, the handle and the index.
std::shared_mutex db_rwlock;
std::mutex db_gdbm_lock;

GdbmFile songs_db;
std::uint64_t songs_db_generation = 0;  // changes with the handle
std::string store_path;
bool store_was_rebuilt = false;       // since it was opened
std::optional<PathIndex> path_index;  // in step with the open store, once it was asked

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

auto lock_for_reading() {
  return locked<std::shared_lock<std::shared_mutex>>(db_rwlock, "rdlock");
}
auto lock_for_writing() {
  return locked<std::unique_lock<std::shared_mutex>>(db_rwlock, "rwlock");
}
auto lock_gdbm() {
  return locked<std::unique_lock<std::mutex>>(db_gdbm_lock, "gdbmlock");
}

Bytes key_of(const std::uint32_t& id) {
  return {reinterpret_cast<const std::uint8_t*>(&id), sizeof id};
}

bool is_open() {
  const auto guard = lock_gdbm();
  return songs_db != nullptr;
}

bool has_record(std::uint32_t id) {
  const auto guard = lock_gdbm();
  return songs_db && gdbm_exists(songs_db.get(), as_datum(key_of(id))) != 0;
}

Datum fetch_record(std::uint32_t id) {
  const auto content = lock_for_reading();
  const auto guard = lock_gdbm();
  return songs_db ? Datum(gdbm_fetch(songs_db.get(), as_datum(key_of(id)))) : Datum();
}

// Calls visit(record) for each record in gdbm's key order until it returns false. When another thread reopens
// or rebuilds the store meanwhile, the walk begins anew and may visit records again.
template <class Visit>
void walk_records(Visit visit) {
  std::optional<KeyWalk> walk;
  std::uint64_t generation = 0;
  const auto next_record = [&]() -> std::optional<Datum> {
    const auto guard = lock_gdbm();
    if (!songs_db) return std::nullopt;
    if (!walk || generation != songs_db_generation) walk.emplace(songs_db.get());
    generation = songs_db_generation;
    if (!walk->next()) return std::nullopt;
    return Datum(gdbm_fetch(songs_db.get(), walk->key().borrowed()));
  };
  while (const auto record = next_record())
    if (*record && !visit(record->bytes())) return;
}

std::optional<std::uint32_t> first_record_below(std::string_view path) {
  std::optional<std::uint32_t> id;
  walk_records([&](Bytes record) {
    SongInfo song;
    unpack_song(record, song);
    if (song.path && starts_with_ignoring_case(*song.path, path)) id = song.id;
    return !id;
  });
  return id;
}

PathIndex index_for(std::string_view path) {
  PathIndex index(PathIndex::root_of(path));
  for (KeyWalk walk(songs_db.get()); walk.next();) {
    const Datum record(gdbm_fetch(songs_db.get(), walk.key().borrowed()));
    index.put(walk.key().bytes(), record.bytes());
  }
  return index;
}

// Found::several also stands for "not known": the store has to be walked.
PathIndex::Answer ask_index(std::string_view path) {
  if (PathIndex::root_of(path).empty()) return {PathIndex::Found::several};
  const auto guard = lock_gdbm();
  if (!songs_db) return {};
  if (!path_index || !path_index->covers(path)) path_index = index_for(path);
  return path_index->records_below(path);
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

bool put_record(Bytes key, Bytes record) {
  return songs_db && gdbm_store(songs_db.get(), as_datum(key), as_datum(record), GDBM_REPLACE) == 0;
}

void close_store() {
  path_index.reset();
  songs_db.reset();
  ++songs_db_generation;
}

// gdbm gives up on a file as soon as it meets damage in it, and would take no more records in this or any
// later run. One rebuild has to do: a second failure has other reasons than the file.
void rebuild_store() {
  close_store();
  songs_db = rebuild_store_file(store_path);
  store_was_rebuilt = true;
}

bool store(Bytes key, Bytes record) {
  const auto guard = lock_gdbm();
  bool stored = put_record(key, record);
  if (!stored && songs_db && gdbm_needs_recovery(songs_db.get()) && !store_was_rebuilt) {
    rebuild_store();
    stored = put_record(key, record);
  }
  if (stored && path_index) path_index->put(key, record);
  return stored;
}

}  // namespace

std::string song_store_path(const std::string& mount_path) {
  return mount_path + "/.systemfile/songs.gdb";
}

int db_open(int /*ignored*/, int reload) {
  if (global_cdata.mntpath.empty()) {
    std::puts("11SQL_open():Open DB fail");
    return 0;
  }
  const std::string path = song_store_path(global_cdata.mntpath);
  std::printf("%s, db_path=%s", "db_open", path.c_str());

  auto guard = lock_gdbm();
  store_path = path;
  store_was_rebuilt = false;
  close_store();
  songs_db = open_store_file(path, reload != 0);
  const int reason = errno;
  guard.unlock();
  if (songs_db) return 0;
  log_printf("11Could not open songs database (%s): %s\n", path.c_str(), std::strerror(reason));
  return -1;
}

int db_close() {
  const auto guard = lock_gdbm();
  close_store();
  return 0;
}

int db_add(const SongInfo& song) {
  if (!is_open()) return 0;
  const auto record = pack_for_store(song);
  if (!record) {
    errno = ENOMEM;
    return -1;
  }
  const bool is_new = !has_record(song.id);
  const auto content = lock_for_writing();
  if (!store(key_of(song.id), *record))
    log_printf("Error inserting file %s in database\n", song.fname.value_or("").c_str());
  ++db_song_count;
  if (is_new) ++db_new_count;
  return 0;
}

std::optional<SongInfo> db_fetch(std::uint32_t id) {
  const Datum record = fetch_record(id);
  if (!record) return std::nullopt;
  SongInfo song;
  unpack_song(record.bytes(), song);
  return song;
}

int db_exists(std::uint32_t id) {
  const auto content = lock_for_reading();
  return has_record(id) ? 1 : 0;
}

std::int32_t db_time_stored(std::uint32_t id) {
  const auto song = db_fetch(id);
  return song ? song->time_stored : 0;
}

int db_delete(std::uint32_t id) {
  if (db_exists(id) == 0) return 0;
  const auto content = lock_for_writing();
  const auto guard = lock_gdbm();
  if (!songs_db) return 0;
  gdbm_delete(songs_db.get(), as_datum(key_of(id)));
  if (path_index) path_index->remove(key_of(id));
  return 0;
}

int db_path_modified(std::uint32_t id, const std::string& path) {
  const auto song = db_fetch(id);
  return song && song->path == path ? 0 : 1;
}

int db_delete_by_path_OneFile(std::span<const std::string> paths) {
  if (paths.empty()) return 0;
  const PathIndex::Answer answer = ask_index(paths.front());
  if (answer.found == PathIndex::Found::one) return db_delete(answer.id);
  if (answer.found == PathIndex::Found::none) return 0;
  const auto first = first_record_below(paths.front());
  return first ? db_delete(*first) : 0;
}

int db_delete_by_path(std::span<const std::string> paths, bool keep) {
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
  for (const std::uint32_t id : doomed) db_delete(id);
  return 0;
}

}  // namespace corvexal
