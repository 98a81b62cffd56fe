// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <thread>

#include "tests/faults/device.h"

namespace corvexal {
namespace {

namespace fs = std::filesystem;
using testing::content;
using testing::Device;
using testing::Fault;
using testing::Outcome;

constexpr int kFailure = 255;

// How many points of a run are tried; CORVEXAL_FAULT_POINTS tells another number.
long points_of_a_run() {
  const char* text = std::getenv("CORVEXAL_FAULT_POINTS");
  return text != nullptr ? std::atol(text) : 12;
}

struct Scenario {
  const char* name;
  std::function<void(const Device&)> change;  // of the disk
  std::vector<std::string> arguments;         // of the run that tells of it; a path begins with "@"
  bool is_scan = false;
};

const Scenario kScenarios[] = {
    {"add", [](const Device& device) { device.add_song("a/new.mp3"); }, {"-C", "@a/new.mp3"}},
    {"remove", [](const Device& device) { fs::remove(device.path("a/3.mp3")); }, {"-D", "@a/3.mp3"}},
    {"rename",
     [](const Device& device) { fs::rename(device.path("a/3.mp3"), device.path("a/renamed.mp3")); },
     {"-R", "@a/3.mp3", "@a/renamed.mp3"}},
    {"delete tree", [](const Device& device) { fs::remove_all(device.path("b")); }, {"-DD", "@b"}},
    {"scan",
     [](const Device& device) { fs::rename(device.path("b"), device.path("c")); },
     {"-R", "@b", "@c"},
     true},
};

// A device with two folders of songs, on which a change has happened that a run is to tell of.
class ChangedDevice : public Device {
 public:
  explicit ChangedDevice(const Scenario& scenario) : scenario_(scenario) {
    for (int i = 0; i < kSongs; ++i)
      for (const char* folder : {"a/", "b/"}) add_song(folder + std::to_string(i) + ".mp3");
    EXPECT_EQ(run("corvexal-sync", {}).exit_status, 0);
    keep_stores();
    scenario.change(*this);
    for (const std::string& argument : scenario.arguments)
      arguments_.push_back(argument.starts_with('@') ? path(argument.substr(1)) : argument);
    undisturbed_ = tell();
    EXPECT_EQ(undisturbed_.exit_status, 0) << undisturbed_.errors;
    once_ = content(*this);
    once_without_facts_ = content(*this, false);
    EXPECT_EQ(tell().exit_status, 0);
    twice_ = content(*this);
  }

  Outcome tell(const Fault& fault = {}) const { return run("Corvexal", arguments_, fault); }
  [[nodiscard]] long calls() const { return undisturbed_.calls; }

  // The next run after a disturbed one leaves what undisturbed ones leave: all of it or, where the facts of a
  // media file could not be read, all but these.
  void expect_that_the_next_run_mends(bool facts_may_miss, const std::string& point) const {
    static_cast<void>(content(*this));  // neither store is damaged
    const Outcome next = tell();
    EXPECT_EQ(next.exit_status, 0) << point << next.errors;
    if (scenario_.is_scan) return expect_that_sync_mends(point);
    const std::string left = content(*this);
    if (left == once_ || left == twice_) return;
    EXPECT_TRUE(facts_may_miss && content(*this, false) == once_without_facts_) << point << '\n'
                                                                                << left << once_;
  }

  // A run that succeeds has done its work, or says what it left out.
  [[nodiscard]] bool says_what_it_lost(const Outcome& outcome) const {
    const bool says_more = !outcome.errors.empty() || outcome.log != undisturbed_.log ||
                           outcome.output.find("lstat error") != std::string::npos;
    return outcome.exit_status != 0 || says_more || content(*this, false) == once_without_facts_;
  }

 private:
  static constexpr int kSongs = 6;

