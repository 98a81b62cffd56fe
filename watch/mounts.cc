// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/mounts.h"

#include <fcntl.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <climits>
#include <cstdlib>

#include "watch/folder_set.h"

namespace corvexal {
namespace {

constexpr char kTable[] = "/proc/self/mountinfo";

// Blanks, line ends and backslashes stand in the table as "\" and three octal digits.
std::string unescaped(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    unsigned char byte = 0;
    const bool is_escape = text.size() >= 4 && text[0] == '\\' &&
                           std::from_chars(text.data() + 1, text.data() + 4, byte, 8).ptr == text.data() + 4;
    result += is_escape ? static_cast<char>(byte) : text[0];
    text.remove_prefix(is_escape ? 4 : 1);
  }
  return result;
}

std::string_view cut_field(std::string_view& line) {
  const std::string_view field = line.substr(0, line.find(' '));
  line.remove_prefix(std::min(field.size() + 1, line.size()));
  return field;
}

std::string whole_table() {
  const Descriptor file(open(kTable, O_RDONLY | O_CLOEXEC));
  std::string table;
  std::array<char, 4096> piece;
  for (ssize_t size; file && (size = read(file.get(), piece.data(), piece.size())) > 0;)
    table.append(piece.data(), static_cast<std::size_t>(size));
  return table;
}

}  // namespace

MountTable::MountTable() : changes_(open(kTable, O_RDONLY | O_CLOEXEC)) {}

FolderMounts MountTable::of(const std::string& folder) {
  return mounts_of(real_path(folder), whole_table());
}

// A line is: number of the mount, of its parent, device, root, mount point, ...
FolderMounts mounts_of(std::string_view folder, std::string_view table) {
  std::string holder, holder_id;
  FolderMounts mounts;
  while (!table.empty()) {
    std::string_view line = table.substr(0, table.find('\n'));
    table.remove_prefix(std::min(line.size() + 1, table.size()));
    const std::string_view id = cut_field(line);
    for (int skipped = 0; skipped < 3; ++skipped) cut_field(line);
    std::string point = unescaped(cut_field(line));
    if (point == "/") point.clear();
    if (lies_in(folder, point)) {
      if (point.size() < holder.size()) continue;
      holder = point;
      holder_id = id;
    } else if (lies_in(point, folder)) {
      mounts.points.push_back(point);
      mounts.numbers.append(" ").append(id);
    }
  }
  mounts.points.insert(mounts.points.begin(), holder);
  mounts.numbers.insert(0, holder_id);
  return mounts;
}

std::string real_path(const std::string& path) {
  std::array<char, PATH_MAX> resolved;
  if (realpath(path.c_str(), resolved.data()) != nullptr) return resolved.data();
  const std::string_view parent = folder_of(path);
  return parent.empty() ? path : real_path(std::string(parent)).append(path.substr(parent.size()));
}

}  // namespace corvexal
