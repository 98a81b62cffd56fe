// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/store.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <ctime>
#include <random>

#include "base/file.h"
#include "base/text.h"
#include "tests/songdb/store_fixture.h"

namespace corvexal {
namespace {

namespace fs = std::filesystem;
using testing::CapturedOutput;
using testing::read_file;

const std::string kNowhere[] = {"/nowhere/a"};

// For the process from here on: a write beyond this size of a file fails, as on a disk that is full there.
void limit_files_to(rlim_t bytes) {
  std::signal(SIGXFSZ, SIG_IGN);
  const rlimit limit = {bytes, RLIM_INFINITY};
  setrlimit(RLIMIT_FSIZE, &limit);
}

// Whether room beyond that size can be set aside all the same: on disks, not in memory.
bool has_room_beyond_limit(const std::string& path) {
  const Descriptor file(open(path.c_str(), O_RDWR));
  limit_files_to(1);
  const bool has_room = fallocate(file.get(), FALLOC_FL_KEEP_SIZE, 1 << 30, 1) == 0;
  limit_files_to(RLIM_INFINITY);
  return has_room;
}

class Store : public StoreFixture {
 protected:
  void add_songs(std::uint32_t count) {
    for (std::uint32_t id = 0; id < count; ++id)
      store.add(song_of(id, "/abc/mnt/" + std::to_string(id) + ".mp3"));
  }
};

TEST_F(Store, KeepsOneRecordAnIdAndCountsWhatItStored) {
  ASSERT_TRUE(open());
  SongInfo song = song_of(7, "/mnt/a.mp3");
  song.time_played = 99;
  song.time_modified = 5;
  store.add(song);
  song.title = "second";
  store.add(song);
  EXPECT_EQ(store.songs_added(), 2U);
  EXPECT_EQ(store.new_songs(), 1U);
  const SongInfo stored = store.fetch(7).value();
  EXPECT_EQ(stored.title, "second");
  EXPECT_EQ(stored.time_modified, 5);
  EXPECT_EQ(stored.time_played, 0);
  EXPECT_EQ(store.time_stored(7), stored.time_added);
  EXPECT_LE(std::time(nullptr) - stored.time_added, 60);
  EXPECT_FALSE(store.is_modified(7, "/a.mp3"));  // known in its shortened form only
  EXPECT_TRUE(store.is_modified(7, "/mnt/a.mp3"));
  const std::string paths[] = {"/nowhere/", "/A"};
  store.remove_below(paths, true);
  EXPECT_TRUE(store.contains(7));
  store.remove_below(kNowhere, true);
  EXPECT_FALSE(store.contains(7));
}

TEST_F(Store, ForgetsWhatItKnewWhenItIsOpenedAnew) {
  ASSERT_TRUE(open());
  store.remove_first_below("/mnt/a");  // knows now that there is none
  ASSERT_TRUE(store.close());
  EXPECT_TRUE(store.add(song_of(1, "/abc/mnt/a"))) << "nowhere to, and no failure";
  SongStore other;
  CapturedOutput out;
  EXPECT_TRUE(other.open(mount_.path()) && other.add(song_of(1, "/abc/mnt/a")) && other.close());
  ASSERT_TRUE(store.open(mount_.path()));
  store.remove_first_below("/mnt/a");
  EXPECT_FALSE(store.contains(1));
  store.add(song_of(2, "/abc/mnt/b"));
  bool again = false;
  EXPECT_EQ(store.keys_of([&](auto*) { return again || (again = open()); }).size(), 2U)
      << "the song that opening drops, then the one that it brings back";
  EXPECT_TRUE(store.add(song_of(3, "/abc/mnt/c")) && store.close());
}

TEST_F(Store, IsEmptiedWhenItsFirstRecordIsOfAnotherVersionButNotCut) {
  PackedSong record = *pack_song(song_of(1, "/mnt/a.mp3"));
  std::memset(record.data(), 7, 4);
  for (const std::size_t size : {0U, 3U, 4U}) {  // a version has four bytes
    ASSERT_TRUE(open(true));
    add_songs(400);
    store.close();
    fs::permissions(file(), fs::perms(0640));
    const Datum key(gdbm_firstkey(open_gdbm(file(), GDBM_READER).get()));
    const datum value = as_datum(Bytes(record).first(size));
    gdbm_store(open_gdbm(file(), GDBM_WRITER).get(), key.borrowed(), value, GDBM_REPLACE);
    EXPECT_TRUE(open());
    const std::string paths[] = {"/nowhere/", "/MNT/"};
    store.remove_below(paths, false);  // all that were kept but the bent one: the walk goes on after it
    EXPECT_TRUE(store.close());
    EXPECT_EQ(songs().size(), size == 4 ? 0U : 1U) << size;
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0640)) << size;
  }
}

