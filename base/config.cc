// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/config.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <string_view>

#include "base/locations.h"
#include "base/stream.h"

namespace corvexal {
namespace {

constexpr std::size_t kLineSize = 512;  // a line with its line end
using Line = std::array<char, kLineSize + 1>;

struct Key {
  std::string_view name;
  std::string ConfigRecord::*field;
  std::size_t field_size;
};

constexpr Key kKeys[] = {
    {"sharepath", &ConfigRecord::sharepath, 255},
    {"mntpath", &ConfigRecord::mntpath, 255},
    {"sd_status", &ConfigRecord::sd_status, 9},
    {"sharename", &ConfigRecord::sharename, 255},
};

// The NUL-terminated text at `at`; empty past the line.
std::string_view text_at(const Line& line, std::size_t at) {
  return line.data() + std::min(at, kLineSize);
}

// `length` counts the line's line end.
void apply_line(const Line& line, std::size_t length, ConfigRecord& record) {
  // A whole line of its own, and none in which a device's file may come upon one of the keys.
  if (std::string_view(line.data(), length) == "tags=standard\n") record.standard_tags = true;
  std::size_t cursor = 0;
  for (const Key& key : kKeys) {
    if (text_at(line, cursor).find(key.name) == std::string_view::npos) continue;
    // Counted from the cursor and not from where the key stands: device files rely on "#key=value" meaning
    // "=value".
    cursor += key.name.size() + 1;
    std::string_view value = text_at(line, cursor);
    if (!value.empty()) value.remove_suffix(1);
    record.*key.field = value.substr(0, key.field_size);
  }
}

int fail(std::span<const char* const> arguments, int reason) {
  std::printf("error happen: %s\n", arguments.empty() ? "" : arguments[0]);
  errno = reason;
  return -1;
}

const char* file_to_read(int mode, std::span<const char* const> arguments) {
  if (mode == 1) return kConfigFile;
  if (mode == 3 && arguments.size() > 2 && std::string_view(arguments[1]) == "-RC") return arguments[2];
  return nullptr;
}

}  // namespace

int readconfig(int mode, std::span<const char* const> arguments, ConfigRecord& record) {
  const char* name = file_to_read(mode, arguments);
  if (name == nullptr) return fail(arguments, 0);
  const Stream file = open_for_reading(name);
  if (!file) return fail(arguments, errno);

  Line line{};
  std::size_t length = 0;
  for (int byte = std::fgetc(file.get()); byte != EOF; byte = std::fgetc(file.get())) {
    line[length++] = static_cast<char>(byte);
    if (byte == '\n') {
      apply_line(line, length, record);
      line.fill('\0');
      length = 0;
    } else if (length == kLineSize) {
      std::puts("error: singel line string too long");
      return fail(arguments, 0);
    }
  }
  return std::ferror(file.get()) != 0 ? fail(arguments, errno) : 0;
}

}  // namespace corvexal
