// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <string>
#include <vector>

namespace corvexal::bench {

// A made-up share with a catalogue of 100,000 songs, 100,000 photos and 20,000 videos in 10,000 folders, in a
// folder that stands for the device's root. Each is a file (empty) on the disk, so that a walk over the
// catalogue finds it. Made once and kept.
class Library {
 public:
  static constexpr int kGenres = 20;
  static constexpr int kFoldersPerGenre = 500;
  static constexpr int kSongsPerFolder = 10;  // and as many photos
  static constexpr int kVideosPerFolder = 2;

  // Uses the library under `root`, making it first when it is not there.
  explicit Library(const std::string& root);

  [[nodiscard]] const std::string& root() const { return root_; }
  [[nodiscard]] std::string share() const { return root_ + "/HD_a2"; }

  // Paths without a trailing "/". Folders of a genre are numbered from 0.
  [[nodiscard]] std::string genre(int number) const;
  [[nodiscard]] std::string folder(int genre_number, int number) const;
  [[nodiscard]] static std::string song(int number) { return "Track " + std::to_string(number) + ".mp3"; }

  // Puts the catalogue back to how it was made.
  void restore() const;

 private:
  void make() const;

  std::string root_;
};

// What one run of the program cost.
struct Cost {
  double wall_seconds = 0;
  double cpu_seconds = 0;
  double peak_mib = 0;
  int status = 0;
};

// Does the work in a process of its own: what a process has once needed counts in the peak memory of every
// program that it starts later.
Cost in_own_process(const std::function<void()>& work);

// Runs the program, or another one, in a folder that stands for the device's root; what it prints is dropped.
[[nodiscard]] Cost run_program(const std::string& root, const std::vector<std::string>& arguments,
                               std::string program = CORVEXAL_PROGRAM);

// Runs the program once an iteration, after `prepare` in a process of its own. Reports the wall time as the
// benchmark's, the mean processor time and the highest peak memory beside it.
void measure_runs(benchmark::State& state, const std::string& root, const std::vector<std::string>& arguments,
                  const std::function<void()>& prepare, const std::string& program = CORVEXAL_PROGRAM);

}  // namespace corvexal::bench
