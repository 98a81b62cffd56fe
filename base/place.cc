// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/place.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <climits>
#include <cstring>
#include <string_view>
#include <utility>

namespace corvexal {
namespace {

constexpr int kMostLinks = 40;
constexpr std::string_view kStoreFolder = "/.systemfile/";

// The path of the administrator's folder, which may be empty, and what follows it.
std::pair<std::string, std::string> split_at_share(const std::string& path) {
  const std::size_t store = path.rfind(kStoreFolder);
  const std::size_t slash = store != std::string::npos ? store : path.rfind('/');
  if (slash == std::string::npos) return {".", path};
  return {slash == 0 ? "/" : path.substr(0, slash), path.substr(slash + 1)};
}

// Takes the first name off a path; empty at its end.
std::string cut_name(std::string& path) {
  const std::size_t start = path.find_first_not_of('/');
  if (start == std::string::npos) return {};
  const std::size_t end = path.find('/', start);
  std::string name = path.substr(start, end - start);
  path = end == std::string::npos ? "" : path.substr(end);
  return name;
}

bool has_more_names(const std::string& path) {
  return path.find_first_not_of('/') != std::string::npos;
}

Descriptor look_at(int folder, const std::string& name) {
  return Descriptor(openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
}

// Where a link leads; nothing for one that anybody but root or the runner of the program may have put there:
// who owns no link can still give root's a second name.
std::optional<std::string> target_of(const Descriptor& link, const struct stat& status) {
  const bool is_trusted = status.st_uid == 0 || status.st_uid == geteuid();
  std::array<char, PATH_MAX> target{};
  const ssize_t length = readlinkat(link.get(), "", target.data(), target.size());
  errno = ELOOP;
  if (!is_trusted || status.st_nlink > 1 || length <= 0) return std::nullopt;
  return std::string(target.data(), static_cast<std::size_t>(length));
}

bool is_plain(const Descriptor& file) {
  struct stat status {};
  if (!file || fstat(file.get(), &status) != 0) return false;
  errno = S_ISLNK(status.st_mode) ? ELOOP : S_ISREG(status.st_mode) ? EMLINK : EINVAL;
  return S_ISREG(status.st_mode) && status.st_nlink <= 1;
}

// One walk along a path, from the administrator's folder on.
class Walk {
 public:
  Walk(const std::string& start, std::string rest) : rest_(std::move(rest)) { go_to(start); }

  std::optional<Place> find(MissingFolders missing) {
    while (folder_) {
      const std::string name = cut_name(rest_);
      const bool is_last = !has_more_names(rest_);
      if (name.empty()) {
        errno = EINVAL;
        break;
      }
      Descriptor seen = look_at(folder_.get(), name);
      if (!seen && errno == ENOENT && is_last) return place_of(name);
      if (!seen && errno == ENOENT && missing == MissingFolders::kMake) seen = make_folder(name);
      struct stat status {};
      if (!seen || fstat(seen.get(), &status) != 0) break;
      if (S_ISLNK(status.st_mode)) {
        if (!follow(seen, status)) break;
      } else if (is_last) {
        return place_of(name);
      } else {
        folder_ = std::move(seen);  // what is no folder fails at the next name
        path_.append("/").append(name);
      }
    }
    return std::nullopt;
  }

 private:
  void go_to(const std::string& folder) {
    folder_ = Descriptor(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    path_ = folder == "/" ? "" : folder;
  }

  bool follow(const Descriptor& link, const struct stat& status) {
    const auto target = target_of(link, status);
    if (!target || ++links_ > kMostLinks) return false;
    rest_ = *target + rest_;
    if (target->starts_with('/')) go_to("/");
    return true;
  }

  Descriptor make_folder(const std::string& name) {
    if (mkdirat(folder_.get(), name.c_str(), 0777) != 0 && errno != EEXIST) return {};
    return look_at(folder_.get(), name);
  }

  std::optional<Place> place_of(const std::string& name) { return Place{std::move(folder_), name, path_}; }

  Descriptor folder_;
  std::string path_;
  std::string rest_;
  int links_ = 0;
};

}  // namespace

std::string Place::path_of(const std::string& file_name) const {
  const std::string held = descriptor_path(folder.get());
  return (access(held.c_str(), F_OK) == 0 ? held : folder_path) + '/' + file_name;
}

std::optional<Place> find_place(const std::string& path, MissingFolders missing) {
  auto [start, rest] = split_at_share(path);
  return Walk(start, std::move(rest)).find(missing);
}

Descriptor reopen(const Descriptor& seen, int folder, const std::string& path, int flags) {
  flags |= O_CLOEXEC;
  Descriptor file(open(descriptor_path(seen.get()).c_str(), flags & ~O_NOFOLLOW));
  const bool no_proc = !file && errno == ENOENT;
  return no_proc ? Descriptor(openat(folder, path.c_str(), flags | O_NONBLOCK)) : std::move(file);
}

Descriptor open_plain_file(int folder, const std::string& name, int flags, mode_t mode) {
  const Descriptor seen = look_at(folder, name);
  if (!seen && errno == ENOENT && (flags & O_CREAT) != 0)
    return Descriptor(openat(folder, name.c_str(), flags | O_EXCL | O_NOFOLLOW | O_CLOEXEC, mode));
  if (seen && (flags & O_EXCL) != 0) errno = EEXIST;
  if (!seen || (flags & O_EXCL) != 0 || !is_plain(seen)) return {};
  Descriptor file = reopen(seen, folder, name, (flags & ~O_CREAT) | O_NOFOLLOW);
  return is_plain(file) ? std::move(file) : Descriptor();
}

bool is_plain_or_missing(int folder, const std::string& name) {
  const Descriptor seen = look_at(folder, name);
  return seen ? is_plain(seen) : errno == ENOENT;
}

const char* why_refused(int error) {
  switch (error) {
    case ELOOP:
      return "a symbolic link on the way does not belong to root";
    case EMLINK:
      return "it has a second hard link";
    case EINVAL:
      return "it is no regular file";
    default:
      return std::strerror(error);
  }
}

}  // namespace corvexal
