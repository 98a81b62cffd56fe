#include "songdb/store.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <random>
#include <set>
#include <thread>

#include "base/byte_reader.h"
#include "base/text.h"
#include "tests/songdb/store_fixture.h"
#include "tests/support/host_order.h"

namespace corvexal {
namespace {

namespace fs = std::filesystem;
using testing::CapturedOutput;
using testing::read_file;

class Store : public StoreFixture {};

TEST_F(Store, IsMadeUnderTheMountPath) {
  CapturedOutput out;
  EXPECT_EQ(db_open(0, 0), 0);
  EXPECT_EQ(out.text(), "db_open, db_path=" + file());
  struct stat status {};
  ASSERT_EQ(stat(file().c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777, 0600U);
  EXPECT_EQ(db_close(), 0);
}

TEST_F(Store, StaysClosedWithoutAMountPathOrFolder) {
  fs::remove_all(".systemfile");
  EXPECT_EQ(open(), -1);
  EXPECT_NE(log().find(":11Could not open songs database (" + file() + "): No such file or directory\n"),
            std::string::npos);
  global_cdata.mntpath.clear();
  CapturedOutput out;
  EXPECT_EQ(db_open(0, 0), 0);
  EXPECT_EQ(out.text(), "11SQL_open():Open DB fail\n");

  const auto songs_before = db_song_count;
  EXPECT_EQ(db_add(song_of(1, "/mnt/a.mp3")), 0);
  EXPECT_EQ(db_song_count, songs_before);
  EXPECT_FALSE(db_fetch(1));
  EXPECT_EQ(db_exists(1), 0);
  EXPECT_EQ(db_time_stored(1), 0);
  EXPECT_EQ(db_path_modified(1, "/a.mp3"), 1);
  const std::string paths[] = {"/mnt/a.mp3"};
  EXPECT_EQ(db_delete(1), 0);
  EXPECT_EQ(db_delete_by_path_OneFile(paths), 0);
  EXPECT_EQ(db_delete_by_path(paths, true), 0);
}

TEST_F(Store, KeepsOneRecordAnIdAndCountsWhatItStored) {
  ASSERT_EQ(open(), 0);
  const auto songs_before = db_song_count, new_before = db_new_count;
  SongInfo song = song_of(7, "/mnt/a.mp3");
  song.time_played = 99;
  song.time_modified = 5;
  const std::time_t start = std::time(nullptr);
  EXPECT_EQ(db_add(song), 0);
  song.title = "second";
  EXPECT_EQ(db_add(song), 0);
  EXPECT_EQ(db_song_count, songs_before + 2);
  EXPECT_EQ(db_new_count, new_before + 1);
  EXPECT_EQ(song.time_stored, 0);

  const auto stored = db_fetch(7);
  ASSERT_TRUE(stored);
  EXPECT_EQ(stored->title, "second");
  EXPECT_GE(stored->time_added, start);
  EXPECT_EQ(stored->time_modified, 5);
  EXPECT_EQ(stored->time_played, 0);
  EXPECT_EQ(stored->time_stored, db_time_stored(7));
  EXPECT_GE(stored->time_stored, start);

  EXPECT_EQ(db_path_modified(7, "/a.mp3"), 0);  // the form in which paths are compared
  EXPECT_EQ(db_path_modified(7, "/A.mp3"), 1);
  EXPECT_EQ(db_path_modified(7, "/mnt/a.mp3"), 1);
  EXPECT_EQ(db_path_modified(8, "/a.mp3"), 1);

  EXPECT_EQ(db_delete(8), 0);
  EXPECT_EQ(db_exists(7), 1);
  EXPECT_EQ(db_delete(7), 0);
  EXPECT_EQ(db_exists(7), 0);
}

TEST_F(Store, IsEmptiedOnReloadAndWhenItsFirstRecordIsOfAnotherVersion) {
  for (const bool reload : {true, false}) {
    ASSERT_EQ(open(), 0);
    for (const std::uint32_t id : {1U, 2U, 3U}) db_add(song_of(id, "/mnt/a.mp3"));
    db_close();
    fs::permissions(file(), fs::perms(0640));
    if (!reload) {
      const GdbmFile db = open_gdbm(file(), GDBM_WRITER);
      const Datum key(gdbm_firstkey(db.get()));
      PackedSong record = *pack_song(song_of(record_id(key.bytes()), "/mnt/a.mp3"));
      std::memcpy(record.data(), testing::host_words({7}).data(), 4);
      ASSERT_EQ(gdbm_store(db.get(), key.borrowed(), as_datum(record), GDBM_REPLACE), 0);
    }
    EXPECT_EQ(open(reload ? 1 : 0), 0);
    EXPECT_TRUE(ids().empty()) << reload;
    EXPECT_EQ(fs::status(file()).permissions(), fs::perms(0640)) << reload;
    db_add(song_of(1, "/mnt/a.mp3"));
    EXPECT_EQ(ids().size(), 1U) << reload;
    db_close();
  }
}

TEST_F(Store, KeepsTheOthersWhenItsFirstRecordIsEmptyOrCut) {
  for (const std::size_t size : {0U, 3U}) {
    ASSERT_EQ(open(1), 0);
    for (const std::uint32_t id : {1U, 2U, 3U}) db_add(song_of(id, "/abc/mnt/a.mp3"));
    db_close();
    GdbmFile db = open_gdbm(file(), GDBM_WRITER);
    const Datum key(gdbm_firstkey(db.get()));
    const PackedSong whole = *pack_song(song_of(record_id(key.bytes()), "/mnt/a.mp3"));
    const Bytes cut = Bytes(whole).first(size);
    ASSERT_EQ(gdbm_store(db.get(), key.borrowed(), as_datum(cut), GDBM_REPLACE), 0);
    db.reset();
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(ids().size(), 3U) << size;
    const std::string paths[] = {"/mnt/"};
    db_delete_by_path(paths, false);  // the walk goes on behind it
    EXPECT_EQ(ids().size(), 1U) << size;
    db_close();
  }
}

// The store answers from an index; what it deletes has to be what a walk through all records finds first.
TEST_F(Store, DeletesTheFirstRecordThatAWalkWouldFind) {
  ASSERT_EQ(open(), 0);
  std::mt19937 random(1);
  const char* const given[] = {"/mnt/a.mp3",   "/MNT/A.mp3", "/mnt/b/c.mp3", "/mnt/", "/mnt",
                               "/other/x.mp3", "/a.mp3",     "nt/",          "",      "/",
                               "mnt/a.mp3"};
  const char* const stored[] = {"/mnt/a.mp3",
                                "/abc/mnt/a.mp3",
                                "/ABC/Mnt/a.MP3",
                                "/abc/mnt/a.mp3.mp3",
                                "/abc/mnt/b/c.mp3",
                                "/mnt/mnt/a.mp3",
                                "/xyz/other/x.mp3",
                                "/a/a.mp3",
                                "/ab",
                                "/mnt/Mnt/b/C.mp3",
                                "12345",
                                ""};
  std::size_t deleted = 0;
  for (std::uint32_t round = 0; round < 600; ++round) {
    db_add(song_of(static_cast<std::uint32_t>(random() % 40), stored[random() % std::size(stored)]));
    const std::string path = given[random() % std::size(given)];
    const auto matching = ids_where(
        [&path](const SongInfo& song) { return song.path && starts_with_ignoring_case(*song.path, path); });
    auto expected = ids();
    if (!matching.empty()) std::erase(expected, matching.front());
    deleted += matching.empty() ? 0 : 1;
    const std::string paths[] = {path, "/ignored"};
    EXPECT_EQ(db_delete_by_path_OneFile(paths), 0);
    std::vector<std::uint32_t> left = ids();
    std::sort(left.begin(), left.end());
    std::sort(expected.begin(), expected.end());
    ASSERT_EQ(left, expected) << "round " << round << ' ' << path;
  }
  EXPECT_GT(deleted, 100U);
}

TEST_F(Store, DeletesByAListOfPathsOrKeepsOnlyThose) {
  const std::string prefixes[] = {"/mnt/A", "/share/"};
  for (const bool keep : {false, true}) {
    ASSERT_EQ(open(1), 0);
    for (std::uint32_t id = 0; id < 400; ++id)
      db_add(song_of(id, id % 3 == 0 ? "/abc/mnt/a.mp3" : "/abc/mnt/b.mp3"));
    EXPECT_EQ(db_delete_by_path(prefixes, keep), 0);
    const auto left = ids();
    EXPECT_EQ(left.size(), keep ? 134U : 266U);
    for (const std::uint32_t id : left) EXPECT_EQ(id % 3 == 0, keep) << id;
  }
}

// A rebuild closes the handle in the middle of a run, as opening anew does.
TEST_F(Store, IsWalkedWhileAnotherThreadReopensIt) {
  ASSERT_EQ(open(), 0);
  for (std::uint32_t id = 0; id < 400; ++id) db_add(song_of(id, "/mnt/a.mp3"));
  std::atomic<int> walks = 0;
  std::atomic<bool> over = false;
  std::thread walker([&] {
    const std::string nowhere[] = {"/nowhere/a"};
    for (; !over; ++walks) db_delete_by_path(nowhere, false);
  });
  for (int round = 0; round < 30 || walks < 10; ++round) EXPECT_EQ(open(), 0);
  over = true;
  walker.join();
  EXPECT_EQ(ids().size(), 400U);
}

TEST_F(Store, RefusesWhatIsNoStoreAndLeavesItAlone) {
  const std::string text(5000, 'x');
  mount_.write(".systemfile/songs.gdb", text);
  CapturedOutput errors(2);
  CapturedOutput out;
  EXPECT_EQ(db_open(0, 0), -1);
  EXPECT_EQ(errors.text(), "Song store " + file() +
                               " cannot be opened: Bad magic number: Invalid argument; move it away, and the "
                               "next scan makes a new one\n");
  EXPECT_EQ(read_file(file()), text);

  fs::remove(file());
  ASSERT_EQ(mkfifo(file().c_str(), 0600), 0);
  EXPECT_EQ(open(), -1);
  fs::remove(file());
  fs::create_directory(file());
  EXPECT_EQ(open(), -1);
  EXPECT_EQ(open(1), -1);
  EXPECT_FALSE(fs::exists(file() + ".new"));
}

TEST_F(Store, FollowsALinkToItselfButNoPlantedOne) {
  const std::string victim = mount_.write("victim", "precious");
  fs::create_symlink(victim, file() + ".new");
  EXPECT_EQ(open(), 0);
  EXPECT_EQ(read_file(victim), "precious");
  db_close();

  fs::remove(file());
  fs::create_directory(mount_.path() + "/volume");
  fs::create_symlink("../volume/songs.gdb", file());
  for (const int reload : {0, 0, 1}) {
    EXPECT_EQ(open(reload), 0);
    db_close();
    EXPECT_TRUE(fs::is_symlink(file()));
    EXPECT_TRUE(fs::is_regular_file(mount_.path() + "/volume/songs.gdb"));
  }
}

class DamagedStore : public StoreFixture {
 protected:
  DamagedStore() {
    open();
    for (std::uint32_t id = 0; id < 400; ++id) db_add(song_of(id, "/mnt/song" + std::to_string(id) + ".mp3"));
    db_close();
    healthy_ = read_file(file());
  }
  // Opens the store made of these bytes; what opens can be walked, added to and deleted from, and what does
  // not is left as it was.
  void use(const std::string& bytes, const std::string& what) {
    mount_.write(".systemfile/songs.gdb", bytes);
    CapturedOutput errors(2);
    if (open() != 0) {
      EXPECT_TRUE(read_file(file()) == bytes) << what;
      return;
    }
    for (const std::uint32_t id : {5U, 1000U}) {
      db_delete(id);
      db_add(song_of(id, "/mnt/new.mp3"));
      EXPECT_EQ(db_exists(id), 1) << what;
    }
    const std::string nowhere[] = {"/nowhere/a"};
    db_delete_by_path(nowhere, false);
    db_close();
  }
  std::string healthy_;
};

TEST_F(DamagedStore, IsRefusedOrRepairedWhereverItIsCut) {
  for (std::size_t size = 1; size < healthy_.size(); size += 1021)
    use(healthy_.substr(0, size), "cut to " + std::to_string(size));
}

TEST_F(DamagedStore, IsRefusedOrRepairedWhateverByteIsBent) {
  std::mt19937 random(2);
  for (int round = 0; round < 150; ++round) {
    std::string bent = healthy_;
    const std::size_t block = random() % 3 == 0 ? 0 : random() % (bent.size() / 4096) * 4096;
    const std::size_t at = block + random() % 200;
    bent[at] = static_cast<char>(random());
    use(bent, "byte " + std::to_string(at));
  }
}

// A kill between two writes of gdbm leaves a header that names another end than the file's. gdbm itself would
// fill the disk up to there.
TEST_F(DamagedStore, IsRebuiltWithEveryRecordWhenItsEndIsNotWhereTheHeaderSays) {
  for (const std::uint64_t end : {std::uint64_t{INT64_MAX}, std::uint64_t{healthy_.size() - 4096}}) {
    std::string bent = healthy_;
    std::memcpy(bent.data() + 32, &end, sizeof end);
    mount_.write(".systemfile/songs.gdb", bent);
    CapturedOutput errors(2);
    EXPECT_EQ(open(), 0);
    EXPECT_EQ(errors.text(), "Song store " + file() + " was damaged and has been rebuilt with 400 records\n");
    EXPECT_EQ(ids().size(), 400U);
    EXPECT_LE(fs::file_size(file()), healthy_.size() * 2);
    db_close();
  }
}

TEST_F(DamagedStore, LosesTheTornRecordOnly) {
  const std::size_t record = healthy_.find("/mnt/song123.mp3") - 124;
  mount_.write(".systemfile/songs.gdb.backup", "somebody else's");
  fs::create_directory(file() + ".new");
  mount_.write(".systemfile/songs.gdb.new/songs.gdb.aB3dE6", "an unfinished rebuild");
  mount_.write(".systemfile/songs.gdb", healthy_.substr(0, record - 4) + "torn" + healthy_.substr(record));
  EXPECT_EQ(open(), 0);
  EXPECT_EQ(ids().size(), 399U);
  EXPECT_EQ(db_exists(123), 0);
  EXPECT_FALSE(fs::exists(file() + ".new"));
  EXPECT_TRUE(fs::exists(file() + ".backup"));
}

TEST_F(DamagedStore, IsLeftAsItWasWhenThereIsNoRoomToRebuildIt) {
  std::string bent = healthy_;
  bent[33] = static_cast<char>(bent[33] + 16);  // the end that the header names
  mount_.write(".systemfile/songs.gdb", bent);
  const auto action = std::signal(SIGXFSZ, SIG_IGN);
  rlimit before{};
  getrlimit(RLIMIT_FSIZE, &before);
  const rlimit tight = {16384, before.rlim_max};
  setrlimit(RLIMIT_FSIZE, &tight);
  CapturedOutput errors(2);
  const int opened = open();
  setrlimit(RLIMIT_FSIZE, &before);
  std::signal(SIGXFSZ, action);
  EXPECT_EQ(opened, -1);
  EXPECT_EQ(errors.text().find("Song store " + file() + " is damaged and cannot be rebuilt: "), 0U);
  EXPECT_TRUE(read_file(file()) == bent);
  EXPECT_FALSE(fs::exists(file() + ".new"));
}

// The run may be killed at any moment; the next one has to find a store that it can use. gdbm has finished
// with what db_add returned for, but a kill in the middle of the next change may tear its neighbours as well.
TEST_F(Store, SurvivesAKillWhileStoring) {
  constexpr std::size_t kMostLostInOneKill = 3;
  std::mt19937 random(3);
  std::set<std::uint32_t> stored;
  std::size_t reported = 0;
  for (int round = 0; round < 40; ++round) {
    const bool emptied = round % 10 == 9;
    if (emptied) stored.clear();
    int finished[2];
    ASSERT_EQ(pipe(finished), 0);
    const pid_t child = fork();
    if (child == 0) {
      open(emptied ? 1 : 0);
      for (std::uint32_t i = 0;; ++i) {
        const std::uint32_t id = i * 7 % 1000;
        db_add(song_of(id, "/mnt/" + std::string(1 + i % 211, 'x') + ".mp3"));
        if (write(finished[1], &id, sizeof id) != sizeof id) _exit(1);
      }
    }
    close(finished[1]);
    usleep(static_cast<useconds_t>(random() % 20000));
    kill(child, SIGKILL);
    waitpid(child, nullptr, 0);
    for (std::uint32_t id = 0; read(finished[0], &id, sizeof id) == sizeof id; ++reported) stored.insert(id);
    close(finished[0]);
    ASSERT_EQ(open(), 0) << round;
    const auto found = ids();
    const auto lost = std::erase_if(
        stored, [&](std::uint32_t id) { return std::find(found.begin(), found.end(), id) == found.end(); });
    EXPECT_LE(lost, kMostLostInOneKill) << round;
    db_add(song_of(5000, "/mnt/a.mp3"));
    EXPECT_EQ(db_exists(5000), 1) << round;
    EXPECT_GE(ids().size(), found.size()) << round;
    db_delete(5000);
    db_close();
  }
  EXPECT_GT(reported, 40U);
}

}  // namespace
}  // namespace corvexal
