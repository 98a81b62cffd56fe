// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/faults/device.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <memory>
#include <set>

#include "songdb/gdbm_file.h"
#include "songdb/record.h"
#include "songdb/store.h"

namespace corvexal::testing {
namespace {

namespace fs = std::filesystem;

constexpr unsigned kLongestRun = 60;  // seconds
constexpr const char* kStores = "share/.systemfile";
constexpr const char* kKept = "kept";
constexpr auto kCopy = fs::copy_options::recursive | fs::copy_options::overwrite_existing;

std::string errors_file(int process) {
  return "errors." + std::to_string(process);
}
std::string output_file(int process) {
  return "output." + std::to_string(process);
}

void redirect(int descriptor, const std::string& path) {
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  dup2(file, descriptor);
  close(file);
}

[[noreturn]] void become(const std::string& program, std::vector<std::string> arguments, const Fault& fault) {
  redirect(1, output_file(getpid()));
  redirect(2, errors_file(getpid()));
  setenv("LD_PRELOAD", CORVEXAL_FAULTY_CALLS, 1);
  setenv("ASAN_OPTIONS", "verify_asan_link_order=0", 1);
  setenv("FAULT_COUNT", "1", 1);
  if (fault.call >= 0) setenv("FAULT_CALL", std::to_string(fault.call).c_str(), 1);
  setenv("FAULT_ERROR", std::to_string(fault.error).c_str(), 1);
  if (fault.for_good) setenv("FAULT_FOR_GOOD", "1", 1);
  if (!fault.path.empty()) setenv("FAULT_PATH", fault.path.c_str(), 1);
  alarm(kLongestRun);
  arguments.insert(arguments.begin(), CORVEXAL_PROGRAMS "/" + program);
  std::vector<char*> pointers;
  for (std::string& argument : arguments) pointers.push_back(argument.data());
  pointers.push_back(nullptr);
  execv(pointers[0], pointers.data());
  _exit(127);
}

using Row = std::vector<std::string>;

struct CloseCatalogue {
  void operator()(sqlite3* db) const noexcept { sqlite3_close(db); }
};

// A copy of both stores, looked at as their other clients do.
class StoresCopy {
 public:
  explicit StoresCopy(const Device& device) {
    fs::remove_all("copy");
    fs::create_directory("copy");
    fs::copy(device.path(".systemfile"), "copy/.systemfile", kCopy);
    sqlite3* opened = nullptr;
    EXPECT_EQ(sqlite3_open("copy/.systemfile/.upnpav-db/upnpav.db", &opened), SQLITE_OK);
    db_.reset(opened);
    EXPECT_EQ(select("pragma integrity_check"), (std::vector<Row>{{"ok"}}));
  }

  [[nodiscard]] std::vector<Row> select(const std::string& sql) const {
    std::vector<Row> rows;
    const auto take = [](void* to, int count, char** values, char** /*names*/) {
      Row& row = static_cast<std::vector<Row>*>(to)->emplace_back();
      for (int i = 0; i < count; ++i) row.emplace_back(values[i] == nullptr ? "" : values[i]);
      return 0;
    };
    EXPECT_EQ(sqlite3_exec(db_.get(), sql.c_str(), take, &rows, nullptr), SQLITE_OK) << sql;
    return rows;
  }

  // The songs by their path as it is stored.
  [[nodiscard]] static std::multimap<std::string, SongInfo> songs() {
    std::multimap<std::string, SongInfo> songs;
    const std::string path = song_store_path("copy");
    if (!fs::exists(path)) return songs;
    const GdbmFile db = open_gdbm(path, GDBM_READER);
    EXPECT_TRUE(db) << gdbm_failure();
    if (!db) return songs;
    KeyWalk walk(db.get());
    while (walk.next()) {
      SongInfo song;
      const Datum record(gdbm_fetch(db.get(), walk.key().borrowed()));
      EXPECT_TRUE(is_whole_record(record.bytes()));
      unpack_song(record.bytes(), song);
      songs.emplace(song.path.value_or(""), song);
    }
    EXPECT_FALSE(walk.damaged());
    return songs;
  }

