// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/store_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <optional>
#include <utility>
#include <vector>

#include "base/file.h"
#include "base/log.h"
#include "songdb/record.h"

namespace corvexal {
namespace {

// What gdbm may need for one change besides the record itself: a bucket or two, blocks of free space, and
// twice the directory, whose size goes with the file's.
constexpr off_t kRoomForBuckets = 65536;
constexpr off_t kFilePerDirectory = 256;

std::optional<struct stat> status_of(int file) {
  struct stat status {};
  if (fstat(file, &status) != 0) return std::nullopt;
  return status;
}

// Sets aside the room that a change may need, so that a full disk refuses the change instead of cutting it
// short. True as well where the file system cannot do that.
bool has_room_for(GDBM_FILE db, std::size_t record_size) {
  const auto status = status_of(gdbm_fdesc(db));
  if (!status) return true;
  const off_t room = static_cast<off_t>(record_size) + kRoomForBuckets + status->st_size / kFilePerDirectory;
  const int result = fallocate(gdbm_fdesc(db), FALLOC_FL_KEEP_SIZE, status->st_size, room);
  return result == 0 || (errno != ENOSPC && errno != EDQUOT && errno != EFBIG);
}

void give_room_back(int file) {
  if (const auto status = status_of(file)) [[maybe_unused]]
    const int result = ftruncate(file, status->st_size);
}

// Some file systems know no owners, and only root may give files away: the store is usable all the same.
bool keep_owner_and_mode(const Descriptor& original, int successor) {
  if (!original) return true;
  const auto old = status_of(original.get());
  if (!old) return false;
  [[maybe_unused]] const int owner = fchown(successor, old->st_uid, old->st_gid);
  fchmod(successor, old->st_mode & 0777);
  return true;
}

bool copy_bytes(const Descriptor& from, const Descriptor& to) {
  File source(from.duplicate());
  std::array<std::uint8_t, 65536> piece{};
  for (std::uint64_t at = 0; at < source.size();) {
    const std::size_t size = source.read_at(at, piece);
    if (size == 0 || !write_all(to, Bytes(piece).first(size))) return false;
    at += size;
  }
  return static_cast<bool>(source);
}

// A damaged store may hold other bytes where a record was, and a rebuild takes them along under whatever key
// they spell.
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

}  // namespace

std::unique_ptr<StoreFile> StoreFile::open(const std::string& path, bool emptied) {
  std::unique_ptr<StoreFile> store(new StoreFile(path, emptied));
  return store->load() ? std::move(store) : nullptr;
}

std::unique_ptr<StoreFile> StoreFile::open_to_read(const std::string& path) {
  std::unique_ptr<StoreFile> store(new StoreFile(path, false));
  store->set_handle(open_gdbm(path, GDBM_READER));
  return store->db_ ? std::move(store) : nullptr;
}

bool StoreFile::load() {
  place_ = find_place(path_);
  if (place_) original_ = open_plain_file(place_->folder.get(), place_->name, O_RDONLY);
  if (!place_ || (!original_ && errno != ENOENT)) return fail("cannot be opened", why_refused(errno));
  staging_ = StagingFolder::make(*place_);
  const auto found = original_ ? status_of(original_.get()) : std::nullopt;
  if (original_ && !found) return fail("cannot be opened", std::strerror(errno));
  if (emptied_ || !found || found->st_size == 0) return begin_empty();

  const Descriptor copy = copy_original();
  const int no_copy = errno;
  if (!copy) fail("is only read: there can be no copy to work on", std::strerror(no_copy));
  takes_changes_ = static_cast<bool>(copy);
  set_handle(copy ? open_gdbm(copy.duplicate(), staging_->file_path(), GDBM_WRITER) : open_original());
  const bool is_damaged = db_ ? !is_sound(db_.get()) : gdbm_errno == GDBM_BAD_AVAIL;
  if (!db_ && !is_damaged) return fail("cannot be opened", gdbm_failure());
  if (is_damaged && !copy) errno = no_copy;
  if (is_damaged && !(copy && rebuild(copy))) return fail("is damaged and cannot be rebuilt", gdbm_failure());
  return !holds_records_of_another_version(db_.get()) || begin_empty();
}

bool StoreFile::begin_empty() {
  Descriptor file = make_copy_file();
  if (!file) return fail("cannot be made", std::strerror(errno));
  set_handle(open_gdbm(std::move(file), staging_->file_path(), GDBM_NEWDB));
  if (!db_) return fail("cannot be made", gdbm_failure());
  takes_changes_ = has_changes_ = true;
  return true;
}

// Empty, with errno set, where there is no room, or no folder to make it in.
Descriptor StoreFile::make_copy_file() const {
  return staging_ ? staging_->make_file() : Descriptor();
}

Descriptor StoreFile::copy_original() const {
  Descriptor copy = make_copy_file();
  return copy && copy_bytes(original_, copy) ? std::move(copy) : Descriptor();
}

GdbmFile StoreFile::open_original() {
  staging_.reset();  // gives back what room a copy has taken
  return original_ ? open_gdbm(original_.duplicate(), path_, GDBM_READER) : GdbmFile();
}

bool StoreFile::rebuild(const Descriptor& copy) {
  db_.reset();
  forget_free_space(copy);
  set_handle(open_gdbm(copy.duplicate(), staging_->file_path(), GDBM_WRITER));
  gdbm_recovery outcome{};
  if (!db_ || gdbm_recover(db_.get(), &outcome, GDBM_RCVR_FORCE) != 0) return false;
  const std::size_t kept = outcome.recovered_keys - outcome.duplicate_keys - remove_torn_records(db_.get());
  has_changes_ = true;
  error_printf("Song store %s was damaged and has been rebuilt with %zu records\n", path_.c_str(), kept);
  return true;
}

// A fault that cost one copy may have passed.
bool StoreFile::can_change() {
  if (takes_changes_ || !may_try_anew_ || new_copies_left_ == 0) return takes_changes_;
  --new_copies_left_;
  return load() && takes_changes_;
}

template <class Change>
bool StoreFile::change(std::size_t record_size, Change make_change) {
  if (!can_change() || !has_room_for(db_.get(), record_size)) return false;
  if (make_change(db_.get()) == 0) return has_changes_ = true;
  if (gdbm_needs_recovery(db_.get()) != 0) lose_changes(gdbm_db_strerror(db_.get()));
  return false;
}

bool StoreFile::put(Bytes key, Bytes record) {
  return change(record.size(),
                [&](GDBM_FILE db) { return gdbm_store(db, as_datum(key), as_datum(record), GDBM_REPLACE); });
}

bool StoreFile::remove(Bytes key) {
  return change(0, [&](GDBM_FILE db) { return gdbm_delete(db, as_datum(key)); });
}

void StoreFile::lose_changes(const std::string& reason) {
  fail("is left as it was, without this run's changes", reason);
  takes_changes_ = has_changes_ = false;
  lost_changes_ = may_try_anew_ = true;
  set_handle(open_original());
}

void StoreFile::set_handle(GdbmFile db) {
  db_ = std::move(db);
  ++handles_made_;
}

bool StoreFile::save() {
  if (takes_changes_ && has_changes_) {
    if (!replace_original())
      lose_changes(gdbm_failure());
    else if (!staging_->sync_place_of_store())
      lost_changes_ = !fail("may be as it was after a power failure", std::strerror(errno));
  }
  takes_changes_ = false;
  return !lost_changes_;
}

// The disk must have the copy before it gets the store's name.
bool StoreFile::replace_original() {
  const int file = gdbm_fdesc(db_.get());
  if (!keep_owner_and_mode(original_, file)) return false;
  give_room_back(file);
  gdbm_errno = GDBM_FILE_SYNC_ERROR;
  return gdbm_sync(db_.get()) == 0 && staging_->replace_store();
}

bool StoreFile::fail(const char* what, const std::string& reason) const {
  const int error = errno;
  const bool is_foreign = error == EINVAL || error == EMLINK;
  error_printf("Song store %s %s: %s%s\n", path_.c_str(), what, reason.c_str(),
               is_foreign ? "; move it away, and the next scan makes a new one" : "");
  errno = error;
  return false;
}

}  // namespace corvexal
