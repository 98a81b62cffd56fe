#include "songdb/store_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>
#include <vector>

#include "songdb/record.h"

namespace corvexal {
namespace {

namespace fs = std::filesystem;

constexpr mode_t kOwnerOnly = 0600;

bool is_missing_or_empty(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) != 0 ? errno == ENOENT : S_ISREG(status.st_mode) && status.st_size == 0;
}

// An empty store takes its place under its final name only once it is complete, so that a kill leaves either
// the old store or the new one.
bool replace_by_empty(const std::string& path) {
  const std::string fresh = path + ".new";
  const GdbmFile db(gdbm_open(fresh.c_str(), 0, GDBM_NEWDB | GDBM_SYNC | GDBM_NOLOCK, kOwnerOnly, nullptr));
  if (!db) return false;
  struct stat old {};
  if (stat(path.c_str(), &old) == 0) {
    const int file = gdbm_fdesc(db.get());
    if (fchown(file, old.st_uid, old.st_gid) != 0 || fchmod(file, old.st_mode & 0777) != 0) return false;
  }
  return std::rename(fresh.c_str(), path.c_str()) == 0;
}

// gdbm rebuilds into a neighbour of the store with six random characters behind its name, and leaves it there
// when it does not finish.
void remove_unfinished_rebuilds(const fs::path& path) {
  std::error_code ignored;
  const std::string prefix = path.filename().string() + ".";
  for (fs::directory_iterator entry(path.parent_path(), ignored); entry != fs::directory_iterator();
       entry.increment(ignored)) {
    const std::string name = entry->path().filename().string();
    if (name.starts_with(prefix) && name.size() == prefix.size() + 6) fs::remove(entry->path(), ignored);
  }
}

// A kill in the middle of a write may leave other bytes where a record was, and a rebuild takes them along
// under whatever key they spell.
std::size_t remove_torn_records(GDBM_FILE db) {
  std::vector<std::vector<std::uint8_t>> torn;
  for (KeyWalk walk(db); walk.next();) {
    const Datum record(gdbm_fetch(db, walk.key().borrowed()));
    const std::uint32_t id = record_id(record.bytes());
    const Bytes key = walk.key().bytes();
    if (key.size() != sizeof id || std::memcmp(key.data(), &id, sizeof id) != 0)
      torn.emplace_back(key.begin(), key.end());
  }
  for (const auto& key : torn) gdbm_delete(db, as_datum(key));
  return torn.size();
}

bool holds_records_of_another_version(GDBM_FILE db) {
  const Datum key(gdbm_firstkey(db));
  if (!key) return false;
  const Datum record(gdbm_fetch(db, key.borrowed()));
  return record_version(record.bytes()) != kRecordVersion;
}

// The programs that a run starts have no business in the store.
GdbmFile closed_on_exec(GdbmFile db) {
  if (db) fcntl(gdbm_fdesc(db.get()), F_SETFD, FD_CLOEXEC);
  return db;
}

GdbmFile open_for_writing(const std::string& path) {
  return closed_on_exec(open_gdbm(path, GDBM_WRITER | GDBM_SYNC));
}

void say_failure(const char* what, const std::string& path) {
  const int reason = errno;
  std::fprintf(stderr, "Song store %s%s: %s\n", path.c_str(), what, gdbm_failure().c_str());
  errno = reason;
}

}  // namespace

GdbmFile open_store_file(const std::string& path, bool emptied) {
  if ((emptied || is_missing_or_empty(path)) && !replace_by_empty(path)) {
    say_failure(" cannot be made", path);
    return {};
  }
  GdbmFile db = open_for_writing(path);
  if (!db && gdbm_errno != GDBM_BAD_AVAIL) {
    say_failure(" cannot be opened", path);
    return {};
  }
  if (!db || !is_sound(db.get())) {
    db.reset();
    db = rebuild_store_file(path);
  }
  if (!db || !holds_records_of_another_version(db.get())) return db;
  db.reset();
  return open_store_file(path, true);
}

GdbmFile rebuild_store_file(const std::string& path) {
  remove_unfinished_rebuilds(path);
  forget_free_space(path);
  GdbmFile db = open_for_writing(path);
  gdbm_recovery outcome{};
  if (!db || gdbm_recover(db.get(), &outcome, GDBM_RCVR_FORCE) != 0) {
    say_failure(" is damaged and cannot be rebuilt", path);
    const int reason = errno;
    remove_unfinished_rebuilds(path);
    errno = reason;
    return {};
  }
  const std::size_t kept = outcome.recovered_keys - outcome.duplicate_keys - remove_torn_records(db.get());
  std::fprintf(stderr, "Song store %s was damaged and has been rebuilt with %zu records\n", path.c_str(),
               kept);
  return closed_on_exec(std::move(db));  // the rebuild has another descriptor
}

}  // namespace corvexal
