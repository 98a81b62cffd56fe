// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/change_source.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <vector>

#include "tests/support/test_files.h"
#include "tests/watch/call_in_words.h"
#include "watch/gatherer.h"

namespace corvexal {
namespace {

class ChangeSourceTest : public ::testing::TestWithParam<SourceKind> {
 protected:
  void SetUp() override { ASSERT_EQ(shell("mkdir -p share/end outside"), 0); }

  // Runs shell commands in the share's parent folder.
  int shell(const std::string& commands) const {
    return std::system(("cd " + folder_.path() + " && " + commands).c_str());
  }

  void open() {
    auto opened = GetParam() == SourceKind::kFanotify ? open_fanotify(share_)
                                                      : open_inotify(share_, [] { return false; });
    source_ = std::move(opened.source);
    if (!source_) GTEST_SKIP() << opened.trouble;
  }

  // Reads changes until a mark in the share's folder "end" has come by and no more wait: the whole machine's
  // changes may come, too. A source that has to be replaced, or a loss of changes, is the end as well.
  ChangeSource::State read(Gatherer& gatherer) {
    const std::string end = share_.folder() + "/end/" + std::to_string(++ends_) + ".mp3";
    std::ofstream(end).close();
    bool is_over = false;
    auto state = ChangeSource::State::kWatching;
    for (pollfd changes{source_->descriptor(), POLLIN, 0};
         state == ChangeSource::State::kWatching && poll(&changes, 1, is_over ? 0 : 10'000) == 1;)
      state = source_->read([&](const DiskChange& change) {
        is_over |= change.kind == ChangeKind::kLost ||
                   (change.kind == ChangeKind::kFileClosed && change.path == end);
        if (!change.path.starts_with(share_.folder() + "/end")) gatherer.add(change, Clock::now());
      });
    return state;
  }

  // What the sync would be started with for all changes that wait.
  std::string call() {
    Gatherer gatherer(share_.folder(), {});
    EXPECT_EQ(read(gatherer), ChangeSource::State::kWatching) << source_->trouble();
    return testing::call_in_words(gatherer.take(Clock::now()), share_.folder());
  }

  const testing::TestFolder folder_;
  const Share share_{folder_.path() + "/share"};
  std::unique_ptr<ChangeSource> source_;
  int ends_ = 0;
};

INSTANTIATE_TEST_SUITE_P(By, ChangeSourceTest, ::testing::Values(SourceKind::kFanotify, SourceKind::kInotify),
                         [](const auto& kind) {
                           return kind.param == SourceKind::kFanotify ? "Fanotify" : "Inotify";
                         });

TEST_P(ChangeSourceTest, SeesADayOfChanges) {
  ASSERT_EQ(shell("mkdir -p share/a/b/c share/d outside/o/p && touch share/a/b/1.mp3 share/d/1.mp3"), 0);
  open();
  if (IsSkipped()) return;
  const struct {
    const char* commands;
    const char* call;
  } rows[] = {
      {"echo >share/1.mp3", "--entries @"},
      {"echo >>share/a/b/1.mp3", "--entries @/a/b"},
      {"touch -d 2020-01-01 share/d/1.mp3", "--entries @/d"},
      {"mv share/1.mp3 share/d/2.mp3", "--entries @ --entries @/d"},
      {"ln share/d/2.mp3 share/d/3.mp3", "--entries @/d"},
      {"rm share/d/2.mp3 share/d/3.mp3", "--entries @/d"},
      {"echo >share/d/.x.part; mv share/d/.x.part share/d/2.mp3", "--entries @/d"},
      {"mkdir -p share/n/o/p; echo >share/n/o/p/1.mp3", "@/n"},
      {"echo >share/n/o/p/1.mp3", "--entries @/n/o/p"},
      {"chmod 700 share/n/o", "--entries @/n/o"},
      // What a scan passes over, the stores' folder with it.
      {"mkdir -p share/.systemfile/.upnpav-db; echo >share/.systemfile/songs.mp3; echo >share/x.txt;"
       "ln -s d/1.mp3 share/l.mp3; ln -s a share/l; echo >outside/1.mp3; mkfifo share/f.mp3",
       "nothing"},
      // Folders that are renamed are followed.
      {"mv share/a share/A", "--rename @/a @/A --entries @ @/A"},
      {"mv share/A/b share/d/B", "--rename @/A/b @/d/B --entries @/A @/d/B"},
      {"echo >share/d/B/c/1.mp3", "--entries @/d/B/c"},
      {"mv share/d share/D; mv share/D share/E; mv share/E/B share/E/b; echo >share/E/b/c/1.mp3",
       "--rename @/d @/D --rename @/D @/E --rename @/E/B @/E/b --entries @ @/E"},
      {"echo >share/E/b/c/1.mp3", "--entries @/E/b/c"},
      // So are those that come, go and hide.
      {"mv outside/o share/O", "@/O"},
      {"echo >share/O/p/1.mp3", "--entries @/O/p"},
      {"mv share/E outside/E", "--entries @"},
      {"echo >outside/E/b/1.mp3; echo >outside/E/b/c/1.mp3", "nothing"},
      {"mv outside/E share/E", "@/E"},
      {"mv share/E share/.E", "--entries @"},
      {"echo >share/.E/b/c/1.mp3", "nothing"},
      {"mv share/.E share/E", "@/E"},
      {"echo >share/E/b/c/1.mp3", "--entries @/E/b/c"},
      {"rm -r share/E", "--entries @"},
      {"mkdir share/E; rmdir share/E", "--entries @"},
  };
  for (const auto& row : rows) {
    ASSERT_EQ(shell(row.commands), 0) << row.commands;
    EXPECT_EQ(call(), row.call) << row.commands;
  }
}

// Folders are made, moved about, into and out of the share, and deleted faster than the changes are read.
// Then each folder that is left has to be watched under the name that it has.
TEST_P(ChangeSourceTest, KnowsEveryFolderAfterATurmoil) {
  namespace fs = std::filesystem;
  open();
  if (IsSkipped()) return;
  std::mt19937 random(3);
  const auto some_folder = [&](const std::string& top) {
    std::vector<std::string> folders{top};
    for (const auto& entry : fs::recursive_directory_iterator(top))
      if (entry.is_directory() && entry.path().filename() != "end") folders.push_back(entry.path());
    std::sort(folders.begin(), folders.end());  // the same ones on every file system
    return folders[random() % folders.size()];
  };
  const auto share_or_outside = [&] {
    return random() % 4 != 0 ? share_.folder() : folder_.path() + "/outside";
  };
  Gatherer gatherer(share_.folder(), {});
  for (int i = 0; i < 400; ++i) {
    const std::string name(1, static_cast<char>('a' + random() % 5));
    const std::string target = some_folder(share_or_outside()) + "/" + name;
    const std::string top = share_or_outside();
    const std::string victim = some_folder(top);
    std::error_code refused;
    if (random() % 2 == 0 || victim == top)
      fs::create_directory(target, refused);
    else if (random() % 8 == 0)
      fs::remove_all(victim, refused);
    else
      fs::rename(victim, target, refused);
    if (random() % 10 != 0) continue;
    ASSERT_EQ(read(gatherer), ChangeSource::State::kWatching);
  }
  ASSERT_EQ(read(gatherer), ChangeSource::State::kWatching);
  (void)gatherer.take(Clock::now());

  int folders = 0;
  for (const auto& entry : fs::recursive_directory_iterator(share_.folder())) {
    if (!entry.is_directory() || entry.path().filename() == "end") continue;
    ++folders;
    std::ofstream(entry.path() / "1.mp3").close();
    EXPECT_EQ(call(), "--entries @" + entry.path().string().substr(share_.folder().size()));
  }
  EXPECT_GT(folders, 20);
}

TEST_P(ChangeSourceTest, LeavesWhatIsBeingWritten) {
  open();
  if (IsSkipped()) return;
  std::ofstream file(share_.folder() + "/1.mp3");
  EXPECT_EQ(call(), "nothing");
  file << "more" << std::flush;
  EXPECT_EQ(call(), "nothing");
  ASSERT_EQ(shell("mkdir share/n; echo >share/n/1.mp3"), 0);
  std::ofstream other(share_.folder() + "/n/2.mp3");
  EXPECT_EQ(call(), "--leave @/n/2.mp3 @/n");
  file.close();
  EXPECT_EQ(call(), "--entries @");
  other.close();
  EXPECT_EQ(call(), "--entries @/n");
}

TEST_P(ChangeSourceTest, SaysWhenItLostTheShareOrChanges) {
  open();
  if (IsSkipped()) return;
  Gatherer gatherer(share_.folder(), {});
  ASSERT_EQ(shell("mv share moved"), 0);
  EXPECT_EQ(read(gatherer), ChangeSource::State::kBroken);
  EXPECT_EQ(source_->trouble(), "the folder was moved or deleted");

  ASSERT_EQ(shell("mkdir -p share/end"), 0);
  open();
  for (int i = 0; i < 17'000; ++i) std::ofstream(share_.folder() + "/" + std::to_string(i) + ".mp3");
  const ChangeSource::State state = read(gatherer);
  if (GetParam() == SourceKind::kFanotify)
    EXPECT_TRUE(gatherer.take(Clock::now()).folders.contains(share_.folder()));
  else
    EXPECT_EQ(state, ChangeSource::State::kBroken);
}

}  // namespace
}  // namespace corvexal
