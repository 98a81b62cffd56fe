// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/code_page.h"

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string_view>

#include "base/locations.h"

// The input stands as the device's file: fuzz targets are built to look for it in the working folder.
namespace {

namespace fs = std::filesystem;

struct DeviceFolder {
  const fs::path path = fs::temp_directory_path() / ("corvexal-fuzz-" + std::to_string(getpid()));
  DeviceFolder() {
    fs::create_directories(path / "etc");
    fs::current_path(path);
  }
  DeviceFolder(const DeviceFolder&) = delete;
  DeviceFolder& operator=(const DeviceFolder&) = delete;
  ~DeviceFolder() {
    std::error_code ignored;
    fs::remove_all(path, ignored);
  }
};

// The first of the words that the first line begins to hold within 23 bytes.
corvexal::CodePage expected(std::string_view file) {
  file = file.substr(0, 23);
  for (const char end : {'\n', '\0'}) file = file.substr(0, file.find(end));
  int number = 1;
  for (const char* word : {"cp950", "cp936", "cp932", "cp949"}) {
    if (file.find(word) != std::string_view::npos) break;
    ++number;
  }
  return static_cast<corvexal::CodePage>(number);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const DeviceFolder folder;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  std::ofstream(corvexal::kCodePageFile, std::ios::binary) << input;
  if (corvexal::read_code_page() != expected(input)) std::abort();
  return 0;
}
