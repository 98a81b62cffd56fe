// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "tests/support/test_files.h"

namespace corvexal::testing {

// What happens to a run's system calls; see faulty_calls.cc.
struct Fault {
  long call = -1;  // -1 for none
  int error = 0;   // 0 kills the run
  bool for_good = false;
  std::string path = "";  // NOLINT(readability-redundant-string-init): else every list would have to name it
};

struct Outcome {
  int exit_status = -1;  // -1 when a signal ended the run
  int signal = 0;
  long calls = 0;      // that could have failed; of a run without a fault
  std::string failed;  // the calls that were made to fail
  std::string output;  // standard output
  std::string errors;  // standard error
  std::string log;     // the media server's, without dates
};

// A device of a test's own: its configuration, and a share whose library both stores hold. A program that
// hangs ends after a minute by a signal.
class Device {
 public:
  Device();

  // A path on the share; "" is the share itself.
  [[nodiscard]] std::string path(const std::string& name) const;
  void add_song(const std::string& name) const;

  // Runs one of the programs in the device's root.
  Outcome run(const std::string& program, const std::vector<std::string>& arguments,
              const Fault& fault = {}) const;
  [[nodiscard]] int start(const std::string& program, const std::vector<std::string>& arguments,
                          const Fault& fault = {}) const;  // its process
  [[nodiscard]] Outcome outcome_of(int process) const;

  // Keeps the stores as they are, and puts them back.
  void keep_stores() const;
  void restore_stores() const;

  [[nodiscard]] std::string catalogue() const { return path(".systemfile/.upnpav-db/upnpav.db"); }

 private:
  WorkingFolder root_;
};

// What both stores hold, without what readers of media files tell when `of_facts` is false. A copy is looked
// at, so that the next run finds what the run before left. A damaged store is a test failure.
[[nodiscard]] std::string content(const Device& device, bool of_facts = true);

// How often the catalogue has each song below a folder, and how many of them the song store has.
struct SongCounts {
  std::size_t songs = 0, rows_of_rarest = 0, rows_of_commonest = 0, records = 0;
};
[[nodiscard]] SongCounts count_songs(const Device& device, const std::string& folder);

}  // namespace corvexal::testing
