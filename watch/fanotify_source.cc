// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <sys/fanotify.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <climits>
#include <cstring>
#include <memory>
#include <optional>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

#include "base/descriptor.h"
#include "watch/change_source.h"
#include "watch/folder_set.h"
#include "watch/mounts.h"

namespace corvexal {
namespace {

constexpr std::uint64_t kWatched = FAN_CREATE | FAN_DELETE | FAN_CLOSE_WRITE | FAN_ATTRIB | FAN_ONDIR;
constexpr std::uint64_t kSingleMoves = FAN_MOVED_FROM | FAN_MOVED_TO;

constexpr char kNoShare[] = "the folder was moved or deleted";

using FileSystemId = std::array<char, sizeof(fsid_t)>;

// A mount of a watched file system. It is open only while events are read, since an open one cannot be
// unmounted.
struct Mount {
  FileSystemId id;
  std::string point;  // a folder on it
  Descriptor root;
};

// An entry of a folder as an event names it.
struct Place {
  FileSystemId id;
  std::string_view handle;  // the folder's struct file_handle
  std::string_view name;    // "." for the folder itself
};

// One event: what happened, and where; after a rename also where to.
struct Event {
  std::uint64_t mask = 0;
  std::optional<Place> place, new_place;
};

// Room for any struct file_handle.
class HandleBytes {
 public:
  explicit HandleBytes(std::string_view handle = {}) { handle.copy(bytes_.data(), bytes_.size()); }
  [[nodiscard]] file_handle* get() { return reinterpret_cast<file_handle*>(bytes_.data()); }

 private:
  alignas(file_handle) std::array<char, sizeof(file_handle) + MAX_HANDLE_SZ> bytes_{};
};

template <class Struct>
Struct struct_at(std::string_view bytes) {
  Struct value;
  std::memcpy(&value, bytes.data(), sizeof value);
  return value;
}

// One information record: header, file system, the folder's handle, the name with a NUL.
Place place_in(std::string_view record) {
  constexpr std::size_t kHandleAt = sizeof(fanotify_event_info_fid);
  const auto id = struct_at<FileSystemId>(record.substr(offsetof(fanotify_event_info_fid, fsid)));
  const std::size_t handle_size =
      offsetof(file_handle, f_handle) + struct_at<unsigned>(record.substr(kHandleAt));
  const std::string_view name = record.substr(kHandleAt + handle_size);
  return {id, record.substr(kHandleAt, handle_size), name.substr(0, name.find('\0'))};
}

// The kernel's own records are taken at their word about their lengths.
Event event_in(std::string_view bytes) {
  const auto metadata = struct_at<fanotify_event_metadata>(bytes);
  Event event{metadata.mask, {}, {}};
  bytes.remove_prefix(metadata.metadata_len);
  while (bytes.size() >= sizeof(fanotify_event_info_fid)) {
    const auto header = struct_at<fanotify_event_info_header>(bytes);
    const std::string_view record = bytes.substr(0, header.len);
    if (header.info_type == FAN_EVENT_INFO_TYPE_NEW_DFID_NAME)
      event.new_place = place_in(record);
    else if (header.info_type == FAN_EVENT_INFO_TYPE_DFID_NAME ||
             header.info_type == FAN_EVENT_INFO_TYPE_OLD_DFID_NAME)
      event.place = place_in(record);
    bytes.remove_prefix(record.size());
  }
  return event;
}

// The path without links that leads to an open folder, by one call: there is an event for every change on the
// file system.
std::string path_of_open(const Descriptor& folder) {
  std::array<char, PATH_MAX> path;
  const ssize_t size = readlink(descriptor_path(folder.get()).c_str(), path.data(), path.size());
  return {path.data(), size > 0 ? static_cast<std::size_t>(size) : 0};
}

class FanotifySource : public ChangeSource {
 public:
  explicit FanotifySource(const Share& share) : share_(share), real_folder_(real_path(share.folder())) {}

  // Marks the file systems; false, with errno set, when one of them cannot be watched.
  [[nodiscard]] bool start();

  [[nodiscard]] const char* name() const override { return "fanotify"; }
  [[nodiscard]] int descriptor() const override { return events_.get(); }
  State read(const Report& report) override;

