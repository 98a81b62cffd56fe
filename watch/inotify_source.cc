// SPDX-License-Identifier: GPL-3.0-or-later
#include <dirent.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <set>
#include <string_view>
#include <utility>
#include <vector>

#include "base/descriptor.h"
#include "watch/change_source.h"
#include "watch/folder_table.h"

namespace corvexal {
namespace {

constexpr std::uint32_t kWatched = IN_CREATE | IN_DELETE | IN_CLOSE_WRITE | IN_ATTRIB | IN_MOVED_FROM |
                                   IN_MOVED_TO | IN_MOVE_SELF | IN_DELETE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;

// What the table of folders may take, so that the program stays small whatever it watches.
constexpr std::size_t kMostBytes = 3 << 19;

// What may wait for the end of the events.
constexpr std::size_t kMostWaiting = 1000;

struct CloseFolder {
  void operator()(DIR* folder) const noexcept { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

bool is_folder(DIR* folder, const dirent& entry) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat status {};
  return fstatat(dirfd(folder), entry.d_name, &status, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(status.st_mode);
}

ChangeKind kind_of_file_event(std::uint32_t mask) {
  if ((mask & IN_CREATE) != 0) return ChangeKind::kFileBegun;
  if ((mask & IN_MOVED_TO) != 0) return ChangeKind::kFileArrived;
  if ((mask & IN_CLOSE_WRITE) != 0) return ChangeKind::kFileClosed;
  if ((mask & IN_ATTRIB) != 0) return ChangeKind::kFileTouched;
  return ChangeKind::kFileGone;
}

// A folder that left its place. If it came to another one, the event of that has the same cookie.
struct Departure {
  std::uint32_t cookie;
  std::string path;
};

// While events wait to be read, a path may lead to another folder than the one that an event is about. So
// events about folders only say where to look, and nothing is entered into the table but what was found there
// in a folder that was made sure of. What cannot be made sure of is looked at again after the last event.
class InotifySource : public ChangeSource {
 public:
  InotifySource(const Share& share, std::function<bool()> is_to_end)
      : share_(share), is_to_end_(std::move(is_to_end)), events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

  [[nodiscard]] bool is_open() const { return static_cast<bool>(events_); }
  // Watches the share from its top.
  [[nodiscard]] State start();

  [[nodiscard]] const char* name() const override { return "inotify"; }
  [[nodiscard]] int descriptor() const override { return events_.get(); }
  State read(const Report& report) override;

 private:
  int watch(const std::string& path, std::uint32_t flags);
  Folder open_folder(int number);
  void look_at(int parent, const char* name, const Report& report);
  bool look_into(int number, const Report& report);
  void look_into_new_ones(int first, const Report& report);
  bool enter(DIR* folder, int number, const char* name);
  void handle(const inotify_event& event, const char* name, const Report& report);
  void handle_folder(const inotify_event& event, const char* name, const std::string& path,
                     const Report& report);
  void report_arrival(std::uint32_t cookie, const std::string& path, const Report& report);
  [[nodiscard]] bool is_to_settle() const;
  void settle(const Report& report);
  void forget(int number);
  void stop(State state, std::string trouble);

  const Share share_;
  const std::function<bool()> is_to_end_;
  Descriptor events_;
  FolderTable folders_;
  int top_ = 0;
  std::vector<Departure> departures_;  // without an arrival so far
  std::set<int> unsure_;               // folders to look for, and into, after the last event
  State state_ = State::kWatching;
};

void InotifySource::stop(State state, std::string trouble) {
  if (state_ != State::kWatching) return;
  state_ = state;
  trouble_ = std::move(trouble);
}

// The number of the folder's watch; 0 when there is no such folder (any more) or the source has to stop.
int InotifySource::watch(const std::string& path, std::uint32_t flags) {
  const int number = inotify_add_watch(events_.get(), path.c_str(), flags);
  if (number > 0) return number;
  if (errno == ENOSPC || errno == ENOMEM)
    stop(State::kTooMany, "the limit of watches is reached (fs.inotify.max_user_watches) with " +
                              std::to_string(folders_.size()) + " folders");
  return 0;
}

InotifySource::State InotifySource::start() {
  top_ = watch(share_.folder(), kWatched);
  if (top_ == 0) stop(State::kBroken, std::strerror(errno));
  if (state_ != State::kWatching) return state_;
  folders_.put(top_, 0, share_.folder());
  look_into_new_ones(top_, [](const DiskChange&) {});
  return state_;
}

// Opens the folder of a watch by its path, if that leads to it: watching a folder twice gives the same
// number.
Folder InotifySource::open_folder(int number) {
  const auto path = folders_.path(number);
  Folder folder(path ? opendir(path->c_str()) : nullptr);
  if (!folder) return nullptr;
  const int found = watch(descriptor_path(dirfd(folder.get())), kWatched);
  if (found == number) return folder;
  if (found != 0 && !folders_.contains(found)) inotify_rm_watch(events_.get(), found);
  return nullptr;
}

// Enters what is found under the name in the open folder; true when it is a folder that was not watched yet.
bool InotifySource::enter(DIR* folder, int number, const char* name) {
  const int found = watch(descriptor_path(dirfd(folder)) + "/" + name, kWatched | IN_DONT_FOLLOW);
  if (found == 0) return false;
  const bool is_new = !folders_.contains(found);
  if (!folders_.is_at(found, number, name)) folders_.put(found, number, name);
  if (is_new && folders_.bytes() > kMostBytes)
    stop(State::kTooMany,
         "the limit of folders watched one by one is reached with " + std::to_string(folders_.size()));
  return is_new;
}

void InotifySource::look_at(int parent, const char* name, const Report& report) {
  const Folder folder = open_folder(parent);
  const int last = folders_.last();
  if (!folder)
    unsure_.insert(parent);
  else if (enter(folder.get(), parent, name))
    look_into_new_ones(last + 1, report);
}

// Enters the folder's sub-folders; false when it is not where it was last seen. Its files may have been begun
// before it was watched, so they are reported as begun.
bool InotifySource::look_into(int number, const Report& report) {
  if (is_to_end_()) stop(State::kBroken, "it was given up");
  if (state_ != State::kWatching || !folders_.contains(number)) return false;
  const Folder folder = open_folder(number);
  if (!folder) {
    unsure_.insert(number);
    return false;
  }
  const std::string path = folders_.path(number).value_or("");
  while (const dirent* entry = readdir(folder.get())) {
    const std::string entry_path = path + "/" + entry->d_name;
    const bool is_a_folder = is_folder(folder.get(), *entry);
    if (share_.passes_over(entry_path, is_a_folder)) continue;
    if (!is_a_folder)
      report({ChangeKind::kFileBegun, entry_path, {}});
    else if (enter(folder.get(), number, entry->d_name))
      report({ChangeKind::kFolderAppeared, entry_path, {}});
    if (state_ != State::kWatching) return false;
  }
  return true;
}

// New watches have ever higher numbers, so the table itself is the queue of the folders to look into.
void InotifySource::look_into_new_ones(int first, const Report& report) {
  for (int number = folders_.first_from(first); number != 0 && state_ == State::kWatching;
       number = folders_.first_from(number + 1))
    look_into(number, report);
}

InotifySource::State InotifySource::read(const Report& report) {
  std::array<char, 1 << 14> buffer;
  const ssize_t size = ::read(events_.get(), buffer.data(), buffer.size());
  const std::string_view events(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  inotify_event event{};
  for (std::size_t at = 0; at < events.size() && state_ == State::kWatching; at += sizeof event + event.len) {
    std::memcpy(&event, events.data() + at, sizeof event);
    handle(event, events.data() + at + sizeof event, report);
  }
  if (is_to_settle()) settle(report);
  return state_;
}

void InotifySource::handle(const inotify_event& event, const char* name, const Report& report) {
  if ((event.mask & IN_Q_OVERFLOW) != 0)
    return stop(State::kBroken, "changes came faster than they were read");
  if ((event.mask & IN_UNMOUNT) != 0) return stop(State::kBroken, "a disk was unmounted");
  if (event.wd == top_ && (event.mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF)) != 0)
    return stop(State::kBroken, "the folder was moved or deleted");
  if ((event.mask & IN_IGNORED) != 0) return folders_.remove(event.wd);
  if ((event.mask & IN_MOVE_SELF) != 0) unsure_.insert(event.wd);
  if (event.len == 0) return;
  const auto folder = folders_.path(event.wd);
  if (!folder) {
    unsure_.insert(event.wd);
    return;
  }
  const std::string path = *folder + "/" + name;
  const bool is_about_folder = (event.mask & IN_ISDIR) != 0;
  if (share_.passes_over(path, is_about_folder)) return;
  if (is_about_folder)
    handle_folder(event, name, path, report);
  else
    report({kind_of_file_event(event.mask), path, {}});
}

void InotifySource::handle_folder(const inotify_event& event, const char* name, const std::string& path,
                                  const Report& report) {
  if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
    report_arrival(event.cookie, path, report);
    look_at(event.wd, name, report);
  } else if ((event.mask & IN_MOVED_FROM) != 0) {
    departures_.push_back({event.cookie, path});
  } else {
    report({(event.mask & IN_DELETE) != 0 ? ChangeKind::kFolderGone : ChangeKind::kFolderTouched, path, {}});
  }
}

// A folder that was made has the cookie 0, which no departure has.
void InotifySource::report_arrival(std::uint32_t cookie, const std::string& path, const Report& report) {
  const auto departure = std::find_if(departures_.begin(), departures_.end(),
                                      [cookie](const Departure& each) { return each.cookie == cookie; });
  if (departure == departures_.end()) return report({ChangeKind::kFolderAppeared, path, {}});
  report({ChangeKind::kFolderRenamed, path, departure->path});
  departures_.erase(departure);
}

bool InotifySource::is_to_settle() const {
  if (state_ != State::kWatching || (departures_.empty() && unsure_.empty())) return false;
  pollfd more{events_.get(), POLLIN, 0};
  return poll(&more, 1, 0) == 0 || departures_.size() + unsure_.size() > kMostWaiting;
}

// Decides what no further event will: folders that arrived nowhere are gone, and those that are not found
// where they were last seen are in the share no more. What happened in one that is found may not have been
// reported.
void InotifySource::settle(const Report& report) {
  for (const Departure& departure : std::exchange(departures_, {}))
    report({ChangeKind::kFolderGone, departure.path, {}});
  // One that is found may be above others that were not.
  for (bool has_found = true; std::exchange(has_found, false);)
    for (const int number : std::exchange(unsure_, {})) {
      const int last = folders_.last();
      if (!look_into(number, report)) continue;
      has_found = true;
      look_into_new_ones(last + 1, report);
      report({ChangeKind::kFolderTouched, folders_.path(number).value_or(share_.folder()), {}});
    }
  if (unsure_.empty()) return;
  for (const int number : std::exchange(unsure_, {})) forget(number);
  for (const int number : folders_.orphans()) forget(number);
}

void InotifySource::forget(int number) {
  inotify_rm_watch(events_.get(), number);
  folders_.remove(number);
}

}  // namespace

OpenedSource open_inotify(const Share& share, std::function<bool()> is_to_end) {
  using Failure = OpenedSource::Failure;
  auto source = std::make_unique<InotifySource>(share, std::move(is_to_end));
  if (!source->is_open())
    return {nullptr, Failure::kUnavailable, std::string("no inotify here: ") + std::strerror(errno)};
  switch (source->start()) {
    case ChangeSource::State::kTooMany:
      return {nullptr, Failure::kTooMany, source->trouble()};
    case ChangeSource::State::kBroken:
      return {nullptr, Failure::kNoFolder, source->trouble()};
    case ChangeSource::State::kWatching:
      break;
  }
  return {std::move(source), Failure::kNone, {}};
}

}  // namespace corvexal
