// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/last_sync.h"

#include <gtest/gtest.h>
#include <utime.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/reconcile.h"
#include "catalogue/schema.h"
#include "songdb/store.h"
#include "tests/support/sql.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

namespace fs = std::filesystem;

// A library of four files in three folders that a sync has brought in line.
class LastSyncTest : public ::testing::Test {
 protected:
  LastSyncTest() {
    for (const char* file : {"top.iso", "a/film.iso", "a/b/deep.iso"}) write(file, "1234");
    write("a/song.mp3", song_);
    config_ = {.sharepath = folder_.path(), .sharename = "", .mntpath = folder_.path(), .sd_status = ""};
    sync();
  }

  struct Run {
    explicit Run(const ConfigRecord& config) {
      session.config = config;
      EXPECT_EQ(create_catalogue(config.mntpath), 0);
      EXPECT_EQ(session.db.open(catalogue_path(config.mntpath)), SQLITE_OK);
    }
    Session session;
  };

  // What a sync did: new, removed, refreshed, moved, mended, refused, failed.
  std::string sync(bool trusts_last_sync = true) const {
    ReconcileTask task;
    task.folders = {path("")};
    task.trusts_last_sync = trusts_last_sync;
    return sync(task);
  }
  std::string sync_part(const std::string& folder, std::vector<std::string> left_files = {}) const {
    ReconcileTask task;
    task.folders = {path(folder)};
    task.left_files = std::move(left_files);
    task.whole_library = false;
    return sync(task);
  }
  std::string sync(ReconcileTask task) const {
    Run run(config_);
    task.share = config_.sharepath.ends_with('/') ? config_.sharepath : config_.sharepath + '/';
    if (task.whole_library) task.folders = {task.share};
    ReconcileListener nobody;
    testing::CapturedOutput output, errors(2);
    const ReconcileCounts counts = reconcile(run.session, task, nobody);
    std::string text;
    for (const auto count : {counts.added, counts.removed, counts.refreshed, counts.moved, counts.mended,
                             counts.refused, counts.failed})
      text += std::to_string(count);
    return text;
  }

  // How many folders are believed to be in line.
  [[nodiscard]] std::size_t believed() const {
    Run run(config_);
    run.session.db.read_in_one_transaction();
    const auto folders = LastSync(run.session).folders();
    return folders ? folders->size() : 0;
  }

