// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/stat.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "base/digest.h"
#include "catalogue/folder_entries.h"
#include "catalogue/media_types.h"

namespace corvexal {

// What an entry of a folder is to the catalogue. Hidden entries, symbolic links, what is neither file nor
// folder, paths of 512 bytes and more and files of no media class are nothing to it.
enum class EntryKind {
  kFile,    // a media file
  kFolder,  // a folder
  kUnknown  // what it is cannot be found out now: whatever is known of it stays
};

struct FolderEntry {
  std::string_view name;
  EntryKind kind = EntryKind::kFile;
  MediaKind media = MediaKind::kOther;  // of a file
  struct stat status {};                // of a file
  int error = 0;                        // errno of what cannot be found out
};

// The entries of one folder that matter to the catalogue, in the order of their names' bytes. Each is looked
// at when its turn comes, so memory holds names only.
class FolderCursor {
 public:
  // `folder` with its trailing "/".
  explicit FolderCursor(const std::string& folder);
  ~FolderCursor();
  FolderCursor(const FolderCursor&) = delete;
  FolderCursor& operator=(const FolderCursor&) = delete;

  // The errno of a folder that could not be read, 0 otherwise.
  [[nodiscard]] int error() const { return error_; }

  // True when there is any entry that is not hidden, whatever it is.
  [[nodiscard]] bool holds_entries() const { return entries_.size() > 0; }

  // The next entry, valid until the next call; null at the end.
  const FolderEntry* next();

  // Goes back to the first entry, to look at all of them anew.
  void rewind();

  // Of the entries shown so far a digest that changes with their names, sizes, times and inode numbers;
  // kCompareAgain once one could not be looked at.
  [[nodiscard]] std::uint64_t digest() const;

 private:
  [[nodiscard]] bool look_at(std::string_view name);
  void add_to_digest();

  std::size_t path_size_;
  FolderEntries entries_;
  int error_ = 0;
  int folder_ = -1;
  std::size_t at_ = 0;
  FolderEntry entry_;
  Digest digest_;
  bool has_digest_ = true;
};

}  // namespace corvexal