// The store answers from an index; what it deletes has to be what a walk through all records finds first.
TEST_F(Store, DeletesTheFirstRecordThatAWalkWouldFind) {
  ASSERT_TRUE(open());
  std::mt19937 random(1);
  const char* const given[] = {"/mnt/a", "/MNT/A", "/mnt/", "/mnt", "/other/x", "/a", "nt/", "", "/"};
  const char* const added[] = {"/mnt/a",       "/abc/mnt/a", "/ABC/Mnt/A.b", "/mnt/mnt/b",
                               "/xyz/other/x", "/ab",        "12/mnt/a",     ""};
  for (int round = 0; round < 600; ++round) {
    store.add(song_of(static_cast<std::uint32_t>(random() % 10), added[random() % std::size(added)]));
    const std::string path = given[random() % std::size(given)];
    const auto before = changed_songs();
    const auto first = std::find_if(before.begin(), before.end(), [&path](const SongInfo& song) {
      return song.path && starts_with_ignoring_case(*song.path, path);
    });
    store.remove_first_below(path);
    const std::size_t left = before.size() - (first == before.end() ? 0 : 1);
    ASSERT_EQ(changed_songs().size(), left) << round << ' ' << path;
    ASSERT_TRUE(first == before.end() || !store.contains(first->id)) << round << ' ' << path;
  }
}

class DamagedStore : public Store {
 protected:
  DamagedStore() {
    open();
    add_songs(400);
    store.close();
    healthy_ = read_file(file());
  }
  [[nodiscard]] std::string with_end(std::uint64_t end) const {
    std::string bent = healthy_;
    std::memcpy(bent.data() + 32, &end, sizeof end);
    return bent;
  }
  std::string healthy_;
};

// What opens can be walked, added to and deleted from, and what does not is left as it was.
TEST_F(DamagedStore, IsRefusedOrRepairedWhereverItIsCutOrBent) {
  std::mt19937 random(2);
  for (int round = 0; round < 200; ++round) {
    std::string bytes = healthy_;
    const std::size_t block = random() % 3 == 0 ? 0 : random() % (bytes.size() / 4096) * 4096;
    bytes[block + random() % 200] = static_cast<char>(random());
    if (round % 4 == 0) bytes.resize(1 + random() % bytes.size());
    mount_.write(".systemfile/songs.gdb", bytes);
    CapturedOutput errors(2);
    const bool opened = open();
    EXPECT_TRUE(opened || read_file(file()) == bytes) << round;
    store.remove(5);
    store.add(song_of(5, "/mnt/new.mp3"));
    EXPECT_EQ(store.contains(5), opened) << round;
    store.remove_below(kNowhere, false);
    store.close();
  }
}

// A kill between two writes of gdbm leaves a header that names another end than the file's (gdbm itself would
// fill the disk up to there), or a torn record.
TEST_F(DamagedStore, IsRebuiltWithEveryRecordThatIsWhole) {
  std::string torn = healthy_;
  torn.replace(torn.find("/abc/mnt/123.mp3") - 128, 4, "torn");  // the key, before the record's header
  std::string no_free_list = healthy_;
  no_free_list.replace(44, 4, "none");  // the number of its entries
  for (const auto& [bytes, kept] : {std::pair{with_end(INT64_MAX), 400U},
                                    {with_end(healthy_.size() - 4096), 400U},
                                    {no_free_list, 400U},
                                    {torn, 399U}}) {
    mount_.write(".systemfile/songs.gdb.new/songs.gdb.aB3dE6", "an unfinished rebuild");
    mount_.write(".systemfile/songs.gdb", bytes);
    EXPECT_TRUE(!store.open_to_read(mount_.path()) || store.is_damaged());
    CapturedOutput errors(2);
    EXPECT_TRUE(open());
    EXPECT_EQ(errors.text(), "Song store " + file() + " was damaged and has been rebuilt with " +
                                 std::to_string(kept) + " records\n");
    store.close();
    EXPECT_EQ(songs().size(), kept);
    EXPECT_TRUE(store.open_to_read(mount_.path()) && !store.is_damaged() && !store.looks_damaged());
    EXPECT_LE(fs::file_size(file()), healthy_.size() * 2);
    EXPECT_FALSE(fs::exists(file() + ".new"));
  }
}