  // A scan looks for no rows that are there already, so what a disturbed one had committed is there twice.
  void expect_that_sync_mends(const std::string& point) const {
    const auto scanned = testing::count_songs(*this, "c");
    EXPECT_GE(scanned.rows_of_rarest, 1U) << point;
    EXPECT_LE(scanned.rows_of_commonest, 2U) << point;
    EXPECT_EQ(scanned.records, scanned.songs) << point;
    const Outcome sync = run("corvexal-sync", {"--quiet"});
    EXPECT_EQ(sync.exit_status, 0) << point << sync.errors;
    const auto mended = testing::count_songs(*this, "c");
    EXPECT_EQ(mended.rows_of_rarest * mended.rows_of_commonest, 1U) << point;
    EXPECT_EQ(mended.records, mended.songs) << point;
  }

  const Scenario& scenario_;
  std::vector<std::string> arguments_;
  Outcome undisturbed_;
  std::string once_, once_without_facts_, twice_;
};

// Calls `at` with numbers of system calls spread over a run.
long for_each_point(long calls, const std::function<void(long)>& at) {
  const long points = std::min(points_of_a_run(), calls);
  for (long i = 0; i < points; ++i) at(i * calls / points);
  return points;
}

TEST(FaultyRuns, LoseNothingWhenKilled) {
  long kills = 0;
  for (const Scenario& scenario : kScenarios) {
    const ChangedDevice device(scenario);
    kills += for_each_point(device.calls(), [&](long call) {
      const std::string point =
          scenario.name + std::string(", killed at call ") + std::to_string(call) + '\n';
      device.restore_stores();
      EXPECT_EQ(device.tell({.call = call}).signal, SIGKILL) << point;
      device.expect_that_the_next_run_mends(false, point);
    });
  }
  std::printf("killed at %ld points\n", kills);
}

TEST(FaultyRuns, LoseNothingWhenACallFails) {
  long failures = 0;
  for (const Scenario& scenario : kScenarios) {
    if (std::string_view(scenario.name) != "add" && !scenario.is_scan) continue;
    const ChangedDevice device(scenario);
    for (const Fault& kind :
         {Fault{.error = EIO}, Fault{.error = EIO, .for_good = true}, Fault{.error = ENOMEM}}) {
      failures += for_each_point(device.calls(), [&](long call) {
        Fault fault = kind;
        fault.call = call;
        const std::string point = scenario.name + std::string(", ") + std::strerror(fault.error) +
                                  (fault.for_good ? " from call " : " at call ") + std::to_string(call) +
                                  '\n';
        device.restore_stores();
        const Outcome outcome = device.tell(fault);
        EXPECT_EQ(outcome.signal, 0) << point << outcome.errors;
        EXPECT_TRUE(device.says_what_it_lost(outcome)) << point << outcome.failed << outcome.errors;
        device.expect_that_the_next_run_mends(true, point + outcome.failed + outcome.errors);
      });
    }
  }
  std::printf("a call failed at %ld points\n", failures);
}

bool has_row(const Device& device, const std::string& folder, const std::string& name) {
  return content(device).find('|' + device.path(folder) + '|' + name + '|') != std::string::npos;
}

// Only some errors say that a file is gone.
TEST(FaultyRuns, KeepTheRowsOfFilesThatTheDiskDoesNotTellOf) {
  const Device device;
  for (int i = 0; i < 3; ++i)
    for (const char* folder : {"a/", "b/"}) device.add_song(folder + std::to_string(i) + ".mp3");
  ASSERT_EQ(device.run("corvexal-sync", {}).exit_status, 0);
  device.keep_stores();
  fs::remove(device.path("a/0.mp3"));
  for (const int error : {EIO, ESTALE, EACCES, ENOMEM, ETIMEDOUT, ENOENT, ENOTDIR, ELOOP, ENAMETOOLONG}) {
    device.restore_stores();
    const Fault fault{.call = 0, .error = error, .for_good = true, .path = "/b/"};
    const Outcome outcome = device.run("Corvexal", {"-DD", "-M", device.path("none")}, fault);
    const bool is_gone = error == ENOENT || error == ENOTDIR || error == ELOOP || error == ENAMETOOLONG;
    const std::string line = "Corvexal: the disk does not tell of 3 files, whose rows stay: ";
    EXPECT_EQ(outcome.exit_status, is_gone ? 0 : kFailure) << std::strerror(error);
    EXPECT_EQ(outcome.errors, is_gone ? "" : line + std::strerror(error) + '\n');
    EXPECT_EQ(testing::count_songs(device, "b").rows_of_rarest, is_gone ? 0U : 1U) << std::strerror(error);
    EXPECT_FALSE(has_row(device, "a/", "0.mp3")) << std::strerror(error);
  }
}

TEST(FaultyRuns, FailWithoutAConfigurationThatIsThere) {
  const Device device;
  ASSERT_EQ(device.run("corvexal-mkcatalogue", {device.path("")}).exit_status, 0);
  device.add_song("a.mp3");
  for (const int error : {EMFILE, EACCES, EIO, ENOMEM}) {
    const Fault fault{.call = 0, .error = error, .for_good = true, .path = "upnpav.conf"};
    const Outcome outcome = device.run("Corvexal", {"-C", device.path("a.mp3")}, fault);
    EXPECT_EQ(outcome.exit_status, kFailure);
    EXPECT_EQ(outcome.errors, std::string("Corvexal: cannot read the configuration ./etc/upnpav.conf: ") +
                                  std::strerror(error) + '\n');
  }
}

// What a client sees of one table of the catalogue fits the others at any moment.
TEST(FaultyRuns, GetAlongWithFiftyOthersAndAReader) {
  constexpr int kOld = 10, kNew = 40;
  const Device device;
  std::vector<std::vector<std::string>> changes;
  for (int i = 0; i < kOld; ++i) device.add_song("old/" + std::to_string(i) + ".mp3");
  ASSERT_EQ(device.run("corvexal-sync", {}).exit_status, 0);
  for (int i = 0; i < kNew; ++i) {
    const std::string old_song = "old/" + std::to_string(i) + ".mp3",
                      song = "new/" + std::to_string(i) + ".mp3";
    device.add_song(song);
    changes.push_back({"-C", device.path(song)});
    if (i < kOld && fs::remove(device.path(old_song))) changes.push_back({"-D", device.path(old_song)});
  }

  std::atomic<bool> all_done = false;
  long looks = 0;
  std::thread reader([&] {
    sqlite3* db = nullptr;
    EXPECT_EQ(sqlite3_open(device.catalogue().c_str(), &db), SQLITE_OK);
    sqlite3_busy_handler(
        db, [](void*, int tries) { return usleep(1000) == 0 && tries < 30'000 ? 1 : 0; }, nullptr);
    const auto same = [](void*, int, char** counts, char**) {
      EXPECT_STREQ(counts[0], counts[1]);
      return 0;
    };
    for (; !all_done; ++looks, std::this_thread::sleep_for(std::chrono::milliseconds(1)))
      EXPECT_EQ(sqlite3_exec(
                    db, "select (select count(*) from music_tbl), (select count(*) from music_sortidx_tbl)",
                    same, nullptr, nullptr),
                SQLITE_OK)
          << sqlite3_errmsg(db);
    sqlite3_close(db);
  });
  std::vector<int> processes;
  for (const auto& change : changes) processes.push_back(device.start("Corvexal", change));
  for (const int process : processes) {
    const Outcome outcome = device.outcome_of(process);
    EXPECT_EQ(outcome.exit_status, 0) << outcome.errors;
  }
  all_done = true;
  reader.join();
  EXPECT_GT(looks, 1);
  const auto counts = testing::count_songs(device, "new");
  EXPECT_EQ(counts.songs, kNew);
  EXPECT_EQ(counts.rows_of_rarest * counts.rows_of_commonest, 1U);
  for (int i = 0; i < kOld; ++i) EXPECT_FALSE(has_row(device, "old/", std::to_string(i) + ".mp3")) << i;
}

}  // namespace
}  // namespace corvexal
