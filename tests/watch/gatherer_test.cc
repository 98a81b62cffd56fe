// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/gatherer.h"

#include <gtest/gtest.h>

#include <map>

#include "tests/watch/call_in_words.h"

namespace corvexal {
namespace {

using std::chrono::milliseconds;
using enum ChangeKind;

constexpr Clock::time_point kStart{};

Clock::time_point at(double seconds) {
  return kStart + milliseconds(static_cast<long>(seconds * 1000));
}

// A gatherer of changes of the share /s with a clock in the test's hands.
class GathererTest : public ::testing::Test {
 protected:
  void change(double time, ChangeKind kind, const std::string& path, const std::string& old_path = "") {
    gatherer_.add({kind, path, old_path}, at(time));
  }

  // Seconds from the start; -1 when nothing is waited for.
  [[nodiscard]] double due() const {
    const auto due = gatherer_.due();
    return due ? std::chrono::duration<double>(*due - kStart).count() : -1;
  }

  // What the sync would be started with.
  std::string take(double time) { return in_words(gatherer_.take(at(time))); }

  static std::string in_words(const Batch& batch) { return testing::call_in_words(batch, "/s"); }

  std::map<std::string, FileState> states_;  // of files that are not complete
  Gatherer gatherer_{"/s", std::chrono::seconds(2), [this](const std::string& path) {
                       const auto state = states_.find(path);
                       return state == states_.end() ? FileState::kComplete : state->second;
                     }};
};

TEST_F(GathererTest, MakesTheSmallestCallThatCoversAllChanges) {
  const struct {
    const char* what;
    std::vector<DiskChange> changes;
    const char* call;
  } rows[] = {
      {"files of one folder",
       {{kFileClosed, "/s/a/1.mp3", ""}, {kFileGone, "/s/a/2.mp3", ""}},
       "--entries @/a"},
      {"a file of the share", {{kFileTouched, "/s/1.mp3", ""}}, "--entries @"},
      {"a new folder", {{kFolderAppeared, "/s/n", ""}, {kFileClosed, "/s/n/o/1.mp3", ""}}, "@/n"},
      {"a tree takes in what waits below it, and that alone",
       {{kFileClosed, "/s/n/o/1.mp3", ""}, {kFileClosed, "/s/n-/1.mp3", ""}, {kFolderAppeared, "/s/n", ""}},
       "--entries @/n- @/n"},
      {"a folder that went takes what waits below it along",
       {{kFileClosed, "/s/a/b/1.mp3", ""}, {kFolderAppeared, "/s/a/c", ""}, {kFolderGone, "/s/a", ""}},
       "--entries @"},
      {"a rename", {{kFolderRenamed, "/s/x/b", "/s/a"}}, "--rename @/a @/x/b --entries @ @/x/b"},
      {"renames keep their order, and what waits follows them",
       {{kFileClosed, "/s/a/c/1.mp3", ""},
        {kFolderRenamed, "/s/b", "/s/a"},
        {kFolderRenamed, "/s/b/d", "/s/b/c"},
        {kFolderRenamed, "/s/e/b", "/s/b"}},
       "--rename @/a @/b --rename @/b/c @/b/d --rename @/b @/e/b --entries @ @/e/b"},
      {"a doubt is about everything",
       {{kFileClosed, "/s/a/1.mp3", ""}, {kLost, "", ""}, {kFolderGone, "/s/b", ""}},
       "everything"},
      {"but what is known is said", {{kLost, "", ""}, {kFolderRenamed, "/s/b", "/s/a"}}, "--rename @/a @/b"},
  };
  for (const auto& row : rows) {
    for (const DiskChange& change : row.changes) gatherer_.add(change, kStart);
    EXPECT_EQ(take(2), row.call) << row.what;
    EXPECT_EQ(due(), -1) << row.what;
  }
}

TEST_F(GathererTest, WaitsForQuietButNotForEver) {
  EXPECT_EQ(due(), -1);
  change(10, kFileClosed, "/s/1.mp3");
  EXPECT_EQ(due(), 12);
  change(11.5, kFileClosed, "/s/2.mp3");
  EXPECT_EQ(due(), 13.5);
  for (int time = 12; time < 40; ++time) change(time, kFileClosed, "/s/3.mp3");
  EXPECT_EQ(due(), 40);
  EXPECT_EQ(take(40), "--entries @");
  change(41, kFileClosed, "/s/3.mp3");
  EXPECT_EQ(due(), 43);
  gatherer_.add_everything(at(41.5));
  EXPECT_EQ(due(), 41.5);
}

TEST_F(GathererTest, LeavesANewFileUntilItsClose) {
  states_["/s/a/1.mp3"] = FileState::kWritten;
  change(0, kFileBegun, "/s/a/1.mp3");
  change(0, kFileTouched, "/s/a/1.mp3");
  EXPECT_EQ(due(), 2);
  EXPECT_EQ(take(2), "nothing");
  EXPECT_EQ(due(), -1) << "no timer while it is written";
  change(60, kFolderRenamed, "/s/b", "/s/a");
  states_["/s/b/1.mp3"] = FileState::kWritten;
  EXPECT_EQ(take(62), "--rename @/a @/b --entries @ --leave @/b/1.mp3 @/b");
  change(600, kFileClosed, "/s/b/1.mp3");
  EXPECT_EQ(take(602), "--entries @/b");
}

TEST_F(GathererTest, LooksWhetherANewFileIsFinished) {
  const struct {
    const char* what;
    ChangeKind kind;
    FileState state;
    const char* at_once;
    double next;
    const char* then;
  } rows[] = {
      {"a hard link", kFileBegun, FileState::kComplete, "--entries @", -1, ""},
      {"a symbolic link", kFileBegun, FileState::kGone, "nothing", -1, ""},
      {"where nobody can tell, made", kFileBegun, FileState::kUnknown, "nothing", 30, "--entries @"},
      {"where nobody can tell, moved", kFileArrived, FileState::kUnknown, "--entries @", -1, ""},
      {"moved while it is written", kFileArrived, FileState::kWritten, "nothing", -1, ""},
  };
  for (const auto& row : rows) {
    Gatherer gatherer("/s", std::chrono::seconds(2), [&row](const std::string&) { return row.state; });
    gatherer.add({row.kind, "/s/1.mp3", ""}, kStart);
    EXPECT_EQ(in_words(gatherer.take(at(2))), row.at_once) << row.what;
    const auto due = gatherer.due();
    EXPECT_EQ(due ? std::chrono::duration<double>(*due - kStart).count() : -1, row.next) << row.what;
    if (due) {
      EXPECT_EQ(in_words(gatherer.take(*due)), row.then) << row.what;
    }
  }
}

TEST_F(GathererTest, AFileThatCameAndWentIsNoChangeUnlessItMayHaveReplacedOne) {
  change(0, kFileBegun, "/s/1.mp3");
  change(0, kFileGone, "/s/1.mp3");
  EXPECT_EQ(take(2), "nothing");
  change(3, kFileArrived, "/s/1.mp3");
  change(3, kFileGone, "/s/1.mp3");
  EXPECT_EQ(take(5), "--entries @");
}

TEST_F(GathererTest, StaysSmallWhateverHappens) {
  const auto folder = [](int i) { return "/s/music/folder" + std::to_string(i); };
  for (int i = 0; i < 1000; ++i) change(0, kFileClosed, folder(i) + "/1.mp3");
  change(0, kFileClosed, "/s/photos/1.jpg");
  EXPECT_EQ(take(2), "--entries @/photos @/music");

  for (int i = 0; i < 1000; ++i) change(3, kFolderRenamed, folder(i) + "-", folder(i));
  const Batch batch = gatherer_.take(at(5));
  EXPECT_EQ(batch.renames.size(), Gatherer::kMostRenames);
  EXPECT_EQ(batch.folders, (FolderSet::Folders{{"/s/music", Extent::kTree}}));

  states_["/s/x.mp3"] = FileState::kWritten;
  for (int i = 0; i < 1000; ++i)
    change(9, kFileBegun, "/s/1.mp3" + std::string(i == 0 ? "" : std::to_string(i)));
  EXPECT_EQ(take(11), "--entries @");
}

TEST_F(GathererTest, AFailedBatchComesAgainUnderItsNewNamesWithoutItsRenames) {
  change(0, kFolderRenamed, "/s/b", "/s/a");
  Batch batch = gatherer_.take(at(2));
  change(3, kFolderRenamed, "/s/c", "/s/b");
  EXPECT_EQ(gatherer_.failed(batch, at(4)), std::chrono::seconds(60));
  EXPECT_EQ(due(), 5) << "with the next change";
  batch = gatherer_.take(at(5));
  EXPECT_EQ(in_words(batch), "--rename @/b @/c --entries @ @/c");

  EXPECT_EQ(gatherer_.failed(batch, at(6)), std::chrono::seconds(120));
  EXPECT_EQ(due(), 126) << "or after a pause";
  for (int i = 0; i < 10; ++i) gatherer_.failed({}, at(6));
  EXPECT_EQ(gatherer_.failed({}, at(6)), std::chrono::hours(1));
  gatherer_.succeeded();
  EXPECT_EQ(gatherer_.failed({}, at(6)), std::chrono::seconds(60));
}

}  // namespace
}  // namespace corvexal
