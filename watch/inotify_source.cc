#include <dirent.h>
#include <sys/inotify.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <deque>
#include <memory>
#include <string_view>
#include <utility>

#include "base/descriptor.h"
#include "watch/change_source.h"
#include "watch/folder_table.h"

namespace corvexal {
namespace {

constexpr std::uint32_t kWatched = IN_CREATE | IN_DELETE | IN_CLOSE_WRITE | IN_ATTRIB | IN_MOVED_FROM |
                                   IN_MOVED_TO | IN_MOVE_SELF | IN_DELETE_SELF | IN_ONLYDIR | IN_EXCL_UNLINK;

// What the table of folders may take, so that the program stays small whatever it watches.
constexpr std::size_t kMostBytes = 3 << 19;

struct CloseFolder {
  void operator()(DIR* folder) const noexcept { closedir(folder); }
};
using Folder = std::unique_ptr<DIR, CloseFolder>;

bool is_folder_entry(const dirent& entry, const std::string& path) {
  if (entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
  struct stat status {};
  return lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

ChangeKind kind_of_file_event(std::uint32_t mask) {
  if ((mask & IN_CREATE) != 0) return ChangeKind::kFileBegun;
  if ((mask & IN_MOVED_TO) != 0) return ChangeKind::kFileArrived;
  if ((mask & IN_CLOSE_WRITE) != 0) return ChangeKind::kFileClosed;
  if ((mask & IN_ATTRIB) != 0) return ChangeKind::kFileTouched;
  return ChangeKind::kFileGone;
}

// A folder's move arrives as up to three events: from a place, to a place, and that the folder itself moved,
// which tells its watch.
struct Move {
  std::uint32_t cookie;
  int from_parent;
  std::string from_name, from_path;
  int to_parent = 0;  // 0: to where nothing is watched
  std::string to_name;
};

class InotifySource : public ChangeSource {
 public:
  InotifySource(const Share& share, std::function<bool()> is_to_end)
      : share_(share), is_to_end_(std::move(is_to_end)), events_(inotify_init1(IN_NONBLOCK | IN_CLOEXEC)) {}

  [[nodiscard]] bool is_open() const { return static_cast<bool>(events_); }
  // Watches the share from its top; errno tells why not.
  [[nodiscard]] State start();

  [[nodiscard]] const char* name() const override { return "inotify"; }
  [[nodiscard]] int descriptor() const override { return events_.get(); }
  State read(const Report& report) override;

 private:
  int watch(const std::string& path, std::uint32_t flags = kWatched | IN_DONT_FOLLOW);
  void watch_tree(int parent, std::string_view name, const Report& report);
  void watch_folders_from(int first, const Report& report);
  void look_into(int folder, const Report& report);
  void handle(const inotify_event& event, const char* name, const Report& report);
  void handle_folder(const inotify_event& event, const char* name, const std::string& path,
                     const Report& report);
  void folder_arrives(const inotify_event& event, const char* name, const std::string& path,
                      const Report& report);
  void folder_moved(int folder, const Report& report);
  void forget(int folder);
  void forget_orphans();
  void stop(State state, std::string trouble);

  const Share share_;
  const std::function<bool()> is_to_end_;
  Descriptor events_;
  FolderTable folders_;
  int top_ = 0;
  std::deque<Move> moves_;  // the last few
  bool has_orphans_ = false;
  State state_ = State::kWatching;
};

void InotifySource::stop(State state, std::string trouble) {
  if (state_ != State::kWatching) return;
  state_ = state;
  trouble_ = std::move(trouble);
}

// The number of the folder's watch; 0 when there is no such folder (any more) or the source has to stop.
int InotifySource::watch(const std::string& path, std::uint32_t flags) {
  const int watch = inotify_add_watch(events_.get(), path.c_str(), flags);
  if (watch > 0) return watch;
  if (errno == ENOSPC || errno == ENOMEM)
    stop(State::kTooMany, "the limit of watches is reached (fs.inotify.max_user_watches) with " +
                              std::to_string(folders_.size()) + " folders");
  return 0;
}

InotifySource::State InotifySource::start() {
  top_ = watch(share_.folder(), kWatched);  // the share itself may be named by a link
  if (top_ == 0) stop(State::kBroken, std::strerror(errno));
  if (state_ != State::kWatching) return state_;
  folders_.put(top_, 0, share_.folder());
  watch_folders_from(top_, [](const Change&) {});
  return state_;
}

// Watches a folder and all below it. Its files may have been begun before it was watched, so they are
// reported.
void InotifySource::watch_tree(int parent, std::string_view name, const Report& report) {
  const auto path = folders_.path(parent);
  if (!path) return;
  const int first = watch(*path + "/" + std::string(name));
  if (first == 0 || folders_.contains(first)) return;
  folders_.put(first, parent, name);
  watch_folders_from(first, report);
}

// New watches have ever higher numbers, so the table itself is the queue of the folders to look into.
void InotifySource::watch_folders_from(int first, const Report& report) {
  for (int folder = first; folder != 0 && state_ == State::kWatching; folder = folders_.after(folder))
    look_into(folder, report);
}

void InotifySource::look_into(int folder, const Report& report) {
  if (is_to_end_()) return stop(State::kBroken, "it was given up");
  const auto path = folders_.path(folder);
  const Folder stream(path ? opendir(path->c_str()) : nullptr);
  if (!stream) return;
  while (const dirent* entry = readdir(stream.get())) {
    const std::string entry_path = *path + "/" + entry->d_name;
    const bool is_folder = is_folder_entry(*entry, entry_path);
    if (share_.passes_over(entry_path, is_folder)) continue;
    if (!is_folder)
      report({ChangeKind::kFileBegun, entry_path, {}});
    else if (const int found = watch(entry_path); found != 0)
      folders_.put(found, folder, entry->d_name);
    if (folders_.bytes() > kMostBytes)
      stop(State::kTooMany, "the limit of folders that are watched one by one is reached with " +
                                std::to_string(folders_.size()));
    if (state_ != State::kWatching) return;
  }
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
  if (has_orphans_) forget_orphans();
  return state_;
}

void InotifySource::handle(const inotify_event& event, const char* name, const Report& report) {
  if ((event.mask & IN_Q_OVERFLOW) != 0)
    return stop(State::kBroken, "changes came faster than they were read");
  if ((event.mask & IN_UNMOUNT) != 0) return stop(State::kBroken, "a disk was unmounted");
  if (event.wd == top_ && (event.mask & (IN_IGNORED | IN_DELETE_SELF | IN_MOVE_SELF)) != 0)
    return stop(State::kBroken, "the folder was moved or deleted");
  if ((event.mask & IN_IGNORED) != 0) return folders_.remove(event.wd);
  if ((event.mask & IN_MOVE_SELF) != 0) return folder_moved(event.wd, report);
  const auto folder = folders_.path(event.wd);
  if (event.len == 0 || !folder) return;
  const std::string path = *folder + "/" + name;
  const bool is_folder = (event.mask & IN_ISDIR) != 0;
  if (share_.passes_over(path, is_folder)) return;
  if (is_folder)
    handle_folder(event, name, path, report);
  else
    report({kind_of_file_event(event.mask), path, {}});
}

void InotifySource::handle_folder(const inotify_event& event, const char* name, const std::string& path,
                                  const Report& report) {
  if ((event.mask & IN_CREATE) != 0) {
    watch_tree(event.wd, name, report);
    report({ChangeKind::kFolderAppeared, path, {}});
  } else if ((event.mask & IN_MOVED_FROM) != 0) {
    constexpr std::size_t kKept = 16;
    if (moves_.size() == kKept) moves_.pop_front();
    moves_.push_back({event.cookie, event.wd, name, path, 0, {}});
  } else if ((event.mask & IN_MOVED_TO) != 0) {
    folder_arrives(event, name, path, report);
  } else {
    report({(event.mask & IN_DELETE) != 0 ? ChangeKind::kFolderGone : ChangeKind::kFolderTouched, path, {}});
  }
}

void InotifySource::folder_arrives(const inotify_event& event, const char* name, const std::string& path,
                                   const Report& report) {
  const auto move = std::find_if(moves_.rbegin(), moves_.rend(),
                                 [&event](const Move& each) { return each.cookie == event.cookie; });
  if (move == moves_.rend()) {
    report({ChangeKind::kFolderAppeared, path, {}});
  } else {
    move->to_parent = event.wd;
    move->to_name = name;
    report({ChangeKind::kFolderRenamed, path, move->from_path});
  }
  // A folder that is watched already is given its new place when its own event comes.
  watch_tree(event.wd, name, report);
}

void InotifySource::folder_moved(int folder, const Report& report) {
  const auto move = std::find_if(moves_.rbegin(), moves_.rend(), [&](const Move& each) {
    return folders_.is_at(folder, each.from_parent, each.from_name);
  });
  if (move == moves_.rend()) return;
  if (move->to_parent != 0) return folders_.put(folder, move->to_parent, move->to_name);
  report({ChangeKind::kFolderGone, move->from_path, {}});
  forget(folder);
  has_orphans_ = true;
}

void InotifySource::forget(int folder) {
  inotify_rm_watch(events_.get(), folder);
  folders_.remove(folder);
}

void InotifySource::forget_orphans() {
  for (const int folder : folders_.orphans()) forget(folder);
  has_orphans_ = false;
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
