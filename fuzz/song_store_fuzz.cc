#include "songdb/store.h"

#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "base/config.h"

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

void change_store() {
  corvexal::SongInfo song;
  song.id = 7;
  song.path = "/mnt/a/song.mp3";
  if (corvexal::db_add(song) != 0) std::abort();
  (void)corvexal::db_fetch(song.id);
  (void)corvexal::db_time_stored(1);
  const std::array<std::string, 2> paths = {"/a", "t/b/"};
  corvexal::db_delete_by_path_OneFile(paths);
  corvexal::db_delete_by_path(paths, false);
  corvexal::db_delete(2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const StoreFolder folder;
  corvexal::global_cdata.mntpath = folder.path;
  std::ofstream(folder.path / ".systemfile/songs.gdb", std::ios::binary)
      .write(reinterpret_cast<const char*>(data), static_cast<std::streamsize>(size));
  if (corvexal::db_open(0, 0) == 0) change_store();
  corvexal::db_close();
  return 0;
}