  [[nodiscard]] std::string path(const std::string& name) const { return folder_.path() + "/" + name; }
  void write(const std::string& name, const std::string& content) const {
    const std::string file = folder_.write(name, content);
    set_time(file, 1'000'000'000);
  }
  static void set_time(const std::string& file, std::time_t time) {
    const utimbuf times{time, time};
    utime(file.c_str(), &times);
  }
  void run_sql(const char* statement) const { testing::Sql(catalogue_path(config_.mntpath)).run(statement); }
  [[nodiscard]] std::string state() const { return path(".systemfile/corvexal-sync.state"); }

  const std::string song_ = testing::read_file(testing::sample("music/vbr.mp3"));
  testing::TestFolder folder_;
  ConfigRecord config_;
};

TEST_F(LastSyncTest, IsBelievedWhileStoresSettingsAndItsFileAreAsItLeftThem) {
  const auto rewrite = [](const std::string& file, const std::function<void(std::string&)>& change) {
    std::string content = testing::read_file(file);
    change(content);
    std::ofstream(file, std::ios::binary) << content;
  };
  const auto zone = [](const char* name) {
    setenv("TZ", name, 1);
    tzset();
  };
  const struct {
    const char* what;
    std::function<void()> change;
  } changes[] = {
      {"a row", [&] { run_sql("update video_tbl set Depth='9'"); }},
      {"another journal", [&] { run_sql("pragma journal_mode=wal"); }},
      {"the song store", [&] { rewrite(song_store_path(config_.mntpath), [](auto&) {}); }},
      {"no song store", [&] { fs::remove(song_store_path(config_.mntpath)); }},
      {"a setting", [&] { config_.standard_tags = !config_.standard_tags; }},
      {"the time zone", [&] { zone("XST-14"); }},
      {"an end that is missing", [&] { rewrite(state(), [](auto& text) { text.resize(text.size() - 8); }); }},
      {"an end too many", [&] { rewrite(state(), [](auto& text) { text += "x"; }); }},
      {"a digest", [&] { rewrite(state(), [](auto& text) { text[24] ^= 1; }); }},
      {"no file", [&] { fs::resize_file(state(), 0); }},
      {"a second name", [&] { fs::create_hard_link(state(), path("name")); }},
  };
  for (const auto& [what, change] : changes) {
    SCOPED_TRACE(what);
    run_sql("pragma journal_mode=delete");
    sync();
    EXPECT_EQ(believed(), 3U);
    change();
    EXPECT_EQ(believed(), 0U);
  }
  zone("");
}

TEST_F(LastSyncTest, IsBelievedOfFoldersWhoseEntriesAreTheSame) {
  const auto replace = [&](const std::string& name) {
    write("other", song_);
    fs::rename(path("other"), path(name));
  };
  const struct {
    const char* what;
    std::function<void()> change;
    const char* done;
  } changes[] = {
      {"nothing", [] {}, "0000000"},
      {"a new file", [&] { write("a/new.iso", ""); }, "1000100"},
      {"another size", [&] { write("a/new.iso", "5"); }, "0010000"},
      {"another date", [&] { set_time(path("a/new.iso"), 1'000'000'001); }, "0010000"},
      {"another file of the same facts", [&] { replace("a/song.mp3"); }, "0000200"},
      {"another name", [&] { fs::rename(path("a/new.iso"), path("a/newer.iso")); }, "1100000"},
      {"a folder of that name", [&] { fs::remove(path("a/newer.iso")), write("a/newer.iso/x.iso", ""); },
       "1100200"},
      {"a folder with entries of no media class", [&] { write("c/notes", ""); }, "0000100"},
      {"another folder", [&] { fs::rename(path("a"), path("d")); }, "0004300"},
      {"no file", [&] { fs::remove(path("top.iso")); }, "0100100"},
      {"a name that cannot be held", [&] { write("d/\".iso", ""); }, "0000010"},
      {"the same again", [] {}, "0000010"},
  };
  for (const auto& [what, change, done] : changes) {
    SCOPED_TRACE(what);
    change();
    EXPECT_GT(believed(), 0U);
    EXPECT_EQ(sync(), done);
  }
}

TEST_F(LastSyncTest, IsNoMatterOfSyncsOfAPart) {
  write("a/new.iso", "");
  write("a/b/unfinished.iso", "");
  EXPECT_EQ(sync_part("a/b/", {path("a/b/unfinished.iso")}), "0000000");
  EXPECT_EQ(sync_part("a/", {path("a/b/unfinished.iso")}), "1000100");
  EXPECT_EQ(believed(), 0U);
  EXPECT_EQ(sync(), "1000100");
  fs::rename(path("a/b"), path(".away"));
  EXPECT_EQ(sync_part("a/"), "0200200");
  fs::rename(path(".away"), path("a/b"));
  EXPECT_EQ(sync(), "2000200");
  EXPECT_EQ(believed(), 3U);
}

TEST_F(LastSyncTest, DoesNotKeepPlaylistsFromBeingRead) {
  fs::create_hard_link(path("a/song.mp3"), path("a/second.mp3"));
  write("a/list.m3u", "song.mp3\n");
  fs::create_directory(path("share"));
  for (const char* share : {"", "share"}) {
    config_.sharepath = path(share);
    sync();
    EXPECT_EQ(sync(), "0000000");
    write("a/list.m3u", *share == '\0' ? "none.mp3\n" : "song.mp3\n");
    EXPECT_EQ(sync(), "0000100");
    EXPECT_EQ(sync(), "0000000");
  }
}

TEST_F(LastSyncTest, IsReplacedByNothingThroughALink) {
  const std::string other = folder_.write("other", "kept");
  fs::remove(state());
  fs::create_symlink(other, state());
  write("a/new.iso", "");
  EXPECT_EQ(sync(), "1000100");
  EXPECT_EQ(testing::read_file(other), "kept");
}

TEST_F(LastSyncTest, SparesTheLookAtRowsUnlessToldNotTo) {
  const std::size_t folders = believed();
  {
    Run run(config_);
    run.session.db.read_in_one_transaction();
    const LastSync last_sync(run.session);
    const auto left = last_sync.folders();
    run.session.db.exec("COMMIT;");
    run.session.db.exec("update video_tbl set Depth=\"%d\";", 9);
    run.session.db.exec("COMMIT;");
    last_sync.replace(*left, song_store_state(run.session));
  }
  EXPECT_EQ(believed(), folders);
  EXPECT_EQ(sync(), "0000000");
  EXPECT_EQ(sync(false), "0000300");
}

TEST_F(LastSyncTest, IsNotReplacedWhenSomebodyElseWroteMeanwhile) {
  Run run(config_);
  run.session.db.read_in_one_transaction();
  const LastSync last_sync(run.session);
  const auto left = last_sync.folders();
  run.session.db.exec("COMMIT;");
  run_sql("update video_tbl set Depth='9'");
  last_sync.replace(*left, song_store_state(run.session));
  EXPECT_EQ(believed(), 0U);
}

}  // namespace
}  // namespace corvexal
