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
#include <exception>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include "catalogue/schema.h"
#include "tests/support/test_files.h"
#include "tests/sync/store_looks.h"

namespace corvexal::testing {
namespace {

namespace fs = std::filesystem;
using std::chrono::microseconds;
using std::chrono::steady_clock;

// Several batches of rows.
constexpr int kFolders = 30, kFiles = 1500;

// Does the work in a process of its own: nothing of a connection stays in this one.
pid_t start(const std::function<void()>& work) {
  const pid_t process = fork();
  if (process != 0) return process;
  try {
    work();
    _exit(0);
  } catch (const std::exception&) {
    _exit(1);
  }
}

bool ends_well(pid_t process) {
  int status = 0;
  return waitpid(process, &status, 0) == process && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

// The sort tables as a client of the catalogue sees them, as a number; 0 without any, or when they cannot be
// had now.
std::size_t sort_tables(const std::string& share) try {
  std::string all;
  for (const auto& row : Sql(catalogue_path(share))
                             .run("select 1,idx from music_sortidx_tbl union all select 2,idx from "
                                  "video_sortidx_tbl union all select 3,name||cnt from music_sortArt_tbl "
                                  "union all select 4,name||cnt from music_sortAlb_tbl"))
    all += row[0] + row[1] + ',';
  return all.empty() ? 0 : std::hash<std::string>()(all);
} catch (const std::exception&) {
  return 0;
}

// Looks at the sort tables again and again, and remembers what it has seen.
class Reader {
 public:
  explicit Reader(const std::string& share) {
    if (pipe2(seen_, O_NONBLOCK) != 0) std::abort();
    process_ = start([&] {
      std::set<std::size_t> known{0};
      for (;; std::this_thread::sleep_for(microseconds(200)))
        if (const std::size_t now = sort_tables(share); known.insert(now).second)
          if (write(seen_[1], &now, sizeof now) < 0) return;
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
  Killer(std::uint32_t seed, int count) : random_(seed), kills_(count) { fs::create_directory(share_); }

  // Throws what went wrong.
  void run() {
    for (int i = 0; i < kFiles; ++i) write(i, i % 3 == 0 ? ".mpg" : ".wav", "RIFFxxxx");
    write(0, ".m3u", "1.wav.mp3\n");
    kill_again_and_again("the first import");
    fs::copy(stores_, before_, fs::copy_options::recursive);
    for (int i = 0; i < kFiles; i += 4) write(i, i % 3 == 0 ? ".mpg" : ".wav", "RIFFxxxxyy");
    for (int i = 1; i < kFiles; i += 7) fs::remove(share_ + '/' + name_of(i, ".wav"));
    for (int i = 0; i < 700; ++i) write(i, ".flac", "new");
    fs::rename(share_ + "/5", share_ + "/five");
    kill_again_and_again("a sync after a day of changes");
  }

 private:
  static std::string name_of(int number, const std::string& extension) {
    return std::to_string(number % kFolders) + '/' + std::to_string(number) + extension;
  }
  void write(int number, const std::string& extension, const std::string& content) const {
    (void)folder_.write("share/" + name_of(number, extension), content);
  }

  void restore() const {
    fs::remove_all(stores_);
    if (fs::exists(before_)) fs::copy(before_, stores_, fs::copy_options::recursive);
  }

  std::set<std::string> files_of_stores() const {
    std::set<std::string> files;
    for (const auto& entry : fs::recursive_directory_iterator(stores_)) files.insert(entry.path());
    return files;
  }

  [[nodiscard]] pid_t start_sync() const {
    return start([this] {
      ReconcileListener listener;
      sync(share_, whole_library(share_), listener);
    });
  }

  void kill_again_and_again(const std::string& what) {
    restore();
    const auto begin = steady_clock::now();
    if (!ends_well(start_sync())) throw std::runtime_error(what + " failed");
    const auto length = std::chrono::duration_cast<microseconds>(steady_clock::now() - begin);
    StoreLooks looks(share_, share_);
    looks.look();
    for (const std::string table : {"row", "song"})
      looks.sql().run("create table undisturbed_" + table + " as select * from now_" + table);
    const std::set<std::string> files = files_of_stores();
    for (int i = 0; i < kills_; ++i) try {
        restore();
        kill_once(length, looks);
        if (files_of_stores() != files) throw std::runtime_error("other files beside the stores");
      } catch (const std::exception& trouble) {
        throw std::runtime_error(what + ", kill " + std::to_string(i) + ": " + trouble.what());
      }
    std::fprintf(stderr, "%s takes %.0f ms: %d kills, %d of them in the midst of it\n", what.c_str(),
                 static_cast<double>(length.count()) / 1000, kills_, std::exchange(killed_, 0));
  }

  void kill_once(microseconds length, StoreLooks& looks) {
    const std::size_t before = sort_tables(share_);
    const Reader reader(share_);
    for (int runs = 1 + static_cast<int>(random_() % 2); runs > 0; --runs) {
      const pid_t process = start_sync();
      std::this_thread::sleep_for(length * (random_() % 1000) / 1000);
      kill(process, SIGKILL);
      if (!ends_well(process)) ++killed_;
    }
    if (!ends_well(start_sync())) throw std::runtime_error("the next sync failed");
    looks.look();
    looks.check("as_undisturbed");
    const std::size_t after = sort_tables(share_);
    for (const std::size_t seen : reader.seen())
      if (seen != before && seen != after) throw std::runtime_error("a reader saw a part of the sort tables");
  }

  TestFolder folder_;
  const std::string share_ = folder_.path() + "/share", stores_ = share_ + "/.systemfile",
                    before_ = folder_.path() + "/before";
  std::mt19937 random_;
  int kills_, killed_ = 0;
};

}  // namespace
}  // namespace corvexal::testing

int main(int argc, char** argv) try {
  const auto number = [&](int at, const char* otherwise) {
    return static_cast<int>(std::strtol(argc > at ? argv[at] : otherwise, nullptr, 10));
  };
  if (std::freopen("/dev/null", "w", stdout) == nullptr) return 1;
  setenv("PATH", "/nowhere", 1);  // no encoding detector
  corvexal::testing::Killer(static_cast<std::uint32_t>(number(1, "1")), number(2, "10")).run();
  return 0;
} catch (const std::exception& trouble) {
  std::fprintf(stderr, "%s\n", trouble.what());
  return 1;
}
