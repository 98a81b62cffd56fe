// SPDX-License-Identifier: GPL-3.0-or-later
#include "bench/library.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>

#include "catalogue/object_ids.h"
#include "catalogue/schema.h"

namespace corvexal::bench {
namespace {

namespace fs = std::filesystem;

void add_song(Database& database, int number, const std::string& folder, const std::string& name) {
  const auto numbered = [number](const char* what, int of) { return what + std::to_string(number % of); };
  database.exec(
      "insert into music_tbl values "
      "(\"%d\",\"%s\",\"%s\",\"%s\",\"%s\",\"mp3\",\"2020-01-01T12:00:00\",\"4000000\",\"%s\","
      "\"%s\",\"%s\",\"%s\",\"192\",\"0\",\"0\",\"0\",\"4\",\"0\",\"%llu\",\"4000000000001\",\"0\",\"0\","
      "\"0\");",
      number, folder, name, folder, name, numbered("Genre ", 120), numbered("Artist ", 5000),
      numbered("Album ", 10'000), numbered(number % 3 == 0 ? "Title " : "title ", 90'000),
      ObjectIds{}.music_file_objid + static_cast<unsigned>(number));
}

void add_photo(Database& database, int number, const std::string& folder, const std::string& name) {
  database.exec(
      "insert into photo_tbl values "
      "(\"%d\",\"%s\",\"%s\",\"%s\",\"%s\",\"jpg\",\"2020-01-01T12:00:00\",\"2000000\",\"4000\",\"3000\","
      "\"24\",\"0\",\"0\",\"0\",\"4\",\"%llu\",\"4000000000001\",\"0\",\"0\",\"0\");",
      number, folder, name, folder, name, ObjectIds{}.photo_file_objid + static_cast<unsigned>(number));
}

void add_video(Database& database, int number, const std::string& folder, const std::string& name) {
  database.exec(
      "insert into video_tbl values "
      "(\"%d\",\"%s\",\"%s\",\"%s\",\"%s\",\"avi\",\"2020-01-01T12:00:00\",\"700000000\",\"0\",\"0\","
      "\"0\",\"0\",\"0\",\"0\",\"0\",\"0\",\"4\",\"%llu\",\"4000000000001\",\"0\",\"0\",\"0\");",
      number, folder, name, folder, name, ObjectIds{}.video_file_objid + static_cast<unsigned>(number));
}

void add_folder(Database& database, int number, const std::string& folder) {
  database.exec("insert into path_objid_tbl values (\"%s\",\"%llu\",\"0\",\"3\",\"1\",\"1\",\"1\");", folder,
                ObjectIds{}.media_path_objid + static_cast<unsigned>(number));
}

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

Cost wait_for(pid_t child, std::chrono::steady_clock::time_point start) {
  Cost cost;
  rusage usage{};
  wait4(child, &cost.status, 0, &usage);
  cost.wall_seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  cost.cpu_seconds = seconds(usage.ru_utime) + seconds(usage.ru_stime);
  cost.peak_mib = static_cast<double>(usage.ru_maxrss) / 1024;
  return cost;
}

}  // namespace

Library::Library(const std::string& root) : root_(fs::absolute(root).string()) {
  if (!fs::exists(root_ + "/pristine.db")) in_own_process([this] { make(); });
}

std::string Library::genre(int number) const {
  return share() + "/Music/Genre " + std::to_string(100 + number);
}

std::string Library::folder(int genre_number, int number) const {
  // The underscores are wildcards in the catalogue's look-ups: the harder case.
  return genre(genre_number) + "/Artist_" + std::to_string(number / 20) + "/Album_" +
         std::to_string(number % 20);
}

void Library::make() const {
  std::cerr << "Making a library of 220,000 files in " << root_ << " ...\n";
  fs::create_directories(root_ + "/etc");
  fs::create_directories(root_ + "/var/log");
  fs::create_directories(share());
  std::ofstream(root_ + "/etc/upnpav.conf") << "sharepath=" << share() << "\nmntpath=" << share() << "\n";
  if (create_catalogue(share()) != 0) std::abort();
  Database database;
  database.open(catalogue_path(share()));
  int songs = 0, photos = 0, videos = 0;
  for (int i = 0; i < kGenres * kFoldersPerGenre; ++i) {
    const std::string path = folder(i / kFoldersPerGenre, i % kFoldersPerGenre) + '/';
    fs::create_directories(path);
    add_folder(database, i, path);
    for (int track = 0; track < kSongsPerFolder; ++track) {
      std::ofstream{path + song(track)};
      add_song(database, ++songs, path, song(track));
      const std::string photo = "IMG_" + std::to_string(++photos) + ".jpg";
      std::ofstream{path + photo};
      add_photo(database, photos, path, photo);
    }
    for (int clip = 0; clip < kVideosPerFolder; ++clip) {
      const std::string video = "Clip " + std::to_string(++videos) + ".avi";
      std::ofstream{path + video};
      add_video(database, videos, path, video);
    }
  }
  database.close();
  fs::copy_file(catalogue_path(share()), root_ + "/pristine.db");
}

void Library::restore() const {
  fs::copy_file(root_ + "/pristine.db", catalogue_path(share()), fs::copy_options::overwrite_existing);
}

Cost in_own_process(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  const pid_t child = fork();
  if (child == 0) {
    work();
    _exit(0);
  }
  const Cost cost = wait_for(child, start);
  if (cost.status != 0) std::abort();
  return cost;
}

Cost run_program(const std::string& root, const std::vector<std::string>& arguments, std::string program) {
  std::vector<std::string> words = arguments;
  std::vector<char*> argv = {program.data()};
  for (std::string& word : words) argv.push_back(word.data());
  argv.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addchdir_np(&actions, root.c_str());
  posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);

  pid_t child = 0;
  const auto start = std::chrono::steady_clock::now();
  if (posix_spawn(&child, program.c_str(), &actions, nullptr, argv.data(), environ) != 0) std::abort();
  const Cost cost = wait_for(child, start);
  posix_spawn_file_actions_destroy(&actions);
  return cost;
}

void measure_runs(benchmark::State& state, const std::string& root, const std::vector<std::string>& arguments,
                  const std::function<void()>& prepare, const std::string& program) {
  double cpu = 0, peak = 0;
  for (auto _ : state) {
    in_own_process(prepare);
    const Cost cost = run_program(root, arguments, program);
    if (cost.status != 0) state.SkipWithError("the run failed");
    state.SetIterationTime(cost.wall_seconds);
    cpu += cost.cpu_seconds;
    peak = std::max(peak, cost.peak_mib);
  }
  state.counters["cpu_s"] = benchmark::Counter(cpu, benchmark::Counter::kAvgIterations);
  state.counters["peak_MiB"] = peak;
}

}  // namespace corvexal::bench
