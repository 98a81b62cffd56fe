// SPDX-License-Identifier: GPL-3.0-or-later
// The sync of 10,000 and 100,000 small MP3 files, ten a folder: the first import beside the scan of the same
// files, a sync with nothing to do beside a walk that only looks at every file's status, and one changed
// file. The files, 4 KiB each, are made under ./bench-sync on the first start.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "bench/library.h"
#include "catalogue/schema.h"

namespace {

namespace fs = std::filesystem;

constexpr int kFilesPerFolder = 10;
constexpr std::size_t kFileSize = 4 * 1024;

std::string root(int files) {
  return fs::absolute("bench-sync/" + std::to_string(files)).string();
}
std::string share(int files) {
  return root(files) + "/share";
}
std::string song(int files, int number) {
  const int folder = number / kFilesPerFolder;
  return share(files) + "/Artist " + std::to_string(folder / 10) + "/Album " + std::to_string(folder % 10) +
         "/" + std::to_string(number % kFilesPerFolder) + " - Song.mp3";
}

void make_files(int files) {
  setenv("PATH", "/usr/bin:/bin", 1);  // no encoding detector
  if (fs::exists(song(files, files - 1))) return;
  std::ifstream sample(CORVEXAL_SAMPLES "/music/tag-id3v24-utf8.mp3", std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(sample), {}};
  bytes.resize(std::min(bytes.size(), kFileSize));
  fs::create_directories(root(files) + "/etc");
  fs::create_directories(root(files) + "/var/log");
  std::ofstream(root(files) + "/etc/upnpav.conf")
      << "sharepath=" << share(files) << "\nmntpath=" << share(files) << "\n";
  for (int i = 0; i < files; ++i) {
    fs::create_directories(fs::path(song(files, i)).parent_path());
    std::ofstream(song(files, i), std::ios::binary) << bytes;
  }
}

void forget_everything(int files) {
  fs::remove_all(share(files) + "/.systemfile");
}

void bring_in_line(int files) {
  (void)corvexal::bench::run_program(root(files), {"--quiet"}, CORVEXAL_SYNC);
}

void scan(benchmark::State& state) {
  const int files = static_cast<int>(state.range(0));
  make_files(files);
  const std::string gone = share(files) + "/Gone";
  corvexal::bench::measure_runs(state, root(files), {"-R", gone, share(files)}, [files] {
    forget_everything(files);
    corvexal::create_catalogue(share(files));
  });
}

void first_import(benchmark::State& state) {
  const int files = static_cast<int>(state.range(0));
  make_files(files);
  corvexal::bench::measure_runs(
      state, root(files), {"--quiet"}, [files] { forget_everything(files); }, CORVEXAL_SYNC);
}

void walk(benchmark::State& state) {
  const int files = static_cast<int>(state.range(0));
  make_files(files);
  corvexal::bench::measure_runs(
      state, root(files), {share(files), "-size", "+1000000k"}, [] {}, "/usr/bin/find");
}

void nothing_to_do(benchmark::State& state) {
  const int files = static_cast<int>(state.range(0));
  make_files(files);
  bring_in_line(files);
  corvexal::bench::measure_runs(
      state, root(files), {"--quiet"}, [] {}, CORVEXAL_SYNC);
}

// As after another program's write to the stores.
void nothing_to_do_but_to_compare(benchmark::State& state) {
  const int files = static_cast<int>(state.range(0));
  make_files(files);
  bring_in_line(files);
  corvexal::bench::measure_runs(
      state, root(files), {"--quiet", "--thorough"}, [] {}, CORVEXAL_SYNC);
}

void one_changed_file(benchmark::State& state) {
  const int files = static_cast<int>(state.range(0));
  make_files(files);
  bring_in_line(files);
  corvexal::bench::measure_runs(
      state, root(files), {"--quiet"},
      [files] { fs::last_write_time(song(files, files / 2), fs::file_time_type::clock::now()); },
      CORVEXAL_SYNC);
}

// As the watcher asks for it.
void one_folder_with_a_changed_file(benchmark::State& state) {
  const int files = static_cast<int>(state.range(0));
  make_files(files);
  bring_in_line(files);
  const fs::path changed = song(files, files / 2);
  corvexal::bench::measure_runs(
      state, root(files), {"--quiet", "--entries", changed.parent_path()},
      [&] { fs::last_write_time(changed, fs::file_time_type::clock::now()); }, CORVEXAL_SYNC);
}

void slow(benchmark::internal::Benchmark* benchmark) {
  benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1)->Arg(10'000)->Arg(100'000);
}
void quick(benchmark::internal::Benchmark* benchmark) {
  benchmark->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(5)->Arg(100'000);
}

}  // namespace

BENCHMARK(scan)->Apply(slow);
BENCHMARK(first_import)->Apply(slow);
BENCHMARK(walk)->Apply(quick);
BENCHMARK(nothing_to_do)->Apply(quick);
BENCHMARK(nothing_to_do_but_to_compare)->Apply(quick);
BENCHMARK(one_changed_file)->Apply(quick);
BENCHMARK(one_folder_with_a_changed_file)->Apply(quick);

BENCHMARK_MAIN();
