// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/folder_cursor.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "base/file.h"
#include "catalogue/folder_digests.h"
#include "catalogue/scan.h"

namespace corvexal {

FolderCursor::FolderCursor(const std::string& folder)
    : path_size_(folder.size()), entries_(folder), error_(entries_.error()) {
  if (error_ != 0) return;
  folder_ = open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC);
  if (folder_ < 0) error_ = errno;
}

FolderCursor::~FolderCursor() {
  if (folder_ >= 0) close(folder_);
}

const FolderEntry* FolderCursor::next() {
  while (folder_ >= 0 && at_ < entries_.size()) {
    if (!look_at(entries_[at_++])) continue;
    add_to_digest();
    return &entry_;
  }
  return nullptr;
}

void FolderCursor::rewind() {
  at_ = 0;
  digest_ = {};
  has_digest_ = true;
}

void FolderCursor::add_to_digest() {
  digest_.add(entry_.name).add(static_cast<std::uint64_t>(entry_.kind));
  if (entry_.kind == EntryKind::kUnknown) has_digest_ = false;
  if (entry_.kind == EntryKind::kFile) digest_.add(entry_.status);
}

std::uint64_t FolderCursor::digest() const {
  return has_digest_ ? Digest(digest_).add(holds_entries() ? 1 : 0).value() : FolderDigests::kCompareAgain;
}

// False for an entry that does not matter.
bool FolderCursor::look_at(std::string_view name) {
  if (path_size_ + name.size() >= kFullPathLimit) return false;
  entry_.name = name;
  entry_.media = MediaKind::kOther;
  // Ends with the NUL that follows each name in the list.
  if (fstatat(folder_, name.data(), &entry_.status, AT_SYMLINK_NOFOLLOW) != 0) {
    entry_.kind = EntryKind::kUnknown;
    entry_.error = errno;
    return !says_gone(entry_.error);
  }
  if (S_ISDIR(entry_.status.st_mode)) {
    entry_.kind = EntryKind::kFolder;
    return true;
  }
  if (!S_ISREG(entry_.status.st_mode)) return false;
  const auto extension = media_extension(name);
  entry_.kind = EntryKind::kFile;
  if (extension) entry_.media = media_kind(*extension);
  return entry_.media != MediaKind::kOther;
}

}  // namespace corvexal
