// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <memory>
#include <string>

#include "base/descriptor.h"
#include "base/place.h"

namespace corvexal {

// The folder "<store>.new" beside a store, where a run makes the file that is to replace it. Only files of
// this program's own names are ever made, replaced or removed there; what a killed run left is removed too.
class StagingFolder {
 public:
  // Makes the folder beside the store, or takes the one over that is there. Nothing on failure, with errno
  // set.
  [[nodiscard]] static std::unique_ptr<StagingFolder> make(const Place& store);

  StagingFolder(const StagingFolder&) = delete;
  StagingFolder& operator=(const StagingFolder&) = delete;
  ~StagingFolder();

  // Makes the file, empty and for its owner alone, in place of an earlier one; open for reading and writing.
  // The descriptor is empty on failure, with errno set.
  [[nodiscard]] Descriptor make_file() const;

  // A path of the file (see Place::path_of).
  [[nodiscard]] std::string file_path() const;

  // Gives the file, which must be on the disk by then, the store's name. False with errno set.
  [[nodiscard]] bool replace_store() const;

  // Has the name outlast a power failure, where the file system syncs folders. False with errno set.
  [[nodiscard]] bool sync_place_of_store() const;

 private:
  StagingFolder(const Place& store, std::string name) : store_(store), name_(std::move(name)) {}
  bool open();
  void remove_own_files() const;

  const Place& store_;
  std::string name_;
  Place here_;
};

}  // namespace corvexal
