// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/staging_folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <string_view>

namespace corvexal {
namespace {

constexpr char kFile[] = "songs.gdb";

// gdbm's recovery writes a file of that name and six more characters first.
bool is_own_file(std::string_view name) {
  constexpr std::size_t kRecoverySuffix = 7;
  const std::string_view file = kFile;
  if (!name.starts_with(file)) return false;
  const std::string_view rest = name.substr(file.size());
  return rest.empty() || (rest.size() == kRecoverySuffix && rest.front() == '.');
}

struct CloseFolder {
  void operator()(DIR* folder) const noexcept { closedir(folder); }
};

}  // namespace

std::unique_ptr<StagingFolder> StagingFolder::make(const Place& store) {
  std::unique_ptr<StagingFolder> staging(new StagingFolder(store, store.name + ".new"));
  return staging->open() ? std::move(staging) : nullptr;
}

bool StagingFolder::open() {
  const int beside = store_.folder.get();
  const char* name = name_.c_str();
  constexpr int kFolder = O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;
  mkdirat(beside, name, 0700);
  here_.folder = Descriptor(openat(beside, name, kFolder));
  if (!here_.folder && (errno == ENOTDIR || errno == ELOOP)) {  // a link or a file that somebody planted
    if (unlinkat(beside, name, 0) != 0 || mkdirat(beside, name, 0700) != 0) return false;
    here_.folder = Descriptor(openat(beside, name, kFolder));
  }
  here_.folder_path = store_.folder_path + "/" + name_;
  if (here_.folder) remove_own_files();
  return static_cast<bool>(here_.folder);
}

StagingFolder::~StagingFolder() {
  const int reason = errno;
  if (here_.folder) remove_own_files();
  unlinkat(store_.folder.get(), name_.c_str(), AT_REMOVEDIR);
  errno = reason;
}

void StagingFolder::remove_own_files() const {
  Descriptor list(openat(here_.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  const std::unique_ptr<DIR, CloseFolder> entries(list ? fdopendir(list.get()) : nullptr);
  if (!entries) return;
  list.release();  // is the list's own now
  while (const dirent* entry = readdir(entries.get()))
    if (is_own_file(entry->d_name)) unlinkat(here_.folder.get(), entry->d_name, 0);
}

Descriptor StagingFolder::make_file() const {
  unlinkat(here_.folder.get(), kFile, 0);
  return open_plain_file(here_.folder.get(), kFile, O_RDWR | O_CREAT | O_EXCL, 0600);
}

std::string StagingFolder::file_path() const {
  return here_.path_of(kFile);
}

bool StagingFolder::replace_store() const {
  return renameat(here_.folder.get(), kFile, store_.folder.get(), store_.name.c_str()) == 0;
}

bool StagingFolder::sync_place_of_store() const {
  const Descriptor folder(openat(store_.folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return !folder || fsync(folder.get()) == 0 || errno == EINVAL;  // not every file system syncs folders
}

}  // namespace corvexal
