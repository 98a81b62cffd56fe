// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sqlite3.h>

#include <memory>
#include <string>

#include "base/place.h"

namespace corvexal {

// The files of one catalogue as SQLite gets to see them: the database, its journal and what belongs to its
// write-ahead log, all in the folder that was found and is held open, none of them a symbolic link or a file
// with a second hard link, whatever is swapped while the run goes on. Any other name that SQLite meets in a
// file leads nowhere. A journal's super-journal is such a name: SQLite would delete it.
class CatalogueFiles {
 public:
  // Finds the files of a catalogue, which need not exist. Nothing when its folder is missing or cannot be
  // reached, or when one of them is refused: then `refusal` is set to the reason.
  [[nodiscard]] static std::unique_ptr<CatalogueFiles> find(const std::string& path, std::string& refusal);

  CatalogueFiles(const CatalogueFiles&) = delete;
  CatalogueFiles& operator=(const CatalogueFiles&) = delete;
  ~CatalogueFiles();

  // The database's name, for the SQLite file system of this name alone; both are good while this object
  // lives.
  [[nodiscard]] const char* database() const { return name_.c_str(); }
  [[nodiscard]] const char* file_system() const { return vfs_.zName; }

 private:
  struct FileSystem : sqlite3_vfs {
    sqlite3_vfs* system;
    const CatalogueFiles* files;
  };

  explicit CatalogueFiles(Place place);
  [[nodiscard]] std::string refusal() const;
  [[nodiscard]] bool owns(const char* name) const;

  static int full_name(sqlite3_vfs* vfs, const char* name, int size, char* full);
  static int open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* opened);
  static int access(sqlite3_vfs* vfs, const char* name, int flags, int* result);
  static int remove(sqlite3_vfs* vfs, const char* name, int sync_folder);

  Place place_;
  std::string name_;
  FileSystem vfs_{};
};

}  // namespace corvexal
