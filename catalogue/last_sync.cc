// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/last_sync.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <ctime>
#include <span>
#include <string>
#include <vector>

#include "base/digest.h"
#include "base/file.h"
#include "base/place.h"
#include "catalogue/media_rows.h"
#include "catalogue/schema.h"
#include "songdb/store.h"

namespace corvexal {
namespace {

// The file: words of this host's byte order, kMagic | the stores' state | folder, entries… | a digest of
// them.
constexpr std::uint64_t kMagic = 0x31636e7953737643;
constexpr std::size_t kWordsAround = 3, kWordsAFolder = 2;
using Words = std::vector<std::uint64_t>;

constexpr char kName[] = "corvexal-sync.state";

// The folder of the file, which is none of the stores: no link of its name is followed.
Descriptor folder_of_stores(const Session& session) {
  auto place = find_place(session.config.mntpath + "/.systemfile/.");
  return place ? std::move(place->folder) : Descriptor();
}

std::uint64_t digest_of(std::span<const std::uint64_t> words) {
  Digest digest;
  for (const std::uint64_t word : words) digest.add(word);
  return digest.value();
}

std::span<std::uint8_t> bytes_of(Words& words) {
  return {reinterpret_cast<std::uint8_t*>(words.data()), words.size() * sizeof words[0]};
}

// Whether the next change of a file would give it other times. Those of a file system go by ticks of the
// clock, up to 10 ms long, or by two seconds.
bool has_settled(const struct stat& status) {
  const timespec& changed = status.st_ctim;
  timespec now{};
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  const bool goes_by_seconds = changed.tv_nsec == 0;
  if (goes_by_seconds) return now.tv_sec - changed.tv_sec > 2;
  return now.tv_sec > changed.tv_sec || (now.tv_sec == changed.tv_sec && now.tv_nsec > changed.tv_nsec);
}

// Looks at a file once its next change would show, for which it waits for the clock's next tick. False with
// errno set for one that cannot be looked at; EAGAIN for one that has only just been changed.
bool look_at(const Place& place, struct stat& status) {
  constexpr timespec kLongestTick{0, 10'000'000};
  for (int looks = 0; looks < 2; ++looks) {
    if (looks > 0) nanosleep(&kLongestTick, nullptr);
    if (fstatat(place.folder.get(), place.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) return false;
    if (has_settled(status)) return true;
  }
  errno = EAGAIN;
  return false;
}

// Adds what a change of a file changes; a missing file is a state, too. False for one that cannot be looked
// at.
bool add_file(Digest& digest, const std::string& path) {
  const auto place = find_place(path);
  struct stat status {};
  if (!place || !look_at(*place, status)) {
    const int error = errno;
    digest.add(0);
    return error == ENOENT;
  }
  digest.add(status);
  return true;
}

// Rows hold local times, so the dates of all files change with the device's time zone. Zones that agree once
// a week are taken for the same.
void add_time_zone(Digest& digest) {
  constexpr std::time_t kWeek = 604'800;
  for (int i = 0; i < 68 * 52; ++i) digest.add(date_text(i * kWeek));
}

// Puts the file in place of the earlier one at once. It need not outlast a power failure.
void write_file(const Descriptor& folder, Words& words) {
  constexpr char kUnfinished[] = "corvexal-sync.state.new";
  if (!is_plain_or_missing(folder.get(), kName)) return;
  unlinkat(folder.get(), kUnfinished, 0);
  const Descriptor file = open_plain_file(folder.get(), kUnfinished, O_WRONLY | O_CREAT | O_EXCL, 0600);
  if (!file) return;
  if (write_all(file, bytes_of(words))) renameat(folder.get(), kUnfinished, folder.get(), kName);
  unlinkat(folder.get(), kUnfinished, 0);  // where it still has that name
}

}  // namespace

std::uint64_t song_store_state(const Session& session) {
  struct stat status {};
  const bool is_there = stat(song_store_path(session.config.mntpath).c_str(), &status) == 0;
  return is_there ? Digest().add(status).value() : 0;
}

LastSync::LastSync(Session& session) : session_(session), at_start_(look()) {}

std::optional<FolderDigests> LastSync::folders() const {
  const Descriptor folder = folder_of_stores(session_);
  if (!folder || !at_start_.state) return std::nullopt;
  File file(open_plain_file(folder.get(), kName, O_RDONLY));
  constexpr std::size_t kLargest = kWordsAround + FolderDigests::kMost * kWordsAFolder;
  Words words(std::min(static_cast<std::size_t>(file.size() / sizeof(std::uint64_t)), kLargest));
  const bool is_whole = words.size() > kWordsAround && (words.size() - kWordsAround) % kWordsAFolder == 0 &&
                        file.read_at(0, bytes_of(words)) == file.size();
  if (!is_whole || words[0] != kMagic || words[1] != *at_start_.state) return std::nullopt;
  const auto content = std::span(words).first(words.size() - 1);
  if (digest_of(content) != words.back()) return std::nullopt;
  FolderDigests folders;
  for (auto rest = content.subspan(2); !rest.empty(); rest = rest.subspan(kWordsAFolder))
    folders.entries_[rest[0]] = rest[1];
  return folders;
}

void LastSync::replace(const FolderDigests& folders, std::uint64_t songs) const {
  const Look now = look();
  if (!now.state || now.changes_by_others != at_start_.changes_by_others || folders.size() == 0 ||
      song_store_state(session_) != songs)
    return;
  Words words = {kMagic, *now.state};
  for (const auto& [folder, entries] : folders.entries_) words.insert(words.end(), {folder, entries});
  words.push_back(digest_of(words));
  if (const Descriptor folder = folder_of_stores(session_)) write_file(folder, words);
}

LastSync::Look LastSync::look() const {
  session_.db.read_in_one_transaction();
  const Look seen{changes_by_others(), state_of_stores()};
  session_.db.exec("COMMIT;");
  return seen;
}

std::optional<std::uint64_t> LastSync::state_of_stores() const {
  const ConfigRecord& config = session_.config;
  const auto changes = session_.db.change_counter();
  if (!changes) return std::nullopt;
  Digest digest;
  digest.add(CORVEXAL_VERSION).add(config.sharepath).add(config.mntpath).add(config.standard_tags ? 1 : 0);
  digest.add(*changes);
  add_time_zone(digest);
  const bool are_seen =
      add_file(digest, catalogue_path(config.mntpath)) && add_file(digest, song_store_path(config.mntpath));
  return are_seen ? std::optional(digest.value()) : std::nullopt;
}

std::int64_t LastSync::changes_by_others() const {
  Rows rows = session_.db.read("PRAGMA data_version;");
  return rows.next() ? rows.number(0) : 0;
}

}  // namespace corvexal