 private:
  bool mark(const std::string& point);
  bool can_open_handles(const std::string& point);
  void handle(const Event& event, const Report& report);
  void handle_file(std::uint64_t mask, const std::string& path, const Report& report);
  void handle_folder(std::uint64_t mask, const std::string& path, const Report& report);
  void handle_rename(bool is_folder, const std::string& old_path, const std::string& path,
                     const Report& report);
  [[nodiscard]] std::string path_of(const Place& place);
  [[nodiscard]] std::string folder_of_handle(const Place& place);
  [[nodiscard]] std::string folder_on(Mount& mount, std::string_view handle);
  [[nodiscard]] bool is_seen(const std::string& path, bool is_folder) const;
  [[nodiscard]] std::string shared_path(const std::string& path) const;

  const Share share_;
  const std::string real_folder_;  // the share's path without links
  Descriptor events_;
  std::vector<Mount> mounts_;
  FileSystemId last_id_{};  // the last place's, while a read goes on: events of one folder come in a row
  std::string last_handle_, last_folder_;
  bool is_lost_ = false;
};

bool FanotifySource::start() {
  events_ = Descriptor(
      fanotify_init(FAN_CLASS_NOTIF | FAN_REPORT_DFID_NAME | FAN_CLOEXEC | FAN_NONBLOCK, O_RDONLY));
  if (!events_) return false;
  const Descriptor folder(open(real_folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!folder) return false;
  std::vector<std::string> points = MountTable::of(real_folder_).points;
  points[0] = real_folder_;
  for (const std::string& point : points)
    if (!mark(point) || !can_open_handles(point)) return false;
  return true;
}

bool FanotifySource::mark(const std::string& point) {
  constexpr unsigned kHow = FAN_MARK_ADD | FAN_MARK_FILESYSTEM;
  struct statfs status {};
  if (statfs(point.c_str(), &status) != 0) return false;
  FileSystemId id;
  std::memcpy(id.data(), &status.f_fsid, id.size());
  mounts_.push_back({id, point, Descriptor()});
  return fanotify_mark(events_.get(), kHow, kWatched | FAN_RENAME, AT_FDCWD, point.c_str()) == 0 ||
         (errno == EINVAL &&
          fanotify_mark(events_.get(), kHow, kWatched | kSingleMoves, AT_FDCWD, point.c_str()) == 0);
}

// Marks are of no use to a process that may not open folders by their handles.
bool FanotifySource::can_open_handles(const std::string& point) {
  HandleBytes handle;
  handle.get()->handle_bytes = MAX_HANDLE_SZ;
  int mount_id = 0;
  if (name_to_handle_at(AT_FDCWD, point.c_str(), handle.get(), &mount_id, 0) != 0) return false;
  const Descriptor folder(open(point.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return folder && Descriptor(open_by_handle_at(folder.get(), handle.get(), O_PATH | O_CLOEXEC));
}

ChangeSource::State FanotifySource::read(const Report& report) {
  alignas(fanotify_event_metadata) std::array<char, 1 << 14> buffer;
  const ssize_t size = ::read(events_.get(), buffer.data(), buffer.size());
  std::string_view events(buffer.data(), size > 0 ? static_cast<std::size_t>(size) : 0);
  while (events.size() >= sizeof(fanotify_event_metadata) && trouble_.empty()) {
    const std::size_t length = struct_at<fanotify_event_metadata>(events).event_len;
    handle(event_in(events.substr(0, length)), report);
    events.remove_prefix(length);
  }
  for (Mount& mount : mounts_) mount.root = Descriptor();
  last_handle_.clear();
  if (std::exchange(is_lost_, false)) report({ChangeKind::kLost, {}, {}});
  return trouble_.empty() ? State::kWatching : State::kBroken;
}

void FanotifySource::handle(const Event& event, const Report& report) {
  if ((event.mask & FAN_Q_OVERFLOW) != 0) is_lost_ = true;
  if (!event.place) return;
  const bool is_folder = (event.mask & FAN_ONDIR) != 0;
  const std::string path = path_of(*event.place);
  const std::string new_path = event.new_place ? path_of(*event.new_place) : "";
  constexpr std::uint64_t kAttributesOnly = FAN_ATTRIB | FAN_ONDIR;
  const auto holds_share = [this](const std::string& place) {
    return !place.empty() && lies_in(real_folder_, place);
  };
  if (is_folder && (event.mask & ~kAttributesOnly) != 0 && (holds_share(path) || holds_share(new_path)))
    trouble_ = kNoShare;
  else if (event.new_place)
    handle_rename(is_folder, path, new_path, report);
  else if (is_seen(path, is_folder))
    is_folder ? handle_folder(event.mask, shared_path(path), report)
              : handle_file(event.mask, shared_path(path), report);
}

// Events of one entry may come as one, so that their order is not known: going first is the safe one, since
// what came last is looked at again.
void FanotifySource::handle_file(std::uint64_t mask, const std::string& path, const Report& report) {
  const struct {
    std::uint64_t bits;
    ChangeKind kind;
  } kinds[] = {{FAN_DELETE | FAN_MOVED_FROM, ChangeKind::kFileGone},
               {FAN_CREATE, ChangeKind::kFileBegun},
               {FAN_MOVED_TO, ChangeKind::kFileArrived},
               {FAN_ATTRIB, ChangeKind::kFileTouched},
               {FAN_CLOSE_WRITE, ChangeKind::kFileClosed}};
  for (const auto& [bits, kind] : kinds)
    if ((mask & bits) != 0) report({kind, path, {}});
}

void FanotifySource::handle_folder(std::uint64_t mask, const std::string& path, const Report& report) {
  const struct {
    std::uint64_t bits;
    ChangeKind kind;
  } kinds[] = {{FAN_DELETE | FAN_MOVED_FROM, ChangeKind::kFolderGone},
               {FAN_CREATE | FAN_MOVED_TO, ChangeKind::kFolderAppeared},
               {FAN_ATTRIB, ChangeKind::kFolderTouched}};
  for (const auto& [bits, kind] : kinds)
    if ((mask & bits) != 0) report({kind, path, {}});
}

void FanotifySource::handle_rename(bool is_folder, const std::string& old_path, const std::string& path,
                                   const Report& report) {
  const bool was_seen = is_seen(old_path, is_folder);
  const bool is_seen_now = is_seen(path, is_folder);
  if (is_folder && was_seen && is_seen_now) {
    report({ChangeKind::kFolderRenamed, shared_path(path), shared_path(old_path)});
    return;
  }
  if (was_seen)
    report({is_folder ? ChangeKind::kFolderGone : ChangeKind::kFileGone, shared_path(old_path), {}});
  if (is_seen_now)
    report({is_folder ? ChangeKind::kFolderAppeared : ChangeKind::kFileArrived, shared_path(path), {}});
}

// The full path of a place, empty when its folder is gone.
std::string FanotifySource::path_of(const Place& place) {
  std::string path = folder_of_handle(place);
  if (!path.empty() && place.name != ".") path.append("/").append(place.name);
  return path;
}

std::string FanotifySource::folder_of_handle(const Place& place) {
  if (place.id == last_id_ && place.handle == last_handle_) return last_folder_;
  last_id_ = place.id;
  last_handle_ = place.handle;
  last_folder_.clear();
  // A file system may be mounted in several places of the share.
  for (Mount& mount : mounts_) {
    if (mount.id != place.id) continue;
    last_folder_ = folder_on(mount, place.handle);
    if (lies_in(last_folder_, mount.point)) break;
  }
  return last_folder_;
}

std::string FanotifySource::folder_on(Mount& mount, std::string_view handle) {
  if (!mount.root) mount.root = Descriptor(open(mount.point.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  if (!mount.root) {
    if (mount.point == real_folder_) trouble_ = kNoShare;
    return {};
  }
  HandleBytes bytes(handle);
  const auto open_it = [&] {
    return Descriptor(open_by_handle_at(mount.root.get(), bytes.get(), O_PATH | O_CLOEXEC));
  };
  Descriptor folder = open_it();
  // What the kernel says, too, of a folder while it is being deleted: some answer soon is the right one.
  for (int tries = 50; !folder && errno == ENOMEM && tries > 0; --tries) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
    folder = open_it();
  }
  if (!folder) {
    if (errno != ESTALE && errno != ENOENT) is_lost_ = true;
    return {};
  }
  struct stat status {};
  const bool is_there = fstat(folder.get(), &status) == 0 && status.st_nlink > 0;
  return is_there ? path_of_open(folder) : "";
}

bool FanotifySource::is_seen(const std::string& path, bool is_folder) const {
  return !path.empty() && lies_in(path, real_folder_) && !share_.passes_over(shared_path(path), is_folder);
}

std::string FanotifySource::shared_path(const std::string& path) const {
  return moved_path(path, real_folder_, share_.folder());
}

}  // namespace

OpenedSource open_fanotify(const Share& share) {
  using Failure = OpenedSource::Failure;
  auto source = std::make_unique<FanotifySource>(share);
  if (source->start()) return {std::move(source), Failure::kNone, {}};
  const char* const trouble = std::strerror(errno);
  if (errno == ENOENT || errno == ENOTDIR) return {nullptr, Failure::kNoFolder, trouble};
  return {nullptr, Failure::kUnavailable, std::string("no fanotify here: ") + trouble};
}

}  // namespace corvexal
