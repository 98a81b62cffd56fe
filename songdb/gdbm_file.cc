// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/gdbm_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstring>
#include <utility>

#include "base/place.h"

namespace corvexal {
namespace {

// What a record takes at least: its slot in a bucket, with hash, key start, offset and two sizes.
constexpr std::uint64_t kSlotSize = 24;

// The start of a file's header, in host byte order:
//     0 magic | 32 end of the used space, 64 bits | 40 free list: 40 room, 44 count, 48 next block, 64 bits
constexpr std::uint32_t kMagicOf64BitFiles = 0x13579ACF;
constexpr std::size_t kUsedEndAt = 32;
constexpr std::size_t kFreeCountAt = 44;
constexpr std::size_t kFreeListEnd = 56;

std::uint64_t size_of(GDBM_FILE db) {
  struct stat status {};
  return fstat(gdbm_fdesc(db), &status) == 0 ? static_cast<std::uint64_t>(status.st_size) : 0;
}

// gdbm grows a file up to the end that its header names before it stores anything: a damaged header would
// fill the disk. A file that gdbm had finished with ends just there.
bool ends_where_its_header_says(GDBM_FILE db) {
  const int file = gdbm_fdesc(db);
  std::uint32_t magic = 0;
  std::uint64_t used_end = 0;
  if (pread(file, &magic, sizeof magic, 0) != sizeof magic ||
      pread(file, &used_end, sizeof used_end, kUsedEndAt) != sizeof used_end)
    return false;
  return magic != kMagicOf64BitFiles || used_end == size_of(db);
}

}  // namespace

GdbmFile open_gdbm(Descriptor file, const std::string& path, int mode) {
  constexpr int kFlags = GDBM_NOLOCK | GDBM_NOMMAP | GDBM_CLOEXEC;
  lseek(file.get(), 0, SEEK_SET);
  errno = 0;
  GdbmFile db(gdbm_fd_open(file.get(), path.c_str(), 0, mode | kFlags, nullptr));
  if (db) file.release();
  if (!db && errno == 0) errno = EINVAL;
  return db;
}

GdbmFile open_gdbm(const std::string& path, int mode) {
  gdbm_errno = GDBM_FILE_OPEN_ERROR;
  const auto place = find_place(path);
  if (!place) return {};
  Descriptor file =
      open_plain_file(place->folder.get(), place->name, mode == GDBM_READER ? O_RDONLY : O_RDWR);
  return file ? open_gdbm(std::move(file), path, mode) : GdbmFile();
}

std::string gdbm_failure() {
  const std::string reason = std::strerror(errno);
  return gdbm_errno == GDBM_NO_ERROR ? reason : gdbm_strerror(gdbm_errno) + (": " + reason);
}

Bytes Datum::bytes() const {
  return {reinterpret_cast<const std::uint8_t*>(data_.get()), size_};
}

datum as_datum(Bytes bytes) {
  auto* data = const_cast<std::uint8_t*>(bytes.data());
  return {reinterpret_cast<char*>(data), static_cast<int>(bytes.size())};
}

KeyWalk::KeyWalk(GDBM_FILE db) : db_(db), steps_left_(size_of(db) / kSlotSize) {}

bool KeyWalk::next() {
  key_ = Datum(started_ ? gdbm_nextkey(db_, key_.borrowed()) : gdbm_firstkey(db_));
  started_ = true;
  if (!key_) {
    damaged_ = gdbm_last_errno(db_) != GDBM_ITEM_NOT_FOUND;
    return false;
  }
  damaged_ = steps_left_-- == 0;
  return !damaged_;
}

void forget_free_space(const Descriptor& file) {
  struct stat status {};
  std::uint32_t magic = 0;
  if (fstat(file.get(), &status) != 0 || pread(file.get(), &magic, sizeof magic, 0) != sizeof magic ||
      magic != kMagicOf64BitFiles)
    return;
  // Where this cannot be written, the recovery meets the same fault.
  const auto used_end = 2 * static_cast<std::uint64_t>(status.st_size);
  constexpr std::array<char, kFreeListEnd - kFreeCountAt> kNothing{};
  [[maybe_unused]] ssize_t written = pwrite(file.get(), &used_end, sizeof used_end, kUsedEndAt);
  written = pwrite(file.get(), kNothing.data(), kNothing.size(), kFreeCountAt);
}

bool looks_sound(GDBM_FILE db) {
  return gdbm_needs_recovery(db) == 0 && ends_where_its_header_says(db) && gdbm_avail_verify(db) == 0;
}

bool is_sound(GDBM_FILE db) {
  if (!looks_sound(db)) return false;
  gdbm_count_t counted_by_buckets = 0, found = 0;
  if (gdbm_count(db, &counted_by_buckets) != 0) return false;
  KeyWalk walk(db);
  while (walk.next()) ++found;
  return !walk.damaged() && found == counted_by_buckets;
}

}  // namespace corvexal