 private:
  std::unique_ptr<sqlite3, CloseCatalogue> db_;
};

}  // namespace

Device::Device() {
  for (const char* folder : {"etc", "var/log", "var/run", "share"}) fs::create_directories(folder);
  const std::string share = root_.path() + "/share";
  root_.write("etc/upnpav.conf", "sharepath=" + share + "\nmntpath=" + share + "\n");
}

std::string Device::path(const std::string& name) const {
  return root_.path() + (name.empty() ? "/share" : "/share/" + name);
}

void Device::add_song(const std::string& name) const {
  fs::create_directories(fs::path(path(name)).parent_path());
  fs::copy(sample("music/cbr-128.mp3"), path(name), kCopy);
}

int Device::start(const std::string& program, const std::vector<std::string>& arguments,
                  const Fault& fault) const {
  const int process = fork();
  if (process == 0) become(program, arguments, fault);
  return process;
}

Outcome Device::outcome_of(int process) const {
  int status = 0;
  waitpid(process, &status, 0);
  Outcome outcome;
  if (WIFEXITED(status)) outcome.exit_status = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
  std::ifstream errors(errors_file(process)), log("var/log/MediaServer.log");
  for (std::string line; std::getline(errors, line);) {
    constexpr std::string_view kCalls = "calls ", kFails = " fails";
    if (line.starts_with(kCalls))
      outcome.calls = std::stol(line.substr(kCalls.size()));
    else
      (line.ends_with(kFails) ? outcome.failed : outcome.errors).append(line) += '\n';
  }
  for (std::string line; std::getline(log, line);)
    if (line.starts_with(':')) outcome.log.append(line) += '\n';
  outcome.output = read_file(output_file(process));
  fs::remove(errors_file(process));
  fs::remove(output_file(process));
  fs::remove("var/log/MediaServer.log");
  return outcome;
}

Outcome Device::run(const std::string& program, const std::vector<std::string>& arguments,
                    const Fault& fault) const {
  return outcome_of(start(program, arguments, fault));
}

void Device::keep_stores() const {
  fs::remove_all(kKept);
  fs::copy(kStores, kKept, kCopy);
}

void Device::restore_stores() const {
  fs::remove_all(kStores);
  fs::copy(kKept, kStores, kCopy);
}

std::string content(const Device& device, bool of_facts) {
  const StoresCopy copy(device);
  std::string content;
  const auto add = [&](const std::string& title, const std::vector<Row>& rows) {
    content += "== " + title + '\n';
    for (const Row& row : rows)
      for (const std::string& value : row) content += value + (&value == &row.back() ? '\n' : '|');
  };
  for (const Row& table : copy.select("select name from sqlite_master where type = 'table' order by name")) {
    const bool has_files = table[0] == "music_tbl" || table[0] == "video_tbl" || table[0] == "photo_tbl";
    if (of_facts)
      add(table[0], copy.select("select * from " + table[0] + " order by rowid"));
    else if (has_files)
      add(table[0],
          copy.select("select No,Real_Path,Real_fname,ObjID,ParentID from " + table[0] + " order by rowid"));
  }
  content += "== songs\n";
  for (const auto& [path, song] : StoresCopy::songs())
    content += std::to_string(song.id) + '|' + path + (of_facts ? '|' + song.title.value_or("") : "") + '\n';
  return content;
}

SongCounts count_songs(const Device& device, const std::string& folder) {
  const StoresCopy copy(device);
  const std::string prefix = device.path(folder) + '/';
  SongCounts counts;
  std::map<std::string, std::size_t> rows;
  for (const Row& row : copy.select("select Real_Path || Real_fname from music_tbl"))
    if (row[0].starts_with(prefix)) ++rows[row[0]];
  for (const auto& file : fs::recursive_directory_iterator(device.path(folder))) {
    if (!file.is_regular_file()) continue;
    const std::size_t times = rows[file.path().string()];
    counts.rows_of_rarest = counts.songs == 0 ? times : std::min(counts.rows_of_rarest, times);
    counts.rows_of_commonest = std::max(counts.rows_of_commonest, times);
    ++counts.songs;
  }
  // The store leaves a path's first four bytes out.
  for (const auto& [path, song] : StoresCopy::songs())
    if (path.starts_with(prefix.substr(4)) || path.starts_with(prefix)) ++counts.records;
  return counts;
}

}  // namespace corvexal::testing
