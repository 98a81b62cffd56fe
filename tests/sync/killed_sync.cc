// SPDX-License-Identifier: GPL-3.0-or-later
// Kills the first import of a library, and a sync after a day of changes, at random moments: killed_sync
// [SEED [COUNT]] does so many of each. The next sync must lead to what an undisturbed one does, and a reader
// must never see but whole sort tables, those from before or those from after. Ends with 1 and says where it
// is not so.

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include "catalogue/reconcile.h"
#include "catalogue/schema.h"
#include "tests/support/test_files.h"
#include "tests/sync/store_picture.h"

namespace corvexal::testing {
namespace {

namespace fs = std::filesystem;
using std::chrono::microseconds;

// Several batches of rows.
constexpr int kFolders = 30, kFilesPerFolder = 50;

int sync(const std::string& share) {
  Session session;
  session.config.sharepath = session.config.mntpath = share;
  if (create_catalogue(share) != 0 || session.db.open(catalogue_path(share)) != SQLITE_OK) return 1;
  ReconcileTask task;
  task.share = share + '/';
  task.folders = {task.share};
  ReconcileListener listener;
  const ReconcileCounts counts = reconcile(session, task, listener);
  session.db.close();
  return counts.failed == 0 ? 0 : 1;
}

// Does the work in a process of its own: nothing of a connection stays in this one.
pid_t start(const std::function<int()>& work) {
  const pid_t process = fork();
  if (process == 0) _exit(work());
  return process;
}

bool ends_well(pid_t process) {
  int status = 0;
  return waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// The sort tables as a client of the catalogue sees them, as a number; 0 without any, nothing when they
// cannot be had now.
std::optional<std::size_t> sort_tables(const std::string& share) {
  constexpr const char* kSelect =
      "select 1,idx from music_sortidx_tbl union all select 2,idx from video_sortidx_tbl "
      "union all select 3,name||cnt from music_sortArt_tbl union all select 4,name||cnt from "
      "music_sortAlb_tbl;";
  sqlite3* opened = nullptr;
  sqlite3_open_v2(catalogue_path(share).c_str(), &opened, SQLITE_OPEN_READWRITE, nullptr);
  const std::unique_ptr<sqlite3, decltype(&sqlite3_close)> db(opened, sqlite3_close);
  sqlite3_stmt* prepared = nullptr;
  if (sqlite3_prepare_v2(opened, kSelect, -1, &prepared, nullptr) != SQLITE_OK) return {};
  const std::unique_ptr<sqlite3_stmt, decltype(&sqlite3_finalize)> rows(prepared, sqlite3_finalize);
  std::string all;
  int code = SQLITE_ROW;
  while ((code = sqlite3_step(prepared)) == SQLITE_ROW)
    for (const int column : {0, 1})
      all.append(reinterpret_cast<const char*>(sqlite3_column_text(prepared, column))).append(",");
  if (code != SQLITE_DONE) return {};
  return all.empty() ? 0 : std::hash<std::string>()(all);
}

// Looks at the sort tables again and again, and remembers what it has seen.
class Reader {
 public:
  explicit Reader(const std::string& share) {
    if (pipe2(seen_, O_NONBLOCK) != 0) std::abort();
    process_ = start([&] {
      std::set<std::size_t> known;
      for (;; std::this_thread::sleep_for(microseconds(200)))
        if (const auto now = sort_tables(share))
          if (known.insert(*now).second && write(seen_[1], &*now, sizeof *now) < 0) return 1;
    });
  }
  ~Reader() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    close(seen_[0]);
    close(seen_[1]);
  }
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  [[nodiscard]] std::set<std::size_t> seen() const {
    std::set<std::size_t> all;
    for (std::size_t one = 0; read(seen_[0], &one, sizeof one) == sizeof one;) all.insert(one);
    return all;
  }

 private:
  pid_t process_;
  int seen_[2];
};

class Killer {
 public:
  Killer(std::uint32_t seed, int count) : random_(seed), left_(count) {}

