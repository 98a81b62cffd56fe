// SPDX-License-Identifier: GPL-3.0-or-later
#include <fcntl.h>
#include <sys/statvfs.h>

#include <algorithm>
#include <cerrno>
#include <set>

#include "base/descriptor.h"
#include "tests/faults/failing_calls.h"
#include "tests/songdb/store_fixture.h"

namespace corvexal {
namespace {

namespace fs = std::filesystem;
using testing::CapturedOutput;
using testing::read_file;

constexpr std::uint64_t kSmallDisk = 4096;  // KiB; see on-small-disk

struct statvfs disk_of(const std::string& folder) {
  struct statvfs disk {};
  EXPECT_EQ(statvfs(folder.c_str(), &disk), 0);
  return disk;
}

// Fills the disk that holds the folder up to so many free KiB.
void fill_disk(const std::string& folder, std::uint64_t free) {
  const struct statvfs disk = disk_of(folder);
  const std::uint64_t room = disk.f_bavail * disk.f_frsize;
  const Descriptor file(creat((folder + "/filler").c_str(), 0600));
  if (room > free * 1024) {
    EXPECT_EQ(posix_fallocate(file.get(), 0, static_cast<off_t>(room - free * 1024)), 0);
  }
}

// A store of old songs, to which runs add new ones.
class StoreUnderFaults : public StoreFixture {
 protected:
  static constexpr std::uint32_t kFirstNew = 100'000;

  // One run, as far as the store sees it; what close() says.
  bool run(std::uint32_t first, std::uint32_t count) {
    CapturedOutput errors(2);
    if (!open()) return false;
    for (std::uint32_t id = first; id < first + count; ++id) {
      SongInfo song = song_of(id, "/abc/mnt/" + std::to_string(id) + ".mp3");
      song.title = "song " + std::to_string(id) + std::string(id % 97, '.');
      store.add(song);
    }
    return store.close();
  }

  std::string old_store_;

  [[nodiscard]] std::set<std::uint32_t> ids() const {
    std::set<std::uint32_t> ids;
    for (const SongInfo& song : songs()) {
      EXPECT_TRUE(song.title && song.title->starts_with("song " + std::to_string(song.id)));
      ids.insert(song.id);
    }
    return ids;
  }
  [[nodiscard]] std::size_t old_songs() const {
    const auto all = ids();
    return static_cast<std::size_t>(std::distance(all.begin(), all.lower_bound(kFirstNew)));
  }
  [[nodiscard]] std::size_t new_songs() const { return ids().size() - old_songs(); }
};

// The disk fills up anywhere between the run's first and last song.
TEST_F(StoreUnderFaults, LosesNoOldSongOnAFullDisk) {
  constexpr std::uint32_t kSongs = 500;
  constexpr std::uint64_t kStep = 2;  // KiB
  const struct statvfs disk = disk_of(mount_.path());
  if (disk.f_blocks * disk.f_frsize != kSmallDisk * 1024) GTEST_SKIP() << "on no disk of its own";
  ASSERT_TRUE(run(0, kSongs));
  old_store_ = read_file(file());
  std::set<std::size_t> outcomes;
  for (std::uint64_t free = 0; free < kSmallDisk && !outcomes.contains(kSongs); free += kStep) {
    mount_.write(".systemfile/songs.gdb", old_store_);
    fill_disk(mount_.path(), free);
    EXPECT_TRUE(run(kFirstNew, kSongs)) << free;
    fs::remove(mount_.path() + "/filler");
    ASSERT_EQ(old_songs(), kSongs) << "with " << free << " KiB free";
    outcomes.insert(new_songs());
    ASSERT_TRUE(run(kFirstNew, kSongs)) << free;
    ASSERT_EQ(ids().size(), 2 * kSongs) << "the run after " << free << " KiB";
  }
  EXPECT_TRUE(outcomes.contains(0) && outcomes.contains(kSongs)) << "the sweep was too short";
  EXPECT_GT(outcomes.size(), 20U) << "what fits is stored";
}

// Whichever call fails, once or for good: the store holds all old songs, and of the run's none when the fault
// stays.
TEST_F(StoreUnderFaults, LosesNoOldSongToAFailingCall) {
  constexpr std::uint32_t kOld = 300, kNew = 30;
  constexpr int kFewestPoints = 300;
  const auto fail_each_call = [&](int error, bool for_good) {
    int point = 0;
    for (bool came = true; came; ++point) {
      mount_.write(".systemfile/songs.gdb", old_store_);
      {
        const testing::FailingCall failing(point, error, for_good);
        run(kFirstNew, kNew);
        came = testing::FailingCall::came();
      }
      ASSERT_EQ(old_songs(), kOld) << "call " << point;
      ASSERT_TRUE(new_songs() == 0 || new_songs() == kNew || !for_good) << "call " << point;
      ASSERT_TRUE(run(kFirstNew, kNew)) << "the run after call " << point;
      ASSERT_EQ(ids().size(), kOld + kNew) << "the run after call " << point;
    }
    EXPECT_GT(point, kFewestPoints);
  };
  ASSERT_TRUE(run(0, kOld));
  old_store_ = read_file(file());
  fail_each_call(EIO, false);
  fail_each_call(ENOSPC, true);
}

}  // namespace
}  // namespace corvexal
