// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <system_error>

namespace corvexal {

inline std::string_view as_text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

// What a target expects of its reader.
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

  void write(const std::string& name, std::string_view content) const {
    std::filesystem::create_directories((path_ / name).parent_path());
    std::ofstream(path_ / name, std::ios::binary) << content;
  }
  [[nodiscard]] const std::filesystem::path& path() const { return path_; }

 private:
  const std::filesystem::path path_ =
      std::filesystem::temp_directory_path() / ("corvexal-fuzz-" + std::to_string(getpid()));
};

}  // namespace corvexal