TEST_F(DamagedStore, IsLeftAsItWasWhenThereIsNoRoomToRebuildIt) {
  const std::string bent = with_end(INT64_MAX);
  mount_.write(".systemfile/songs.gdb", bent);
  for (const std::size_t room : {bent.size(), bent.size() / 2})  // for a copy, but not its repair; for none
    EXPECT_EXIT((limit_files_to(room), _exit(!open() && read_file(file()) == bent ? 0 : 1)),
                ::testing::ExitedWithCode(0), "is damaged and cannot be rebuilt: .*File too large\n");
}

TEST_F(DamagedStore, IsOnlyReadWhenThereIsNoRoomForACopyAndNotMadeWithoutRoom) {
  mount_.write(".systemfile/songs.gdb", healthy_);
  const auto opens = [&](bool reload, std::size_t room) {
    limit_files_to(room);
    const bool opened = open(reload);
    store.add(song_of(1000, "/mnt/new.mp3"));
    return opened && store.contains(5) && !store.contains(1000) && store.songs_refused() == 1 &&
           store.close();
  };
  EXPECT_EXIT(_exit(opens(false, healthy_.size() - 1) ? 0 : 1), ::testing::ExitedWithCode(0),
              "songs.gdb is only read: there can be no copy to work on: File too large\n");
  EXPECT_EXIT(_exit(opens(true, 5'000) ? 1 : 0), ::testing::ExitedWithCode(0),
              "songs.gdb cannot be made: .*File too large\n");
  EXPECT_EQ(read_file(file()), healthy_);
}

// gdbm has no way back from a write that fails. What cannot be stored is logged and counted, and what comes
// later is tried again.
TEST_F(DamagedStore, IsLeftAsItWasWhenGdbmFailsHalfWay) {
  mount_.write(".systemfile/songs.gdb", healthy_);
  if (!has_room_beyond_limit(file())) GTEST_SKIP() << "a change without room is refused before it begins";
  const auto fills_up = [&](std::uint32_t songs_until_there_is_room) {
    open();
    store.remove_first_below("/mnt/5.mp3");
    SongInfo song = song_of(1000, "/mnt/" + std::string(10'000, 'x'));
    song.fname = "long.mp3";
    limit_files_to(healthy_.size() + 40'000);
    for (; song.id < 1000 + songs_until_there_is_room; ++song.id) store.add(song);
    limit_files_to(RLIM_INFINITY);
    for (; song.id < 1030; ++song.id) store.add(song);
    EXPECT_EQ(store.songs_added(), 430U);
    EXPECT_GT(store.songs_refused(), 0U);
    EXPECT_TRUE(store.contains(5) && store.contains(399) && !store.contains(1000));
    store.remove_first_below("/mnt/5.mp3");
    EXPECT_EQ(store.contains(5), song.id == 1000 + songs_until_there_is_room) << "only read";
    EXPECT_FALSE(store.close());
  };
  for (const auto& [songs, tries, is_as_it_was] : {std::tuple{5U, "1", false}, {30U, "4", true}}) {
    mount_.write(".systemfile/songs.gdb", healthy_);
    mount_.write("var/log/MediaServer.log", "");
    EXPECT_EXIT((fills_up(songs), _exit(HasFailure() ? 1 : 0)), ::testing::ExitedWithCode(0),
                "^(Song store [^\n]* is left as it was, without this run's changes: [^\n]*\n){" +
                    std::string(tries) + "}$");
    EXPECT_EQ(read_file(file()) == healthy_, is_as_it_was);
    EXPECT_NE(read_file("var/log/MediaServer.log").find(":Error inserting file long.mp3 in database\n"),
              std::string::npos);
  }
}

}  // namespace
}  // namespace corvexal
