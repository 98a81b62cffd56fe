// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "base/descriptor.h"
#include "base/place.h"
#include "songdb/gdbm_file.h"
#include "songdb/staging_folder.h"

namespace corvexal {

// The song store's file while a run works on it. gdbm cannot take back a change that a full disk, a fault or
// a kill cuts short, so all work is done on a copy in the store's staging folder, and save() puts the copy in
// the store's place at once. Until then, and when anything fails, the store is as it was.
class StoreFile {
 public:
  // Opens the store, or begins an empty one: where it is missing or empty, with `emptied`, and when the
  // record of its first key is of another version. A damaged one is rebuilt from every record that can still
  // be read, with a line on standard error. Where no copy can be made the store is only read, with such a
  // line too. Nothing on failure, the reason on standard error and errno set: what is no gdbm file of this
  // host, and what base/place.h refuses, is left as it is.
  [[nodiscard]] static std::unique_ptr<StoreFile> open(const std::string& path, bool emptied);

  // Opens an existing store that is only read. Nothing, in silence, when there is none that can be.
  [[nodiscard]] static std::unique_ptr<StoreFile> open_to_read(const std::string& path);

  StoreFile(const StoreFile&) = delete;
  StoreFile& operator=(const StoreFile&) = delete;

  // For look-ups; null when changes to a new store were lost. Good while handles_made() stays the same.
  [[nodiscard]] GDBM_FILE db() const { return db_.get(); }
  [[nodiscard]] unsigned handles_made() const { return handles_made_; }

  // Stores a record in place of an earlier one of that key, or deletes one. False when that is not possible,
  // as on a full disk, and nothing has changed. When gdbm fails half-way the copy, and with it all that was
  // changed, is lost, as one line on standard error says. The next change then tries a new copy, a few times
  // a run; after that the store is only read, as it was found.
  bool put(Bytes key, Bytes record);
  bool remove(Bytes key);

  // Makes the changes last, with the owner and permissions of the file that they replace where the file
  // system knows them, and ends them: the store is only read from then on. False when any were lost, now with
  // a line on standard error or before.
  [[nodiscard]] bool save();

 private:
  StoreFile(std::string path, bool emptied) : path_(std::move(path)), emptied_(emptied) {}

  bool load();
  bool begin_empty();
  bool can_change();
  [[nodiscard]] Descriptor make_copy_file() const;
  [[nodiscard]] Descriptor copy_original() const;
  GdbmFile open_original();
  bool rebuild(const Descriptor& copy);
  template <class Change>
  bool change(std::size_t record_size, Change make_change);
  bool replace_original();
  void lose_changes(const std::string& reason);
  void set_handle(GdbmFile db);
  bool fail(const char* what, const std::string& reason) const;

  std::string path_;  // for messages
  bool emptied_;
  std::optional<Place> place_;
  Descriptor original_;  // none where the store was missing
  std::unique_ptr<StagingFolder> staging_;
  GdbmFile db_;
  unsigned handles_made_ = 0;
  int new_copies_left_ = 3;  // each costs a copy of the whole store
  bool takes_changes_ = false, has_changes_ = false, lost_changes_ = false, may_try_anew_ = false;
};

}  // namespace corvexal
