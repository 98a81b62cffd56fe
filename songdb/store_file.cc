#include "songdb/store_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
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

// Some file systems know no owners, and only root may give files away: the store is usable all the same.
void keep_owner_and_mode(const std::string& path, GDBM_FILE successor) {
  struct stat old {};
  if (stat(path.c_str(), &old) != 0) return;
  const int file = gdbm_fdesc(successor);
  [[maybe_unused]] const int owner = fchown(file, old.st_uid, old.st_gid);
  fchmod(file, old.st_mode & 0777);
}

// An empty store takes its place under its final name only once it is complete, so that a kill leaves either
// the old store or the new one.
bool replace_by_empty(const std::string& path) {
  const std::string fresh = path + ".new";
  const GdbmFile db(gdbm_open(fresh.c_str(), 0, GDBM_NEWDB | GDBM_SYNC | GDBM_NOLOCK, kOwnerOnly, nullptr));
  if (!db) return false;
  keep_owner_and_mode(path, db.get());
  if (std::rename(fresh.c_str(), path.c_str()) == 0) return true;
  const int reason = errno;
  std::remove(fresh.c_str());
  errno = reason;
  return false;
}

// A folder beside the store that is this program's alone, for a rebuild: the store itself stays as it is
// until the rebuilt one takes its place, and what a killed rebuild left goes away with the folder.
class RebuildFolder {
 public:
  explicit RebuildFolder(const std::string& store) : path_(store + ".rebuild") {
    std::error_code seen_when_copying;
    fs::remove_all(path_, seen_when_copying);
    fs::create_directory(path_, seen_when_copying);
  }
  RebuildFolder(const RebuildFolder&) = delete;
  RebuildFolder& operator=(const RebuildFolder&) = delete;
  ~RebuildFolder() {
    const int reason = errno;
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    errno = reason;
  }

  [[nodiscard]] std::string copy() const { return path_ + "/songs.gdb"; }

 private:
  std::string path_;
};

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

// An empty or cut first record says nothing about the others.
bool holds_records_of_another_version(GDBM_FILE db) {
  const Datum key(gdbm_firstkey(db));
  if (!key) return false;
  const Datum record(gdbm_fetch(db, key.borrowed()));
  return record.bytes().size() >= sizeof kRecordVersion && record_version(record.bytes()) != kRecordVersion;
}

GdbmFile open_for_writing(const std::string& path) {
  GdbmFile db = open_gdbm(path, GDBM_WRITER | GDBM_SYNC);
  // The programs that a run starts have no business in the store.
  if (db) fcntl(gdbm_fdesc(db.get()), F_SETFD, FD_CLOEXEC);
  return db;
}

bool copy_store(const std::string& path, const std::string& copy) {
  std::error_code failure;
  if (fs::copy_file(path, copy, failure)) return true;
  gdbm_errno = GDBM_FILE_WRITE_ERROR;
  errno = failure.value();
  return false;
}

// Rebuilds a copy of the store and puts it in the store's place. Returns how many records it holds; nothing
// on failure, with gdbm_errno and errno set and the store untouched.
std::optional<std::size_t> rebuild_in_place_of(const std::string& path, const std::string& copy) {
  if (!copy_store(path, copy)) return std::nullopt;
  forget_free_space(copy);
  const GdbmFile db = open_for_writing(copy);
  gdbm_recovery outcome{};
  if (!db || gdbm_recover(db.get(), &outcome, GDBM_RCVR_FORCE) != 0) return std::nullopt;
  const std::size_t kept = outcome.recovered_keys - outcome.duplicate_keys - remove_torn_records(db.get());
  keep_owner_and_mode(path, db.get());
  if (gdbm_sync(db.get()) != 0 || std::rename(copy.c_str(), path.c_str()) != 0) return std::nullopt;
  return kept;
}

void say_failure(const char* what, const std::string& path) {
  const int reason = errno;
  const char* advice = reason == EINVAL ? "; move it away, and the next scan makes a new one" : "";
  std::fprintf(stderr, "Song store %s%s: %s%s\n", path.c_str(), what, gdbm_failure().c_str(), advice);
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
  const RebuildFolder folder(path);
  const auto kept = rebuild_in_place_of(path, folder.copy());
  GdbmFile db = kept ? open_for_writing(path) : GdbmFile();
  if (!db) {
    say_failure(" is damaged and cannot be rebuilt", path);
    return {};
  }
  std::fprintf(stderr, "Song store %s was damaged and has been rebuilt with %zu records\n", path.c_str(),
               *kept);
  return db;
}

}  // namespace corvexal
