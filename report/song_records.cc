// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/song_records.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <functional>
#include <optional>
#include <thread>

#include "base/paths.h"
#include "base/saturate.h"
#include "report/file_status.h"
#include "songdb/record.h"
#include "songdb/update.h"

namespace corvexal::report {
namespace {

std::size_t hash_of(std::string_view path) {
  return std::hash<std::string_view>()(path);
}

// What changes about a file with every write.
struct Version {
  dev_t device{};
  ino_t inode{};
  off_t size{};
  timespec changed{};

  explicit Version(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return;
    device = status.st_dev;
    inode = status.st_ino;
    size = status.st_size;
    changed = status.st_mtim;
  }
  bool operator==(const Version& other) const {
    return device == other.device && inode == other.inode && size == other.size &&
           changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec;
  }
};

// A scan passes over an MP3 file that is too short for one block of frames.
bool is_too_short(const DiskFile& file) {
  constexpr std::uint64_t kShortestMp3 = 1024;
  return file.size < kShortestMp3 && file.name.ends_with(".mp3");
}

// Empty when size and date are those of the record. A file of the year 1970 was stored with the day's date.
std::string_view difference(std::int32_t size, std::int32_t modified, std::uint64_t file_size,
                            std::time_t file_modified) {
  if (size != saturated(file_size)) return "the size differs";
  if (modified != saturated(file_modified) && file_modified != 0) return "the date differs";
  return {};
}

}  // namespace

SongRecords::SongRecords(std::string path) : path_(std::move(path)) {
  constexpr int kTries = 4;
  constexpr std::chrono::milliseconds kPause{100};
  for (int i = 0; i < kTries; ++i) {
    const Version before(path_);
    if (!read() || before == Version(path_)) return;
    std::this_thread::sleep_for(kPause);
  }
  state_ = StoreState::kBeingWritten;
}

// False when there is nothing that could be read again.
bool SongRecords::read() {
  records_.clear();
  damaged_.clear();
  by_path_.clear();
  struct stat status {};
  if (stat(path_.c_str(), &status) != 0 ? is_gone(errno) : S_ISREG(status.st_mode) && status.st_size == 0) {
    state_ = StoreState::kMissing;
    return false;
  }
  store_ = open_gdbm(path_, GDBM_READER);
  state_ = store_ ? StoreState::kRead : StoreState::kUnreadable;
  if (!store_) {
    reason_ = gdbm_failure();
    return true;
  }
  read_records();
  index();
  return true;
}

void SongRecords::read_records() {
  KeyWalk walk(store_.get());
  while (walk.next()) {
    const Datum record(gdbm_fetch(store_.get(), walk.key().borrowed()));
    take(walk.key().bytes(), record.bytes());
  }
  is_sound_ = !walk.damaged() && is_sound(store_.get());
}

void SongRecords::take(Bytes key, Bytes bytes) {
  SongInfo song;
  read_stored_song(bytes, song);
  const bool is_own_key =
      key.size() == sizeof song.id && std::memcmp(key.data(), &song.id, sizeof song.id) == 0;
  if (is_own_key && is_whole_record(bytes) && song.path)
    records_.push_back({song.id, song.file_size, song.time_modified, false, hash_of(*song.path)});
  else
    damaged_.push_back(song.path.value_or(path_));
}

void SongRecords::index() {
  std::sort(records_.begin(), records_.end(), [](const Record& a, const Record& b) { return a.id < b.id; });
  by_path_.resize(records_.size());
  for (std::uint32_t i = 0; i < by_path_.size(); ++i) by_path_[i] = i;
  std::sort(by_path_.begin(), by_path_.end(), [this](std::uint32_t a, std::uint32_t b) {
    return records_[a].path_hash < records_[b].path_hash;
  });
}

SongRecords::Record* SongRecords::record_of(std::uint32_t id) {
  const auto found =
      std::lower_bound(records_.begin(), records_.end(), id,
                       [](const Record& record, std::uint32_t wanted) { return record.id < wanted; });
  return found != records_.end() && found->id == id ? &*found : nullptr;
}

// The first record of a path.
SongRecords::Record* SongRecords::record_at(std::size_t path_hash) {
  const auto found = std::lower_bound(
      by_path_.begin(), by_path_.end(), path_hash,
      [this](std::uint32_t position, std::size_t wanted) { return records_[position].path_hash < wanted; });
  return found != by_path_.end() && records_[*found].path_hash == path_hash ? &records_[*found] : nullptr;
}

std::string SongRecords::stored_path(std::uint32_t id) const {
  const Bytes key(reinterpret_cast<const std::uint8_t*>(&id), sizeof id);
  SongInfo song;
  read_stored_song(Datum(gdbm_fetch(store_.get(), as_datum(key))).bytes(), song);
  return song.path.value_or(path_);
}

// Two files share an id when they are links of each other, or by chance in its 32 bits: the store has room
// for one of them.
bool SongRecords::names_the_same_file(std::uint32_t id) const {
  struct stat status {};
  return stat(stored_path(id).c_str(), &status) == 0 && static_cast<std::uint32_t>(status.st_ino) == id;
}

void SongRecords::meet(const DiskFile& file, ProblemList& problems) {
  if (!is_store_song(file.name) || is_too_short(file)) return;
  disk_has_songs_ = true;
  if (state_ != StoreState::kRead) return;

  const std::size_t hash = hash_of(file.path());
  Record* record = record_of(file.id);
  if (record == nullptr || record->path_hash != hash) {
    const bool is_taken = record != nullptr && names_the_same_file(file.id);
    record = is_taken ? nullptr : record_at(hash);
    if (!is_taken && record == nullptr) problems.add(Kind::kRecordMissing, file.folder, file.name);
    if (record == nullptr) return;
  }
  record->met = true;
  const std::string_view what = difference(record->size, record->modified, file.size, file.modified);
  if (!what.empty()) problems.add(Kind::kRecordStale, file.folder, file.name, what);
}

void SongRecords::finish(ProblemList& problems) {
  if (state_ == StoreState::kMissing && disk_has_songs_) problems.add_path(Kind::kStoreMissing, path_);
  if (state_ == StoreState::kUnreadable) problems.add_path(Kind::kStoreUnreadable, path_, reason_);
  if (state_ != StoreState::kRead) return;
  if (!is_sound_) problems.add_path(Kind::kStoreDamaged, path_);
  for (const std::string& path : damaged_) problems.add_path(Kind::kRecordDamaged, path);
  for (const Record& record : records_)
    if (!record.met) judge_unmet(record, problems);
  store_.reset();
}

// A record of a file that the walk does not see: gone, hidden, or one of several of the same path.
void SongRecords::judge_unmet(const Record& record, ProblemList& problems) {
  const std::string path = stored_path(record.id);
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) {
    if (is_gone(errno)) problems.add_path(Kind::kRecordStale, path, "the file is gone");
    return;
  }
  const std::string_view what =
      difference(record.size, record.modified, static_cast<std::uint64_t>(status.st_size), status.st_mtime);
  if (!what.empty())
    problems.add_path(Kind::kRecordStale, path, what);
  else if (record.id != static_cast<std::uint32_t>(status.st_ino) &&
           record_of(static_cast<std::uint32_t>(status.st_ino)) != nullptr)
    problems.add_path(Kind::kDoubleRecord, path);
}

}  // namespace corvexal::report