  // What went wrong, or nothing.
  std::string run() {
    fs::create_directory(share_);
    for (int i = 0; i < kFolders * kFilesPerFolder; ++i) write(i, i % 3 == 0 ? ".mpg" : ".wav", "RIFFxxxx");
    write(0, ".m3u", "1.wav.mp3\n");
    const std::string trouble = kill_again_and_again("the first import");
    if (!trouble.empty()) return trouble;
    fs::copy(share_ + "/.systemfile", folder_.path() + "/before", fs::copy_options::recursive);
    for (int i = 0; i < kFolders * kFilesPerFolder; i += 4)
      write(i, i % 3 == 0 ? ".mpg" : ".wav", "RIFFxxxxyy");
    for (int i = 1; i < kFolders * kFilesPerFolder; i += 7) fs::remove(path(i, ".wav"));
    for (int i = 0; i < 700; ++i) write(i, ".flac", "new");
    fs::rename(share_ + "/5", share_ + "/five");
    return kill_again_and_again("a sync after a day of changes");
  }

 private:
  std::string path(int number, const std::string& extension) const {
    return share_ + "/" + std::to_string(number % kFolders) + "/" + std::to_string(number) + extension;
  }
  void write(int number, const std::string& extension, const std::string& content) const {
    (void)folder_.write(path(number, extension).substr(folder_.path().size() + 1), content);
  }

  void restore() const {
    fs::remove_all(share_ + "/.systemfile");
    if (fs::exists(folder_.path() + "/before"))
      fs::copy(folder_.path() + "/before", share_ + "/.systemfile", fs::copy_options::recursive);
  }

  static std::set<std::string> files_of_stores(const std::string& share) {
    std::set<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(share + "/.systemfile"))
      files.insert(entry.path());
    return files;
  }

  std::string kill_again_and_again(const std::string& what) {
    restore();
    const auto begin = std::chrono::steady_clock::now();
    if (!ends_well(start([this] { return sync(share_); }))) return what + " failed";
    const auto length = std::chrono::duration_cast<microseconds>(std::chrono::steady_clock::now() - begin);
    const StorePicture undisturbed = look_at_stores(share_, share_);
    for (const std::string& complaint : undisturbed.complaints) return what + ": " + complaint;
    const std::set<std::string> files = files_of_stores(share_);
    for (int i = 0; i < left_; ++i) {
      restore();
      std::string trouble = kill_once(length, undisturbed);
      if (trouble.empty() && files_of_stores(share_) != files) trouble = "other files beside the stores";
      if (!trouble.empty()) return what + ", kill " + std::to_string(i) + ": " + trouble;
    }
    std::fprintf(stderr, "%s takes %.0f ms: %d kills, %d of them in the midst of it\n", what.c_str(),
                 static_cast<double>(length.count()) / 1000, left_, std::exchange(killed_, 0));
    return "";
  }

  std::string kill_once(microseconds length, const StorePicture& undisturbed) {
    const std::size_t before = sort_tables(share_).value_or(0);
    const Reader reader(share_);
    for (int runs = 1 + static_cast<int>(random_() % 2); runs > 0; --runs) {
      const pid_t process = start([this] { return sync(share_); });
      std::this_thread::sleep_for(length * (random_() % 1000) / 1000);
      kill(process, SIGKILL);
      if (!ends_well(process)) ++killed_;
    }
    if (!ends_well(start([this] { return sync(share_); }))) return "the next sync failed";
    const StorePicture now = look_at_stores(share_, share_);
    for (const std::string& complaint : now.complaints) return complaint;
    if (now.rows.size() != undisturbed.rows.size() || now.songs.size() != undisturbed.songs.size())
      return "other rows or records";
    for (const auto& [path, row] : undisturbed.rows) {
      const auto same = now.rows.find(path);
      if (same == now.rows.end() || same->second.size != row.size || same->second.date != row.date)
        return "another row: " + path;
    }
    const std::size_t after = sort_tables(share_).value_or(0);
    for (const std::size_t seen : reader.seen())
      if (seen != 0 && seen != before && seen != after) return "a reader saw a part of the sort tables";
    return "";
  }

  TestFolder folder_;
  const std::string share_ = folder_.path() + "/share";
  std::mt19937 random_;
  int left_, killed_ = 0;
};

}  // namespace
}  // namespace corvexal::testing

int main(int argc, char** argv) {
  const auto number = [&](int at, const char* otherwise) {
    return static_cast<int>(std::strtol(argc > at ? argv[at] : otherwise, nullptr, 10));
  };
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  setenv("PATH", "/nowhere", 1);  // no encoding detector
  const std::string trouble =
      corvexal::testing::Killer(static_cast<std::uint32_t>(number(1, "1")), number(2, "10")).run();
  if (!trouble.empty()) std::fprintf(stderr, "%s\n", trouble.c_str());
  return trouble.empty() ? 0 : 1;
}
