// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/catalogue_files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "base/byte_reader.h"
#include "base/file.h"

namespace corvexal {
namespace {

constexpr const char* kSuffixes[] = {"", "-journal", "-wal", "-shm"};

bool is_by_descriptor(std::string_view path) {
  constexpr std::string_view kHeld = "/proc/self/fd/";
  return path.starts_with(kHeld) && path.find('/', kHeld.size()) != std::string_view::npos;
}

// Stands in for SQLite's own open(): what was found plain may have been swapped since.
int open_for_sqlite(const char* path, int flags, mode_t mode) {
  if (!is_by_descriptor(path)) return ::open(path, flags, mode);
  return open_plain_file(AT_FDCWD, path, flags, mode).release();
}

// The end of a journal that names a super-journal (SQLite's file format, "The Rollback Journal"), big-endian:
//     the name | 4 its length | 4 the sum of its bytes | 8 magic
// A journal whose first byte is zero is spent.
bool names_super_journal(const Place& place, const std::string& journal) {
  constexpr std::array<std::uint8_t, 8> kMagic = {0xd9, 0xd5, 0x05, 0xf9, 0x20, 0xa1, 0x63, 0xd7};
  constexpr std::size_t kTailSize = 16;
  File file(open_plain_file(place.folder.get(), journal, O_RDONLY));
  std::array<std::uint8_t, kTailSize> tail{};
  std::uint8_t first = 0;
  if (file.size() <= kTailSize) return false;
  file.read_at(0, {&first, 1});
  file.read_at(file.size() - kTailSize, tail);  // what cannot be read stays zero
  const bool has_magic = std::equal(kMagic.begin(), kMagic.end(), tail.begin() + kTailSize - kMagic.size());
  std::uint32_t length = 0;
  return first != 0 && has_magic && ByteReader(tail).be32(length) && length != 0 &&
         length <= file.size() - kTailSize;
}

}  // namespace

std::unique_ptr<CatalogueFiles> CatalogueFiles::find(const std::string& path, std::string& refusal) {
  std::optional<Place> place = find_place(path);
  if (!place) {
    if (errno == ELOOP) refusal = why_refused(errno);
    return nullptr;
  }
  std::unique_ptr<CatalogueFiles> files(new CatalogueFiles(std::move(*place)));
  const std::string reason = files->refusal();
  if (reason.empty()) return files;
  refusal = reason;
  return nullptr;
}

CatalogueFiles::CatalogueFiles(Place place) : place_(std::move(place)), name_(place_.path_of(place_.name)) {
  sqlite3_vfs* const system = sqlite3_vfs_find(nullptr);
  system->xSetSystemCall(system, "open", reinterpret_cast<sqlite3_syscall_ptr>(open_for_sqlite));
  static_cast<sqlite3_vfs&>(vfs_) = *system;
  vfs_.zName = name_.c_str();
  vfs_.xFullPathname = full_name;
  vfs_.xOpen = open;
  vfs_.xAccess = access;
  vfs_.xDelete = remove;
  vfs_.system = system;
  vfs_.files = this;
  sqlite3_vfs_register(&vfs_, 0);
}

CatalogueFiles::~CatalogueFiles() {
  sqlite3_vfs_unregister(&vfs_);
}

std::string CatalogueFiles::refusal() const {
  for (const char* suffix : kSuffixes) {
    const std::string name = place_.name + suffix;
    if (!is_plain_or_missing(place_.folder.get(), name)) return name + ": " + why_refused(errno);
  }
  const std::string journal = place_.name + "-journal";
  if (names_super_journal(place_, journal)) return journal + ": it names a super-journal";
  return "";
}

bool CatalogueFiles::owns(const char* name) const {
  const std::string_view whole = name;
  return whole.starts_with(name_) && std::find(std::begin(kSuffixes), std::end(kSuffixes),
                                               whole.substr(name_.size())) != std::end(kSuffixes);
}

// SQLite would look for the links in the name, and lose the folder that is held.
int CatalogueFiles::full_name(sqlite3_vfs* /*vfs*/, const char* name, int size, char* full) {
  const std::size_t bytes = std::strlen(name) + 1;
  if (bytes > static_cast<std::size_t>(size)) return SQLITE_CANTOPEN;
  std::memcpy(full, name, bytes);
  return SQLITE_OK;
}

int CatalogueFiles::open(sqlite3_vfs* vfs, const char* name, sqlite3_file* file, int flags, int* opened) {
  const auto& self = *static_cast<FileSystem*>(vfs);
  file->pMethods = nullptr;
  const bool is_temporary = name == nullptr;
  if (!is_temporary && !self.files->owns(name)) return SQLITE_CANTOPEN;
  return self.system->xOpen(self.system, name, file, flags, opened);
}

int CatalogueFiles::access(sqlite3_vfs* vfs, const char* name, int flags, int* result) {
  const auto& self = *static_cast<FileSystem*>(vfs);
  if (!self.files->owns(name)) return SQLITE_IOERR_ACCESS;
  return self.system->xAccess(self.system, name, flags, result);
}

int CatalogueFiles::remove(sqlite3_vfs* vfs, const char* name, int sync_folder) {
  const auto& self = *static_cast<FileSystem*>(vfs);
  if (!self.files->owns(name)) return SQLITE_IOERR_DELETE;
  return self.system->xDelete(self.system, name, sync_folder);
}

}  // namespace corvexal
