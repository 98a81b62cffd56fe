// SPDX-License-Identifier: GPL-3.0-or-later
// The scan of 10,080 small MP3 files, albums of 12 songs, into both stores, without and with the companion
// that guesses encodings on PATH, and what one file costs in each of its parts. The files are made under
// ./bench-scan on the first start.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include "bench/library.h"
#include "catalogue/media_rows.h"
#include "catalogue/schema.h"
#include "metadata/charset.h"
#include "metadata/encoding_detector.h"
#include "metadata/id3_tags.h"
#include "metadata/mp3_stream.h"
#include "metadata/song_scanners.h"
#include "songdb/store.h"

namespace {

namespace fs = std::filesystem;

constexpr int kFolders = 840, kFilesPerFolder = 12;
constexpr std::size_t kFileSize = 12 * 1024;

std::string root() {
  return fs::absolute("bench-scan").string();
}
std::string share() {
  return root() + "/share";
}

std::string start_of_sample(const std::string& name) {
  std::ifstream sample(CORVEXAL_SAMPLES "/music/" + name, std::ios::binary);
  std::string bytes{std::istreambuf_iterator<char>(sample), {}};
  bytes.resize(std::min(bytes.size(), kFileSize));
  return bytes;
}

void replace(std::string& bytes, std::string_view text, const std::string& number) {
  bytes.replace(bytes.find(text), number.size(), number);
}

// The start of a real song: its tag and some thirty frames. The artist gets a number, since what the detector
// has said of a text is not asked again.
std::string song_bytes(int number) {
  std::string bytes = start_of_sample("tag-id3v24-utf8.mp3");
  replace(bytes, "Corvexal", std::to_string(10'000'000 + number));
  return bytes;
}

// The same with texts in Big5: a title of its own, an artist for each album.
std::string old_song_bytes(int number) {
  std::string bytes = start_of_sample("tag-id3v23-latin1-big5.mp3");
  replace(bytes, "\xA4\xA4\xB0\xEA", std::to_string(1000 + number % 9000));
  replace(bytes, "\xA4\xFD", std::to_string(10 + number / kFilesPerFolder % 90));
  return bytes;
}

void make_library(const std::string& root, std::string (*bytes_of)(int)) {
  for (int i = 0; i < kFolders; ++i) {
    const std::string folder =
        root + "/Artist " + std::to_string(i / 10) + "/Album " + std::to_string(i % 10);
    fs::create_directories(folder);
    for (int song = 0; song < kFilesPerFolder; ++song)
      std::ofstream(folder + "/" + std::to_string(song) + " - Song.mp3", std::ios::binary)
          << bytes_of(i * kFilesPerFolder + song);
  }
}

void make_files() {
  if (fs::exists(share() + "/Music")) return;
  fs::create_directories(root() + "/etc");
  fs::create_directories(root() + "/var/log");
  make_library(share() + "/Old", old_song_bytes);
  make_library(share() + "/Music", song_bytes);
}

// Puts `program` on PATH as the encoding detector; none when it is empty.
void use_detector(const std::string& program) {
  const fs::path folder = root() + "/bin";
  fs::remove_all(folder);
  fs::create_directories(folder);
  if (!program.empty()) fs::create_symlink(program, folder / "detect_char_encode");
  setenv("PATH", (folder.string() + ":/usr/bin:/bin").c_str(), 1);
}

void configure(bool standard_tags) {
  std::ofstream(root() + "/etc/upnpav.conf") << "sharepath=" << share() << "\nmntpath=" << share() << "\n"
                                             << (standard_tags ? "tags=standard\n" : "");
}

void fresh_stores() {
  fs::remove_all(share() + "/.systemfile");
  corvexal::create_catalogue(share());
}

void scan(benchmark::State& state, const std::string& detector, bool standard_tags = false,
          const std::string& library = "/Music") {
  make_files();
  configure(standard_tags);
  use_detector(detector);
  corvexal::bench::measure_runs(state, root(), {"-R", share() + "/Gone", share() + library}, fresh_stores);
}

void scan_without_detector(benchmark::State& state) {
  scan(state, "");
}
void scan_with_detector(benchmark::State& state) {
  scan(state, CORVEXAL_DETECTOR);
}
void scan_with_standard_tags(benchmark::State& state) {
  scan(state, "", true);
}
// Texts that no tag says to be Unicode, where the detector is asked only then.
void scan_old_with_standard_tags(benchmark::State& state) {
  scan(state, "", true, "/Old");
}
void scan_old_with_both(benchmark::State& state) {
  scan(state, CORVEXAL_DETECTOR, true, "/Old");
}

// The parts of one file's work, in this process.

std::string one_song() {
  make_files();
  return share() + "/Music/Artist 0/Album 0/0 - Song.mp3";
}

void tag(benchmark::State& state) {
  const std::string path = one_song();
  use_detector("");
  corvexal::TagDecoder decoder;
  for (auto _ : state) {
    corvexal::SongInfo song;
    song.type = "mp3";
    corvexal::scan_get_mp3tags(decoder, path, song);
    benchmark::DoNotOptimize(song);
  }
}

// A song's tags and stream together, in each way to read tags.
void song(benchmark::State& state, bool standard_tags) {
  const std::string path = one_song();
  use_detector("");
  corvexal::TagDecoder decoder;
  decoder.standard = standard_tags;
  for (auto _ : state) {
    corvexal::SongInfo song;
    song.type = "mp3";
    corvexal::scan_song(decoder, path, song);
    benchmark::DoNotOptimize(song);
  }
}

void song_by_default(benchmark::State& state) {
  song(state, false);
}
void song_by_standard_tags(benchmark::State& state) {
  song(state, true);
}

// One question, and what starting any program costs.
void ask(benchmark::State& state, const std::string& program) {
  use_detector(program);
  for (auto _ : state)
    benchmark::DoNotOptimize(
        corvexal::EncodingDetector().detect("Gr\xFC\xDF"
                                            "e aus der K\xFC"
                                            "che"));
}

void detector(benchmark::State& state) {
  ask(state, CORVEXAL_DETECTOR);
}
void start_of_bin_true(benchmark::State& state) {
  ask(state, "/bin/true");
}

void stream(benchmark::State& state) {
  const std::string path = one_song();
  for (auto _ : state) {
    corvexal::SongInfo song;
    corvexal::scan_get_mp3fileinfo(path, song);
    benchmark::DoNotOptimize(song);
  }
}

// A row and its share of a commit.
void catalogue(benchmark::State& state) {
  make_files();
  fresh_stores();
  corvexal::Session session;
  session.db.open(corvexal::catalogue_path(share()));
  corvexal::MediaRow row;
  row.file.kind = corvexal::MediaKind::kMusic;
  row.file.folder = row.utf_folder = share() + "/Music/";
  int number = 0;
  for (auto _ : state) {
    row.file.name = row.utf_name = std::to_string(++number) + ".mp3";
    corvexal::insert_media_row(session, row, number, 1);
    if (number % 500 == 0) session.db.exec("COMMIT;");
  }
  session.db.close();
}

// A record with the sync that follows it.
void store(benchmark::State& state) {
  make_files();
  fresh_stores();
  corvexal::SongStore songs;
  songs.open(share());
  std::puts("");  // ends its message
  corvexal::SongInfo song;
  song.path = one_song();
  song.title = song.artist = song.album = "A text of usual length";
  for (auto _ : state) {
    ++song.id;
    songs.add(song);
  }
}

}  // namespace

BENCHMARK(scan_without_detector)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(scan_with_detector)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(scan_with_standard_tags)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(scan_old_with_standard_tags)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(scan_old_with_both)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1);
BENCHMARK(song_by_default)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(song_by_standard_tags)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(tag)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(detector)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(start_of_bin_true)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(stream)->UseRealTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(catalogue)->UseRealTime()->Unit(benchmark::kMicrosecond)->Iterations(20'000);
BENCHMARK(store)->UseRealTime()->Unit(benchmark::kMicrosecond)->Iterations(500);

BENCHMARK_MAIN();
