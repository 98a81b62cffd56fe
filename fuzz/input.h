// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

#include "fuzz/memory_file.h"

namespace corvexal {

// Every target's own: hands the input to its reader, whose answers are required to be such as they may be.
void try_input(Bytes input);

inline std::string_view as_text(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

inline void require(bool condition) {
  if (!condition) std::abort();
}

// A working folder of the process's own, for inputs that stand at a fixed place: targets are built to look
// for the device's files there. It goes with the process.
class InputFolder {
 public:
  InputFolder() { std::filesystem::create_directories(path_); }
  InputFolder(const InputFolder&) = delete;
  InputFolder& operator=(const InputFolder&) = delete;
  ~InputFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }

  void write(const std::string& name, Bytes content) const {
    std::filesystem::create_directories((path_ / name).parent_path());
    std::ofstream(path_ / name, std::ios::binary) << as_text(content);
  }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  const std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / ("corvexal-fuzz-" + std::to_string(getpid()));
};

}  // namespace corvexal
