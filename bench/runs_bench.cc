// SPDX-License-Identifier: GPL-3.0-or-later
// Whole runs of the program on a catalogue of 220,000 files: wall time (the disk's syncs included), processor
// time and peak memory. The library is made under ./bench-share on the first start.

#include <benchmark/benchmark.h>

#include <filesystem>
#include <fstream>
#include <functional>

#include "bench/library.h"
#include "catalogue/database.h"
#include "catalogue/schema.h"

namespace {

namespace fs = std::filesystem;
using corvexal::bench::Library;

const Library& library() {
  static const Library made("bench-share");
  return made;
}

// Runs the program on the catalogue as it was made, after `prepare`.
void measure(
    benchmark::State& state, const std::vector<std::string>& arguments,
    const std::function<void()>& prepare = [] {}) {
  corvexal::bench::measure_runs(state, library().root(), arguments, [&prepare] {
    library().restore();
    prepare();
  });
}

void add_one_file(benchmark::State& state) {
  const std::string file = library().folder(9, 211) + "/new song.mp3";
  fs::copy_file(CORVEXAL_SAMPLES "/music/cbr-128.mp3", file, fs::copy_options::overwrite_existing);
  measure(state, {"-C", "-M", file});
}

void remove_one_file(benchmark::State& state) {
  measure(state, {"-D", "-M", library().folder(9, 211) + '/' + Library::song(5)});
}

// 5,000 songs in 500 folders. Only the catalogue is told, so that the next iteration finds the disk as it
// was.
void rename_folder(benchmark::State& state) {
  fs::create_directories(library().share() + "/Renamed");
  measure(state, {"-R", "-M", library().genre(7), library().share() + "/Renamed"});
}

// 1,000 of the 100,000 songs are gone from the disk: their rows name files that never were.
void sync_vanished_files(benchmark::State& state) {
  measure(state, {"-DD", "-M", library().genre(7)}, [] {
    corvexal::Database database;
    database.open(corvexal::catalogue_path(library().share()));
    database.exec("update music_tbl set UTF_fname = 'gone '||UTF_fname where No %% 100 == 0;");
    database.close();
  });
}

// 100 playlists of 100 entries, each entry a song of the playlist's folder; the sync's walk is part of the
// run.
void link_playlists(benchmark::State& state) {
  const auto prepare = [] {
    corvexal::Database database;
    database.open(corvexal::catalogue_path(library().share()));
    for (int i = 0; i < 100; ++i) {
      const std::string folder = library().folder(3, i) + '/', name = "list.m3u";
      std::ofstream list(folder + name);
      for (int entry = 0; entry < 100; ++entry)
        list << Library::song(entry % Library::kSongsPerFolder) << "\r\n";
      database.exec(
          "insert into music_tbl values "
          "(\"%d\",\"%s\",\"%s\",\"%s\",\"%s\",\"m3u\",\"0\",\"0\",\"0\",\"0\",\"0\",\"0\",\"0\","
          "\"0\",\"0\",\"0\",\"4\",\"0\",\"0\",\"0\",\"0\",\"0\",\"0\");",
          200'000 + i, folder, name, folder, name);
    }
    database.close();
  };
  measure(state, {"-DD", "-M", library().genre(7)}, prepare);
  for (int i = 0; i < 100; ++i) fs::remove(library().folder(3, i) + "/list.m3u");
}

// The walk alone, to take off the two above.
void sync_nothing_vanished(benchmark::State& state) {
  measure(state, {"-DD", "-M", library().genre(7)});
}

}  // namespace

BENCHMARK(add_one_file)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(remove_one_file)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(rename_folder)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(sync_vanished_files)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(sync_nothing_vanished)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(link_playlists)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5);

BENCHMARK_MAIN();
