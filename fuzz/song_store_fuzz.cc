// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/store.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

// The input stands as the store's file in a folder of the process's own: the store is opened, repaired if
// need be, read and changed as by a run, in place.
namespace {

namespace fs = std::filesystem;

// A folder with the place of the store in it, which goes with the process.
struct StoreFolder {
  const fs::path path = fs::temp_directory_path() / ("corvexal-fuzz-" + std::to_string(getpid()));
  StoreFolder() { fs::create_directories(path / ".systemfile"); }
  StoreFolder(const StoreFolder&) = delete;
  StoreFolder& operator=(const StoreFolder&) = delete;
  ~StoreFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
};

void change(corvexal::SongStore& store) {
  corvexal::SongInfo song;
  song.id = 7;
  song.path = "/mnt/a/song.mp3";
  if (!store.add(song)) std::abort();
  (void)store.fetch(song.id);
  (void)store.time_stored(1);
  const std::array<std::string, 2> paths = {"/a", "t/b/"};
  store.remove_first_below(paths[0]);
  store.remove_below(paths, false);
  store.remove(2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const StoreFolder folder;
  std::ofstream(folder.path / ".systemfile/songs.gdb", std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  corvexal::SongStore store;
  if (store.open(folder.path)) change(store);
  return 0;
}
