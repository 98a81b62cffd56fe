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

// The store may live on another volume, with a link to it that is to stay.
std::string target_of_links(std::string path) {
  std::error_code error;
  for (int links = 0; links < 40 && fs::is_symlink(path, error); ++links)
    path = fs::path(path).parent_path() / fs::read_symlink(path, error);
  return path;
}

// A folder beside the store that is this program's alone, where no one can have planted a link: a new store
// is made there and takes its final name only once it is complete, so that a kill leaves either the old store
// or the new one. What a killed run left goes away with the folder.
class StagingFolder {
 public:
  explicit StagingFolder(const std::string& store) : path_(store + ".new") {
    std::error_code seen_when_used;
    fs::remove_all(path_, seen_when_used);
    made_ = mkdir(path_.c_str(), 0700) == 0;
    if (!made_) gdbm_errno = GDBM_FILE_OPEN_ERROR;
  }
  StagingFolder(const StagingFolder&) = delete;
  StagingFolder& operator=(const StagingFolder&) = delete;
  ~StagingFolder() {
    const int reason = errno;
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    errno = reason;
  }

  // False, with errno and gdbm_errno set, when the folder could not be made.
  explicit operator bool() const { return made_; }

  [[nodiscard]] std::string file() const { return path_ + "/songs.gdb"; }

 private:
  std::string path_;
  bool made_ = false;
};

bool replace_by_empty(const std::string& path) {
  const StagingFolder staging(path);
  if (!staging) return false;
  GdbmFile db(
      gdbm_open(staging.file().c_str(), 0, GDBM_NEWDB | GDBM_SYNC | GDBM_NOLOCK, kOwnerOnly, nullptr));
  if (!db) return false;
  keep_owner_and_mode(path, db.get());
  db.reset();
  if (std::rename(staging.file().c_str(), path.c_str()) == 0) return true;
  gdbm_errno = GDBM_FILE_WRITE_ERROR;
  return false;
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

GdbmFile open_store_file(const std::string& name, bool emptied) {
  const std::string path = target_of_links(name);
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

GdbmFile rebuild_store_file(const std::string& name) {
  const std::string path = target_of_links(name);
  const StagingFolder staging(path);
  const auto kept = staging ? rebuild_in_place_of(path, staging.file()) : std::nullopt;
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
