// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <sys/types.h>

#include <optional>
#include <string>

#include "base/descriptor.h"

// How the stores' files are reached. Whoever may write to the share can rename, link and swap what lies on it
// while a run goes on, so a path there is walked once, folder by folder, and what it led to is held open.

namespace corvexal {

// Where a file lies: its folder, held open by an O_PATH descriptor, and its name in it.
struct Place {
  Descriptor folder;
  std::string name;
  std::string folder_path;  // the folder's own path, links resolved

  // A path that leads to a file of this name in the held folder, wherever that is moved; without /proc a
  // plain one.
  [[nodiscard]] std::string path_of(const std::string& file_name) const;
};

enum class MissingFolders { kFail, kMake };

// Finds the place of a file that need not exist. The path up to its last ".systemfile", or of a path without
// one up to the last "/", is the administrator's and taken as it stands. From there on a symbolic link is
// followed only when it belongs to root (or to whom the program runs as) and has no second name. Nothing on
// failure, with errno set: ELOOP for a link that is not followed.
[[nodiscard]] std::optional<Place> find_place(const std::string& path,
                                              MissingFolders missing = MissingFolders::kFail);

// Opens `name` in `folder` (AT_FDCWD for the working folder) if it is a regular file without a second hard
// link, and waits for a file server that holds a lease on it. With O_CREAT in `flags` a missing one is made,
// with O_EXCL too only a missing one. On failure the descriptor is empty and errno says why: ELOOP for a
// symbolic link, EMLINK for a second hard link, EINVAL for what is no regular file.
[[nodiscard]] Descriptor open_plain_file(int folder, const std::string& name, int flags, mode_t mode = 0);

// True when open_plain_file would not refuse what has this name, or nothing has; else errno as there.
[[nodiscard]] bool is_plain_or_missing(int folder, const std::string& name);

// Opens by descriptor what was looked at before, an O_PATH descriptor of `path` in `folder`, so that nobody
// can put a pipe or a link in its place meanwhile. Only so may the open wait. Without /proc it is opened by
// its path, where O_NOFOLLOW counts, and does not wait: what was opened has to be looked at again.
[[nodiscard]] Descriptor reopen(const Descriptor& seen, int folder, const std::string& path, int flags);

// Why find_place or open_plain_file refuses a file, for a person: by errno.
[[nodiscard]] const char* why_refused(int error);

}  // namespace corvexal
