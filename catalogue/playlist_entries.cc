// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/playlist_entries.h"

#include <algorithm>
#include <string_view>

#include "base/byte_reader.h"

namespace corvexal {
namespace {

std::string_view without_line_end(std::string_view line) {
  if (line.size() >= 2 && line[line.size() - 2] == '\r') return line.substr(0, line.size() - 2);
  return line.ends_with('\n') ? line.substr(0, line.size() - 1) : line;
}

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

}  // namespace

// An empty line may follow another; of those that a hole is made of one is left.
void PlaylistFile::pass_over_hole() {
  const std::uint64_t at = offset_ + at_, last = file_.last_in_hole(at, kLongestPiece, kLongestPiece);
  if (last == at) return;
  offset_ = last;
  at_ = end_ = 0;
}

// Takes the next line with its line end, or a piece of it, whose text ends at its first NUL; false, with
// `line` as it was, at the file's end. A line holds until the next one is there.
bool PlaylistFile::next_line(std::string_view& line) {
  if (end_ - at_ < kLongestPiece) {
    offset_ += at_;
    at_ = 0;
    end_ = file_.read_at(offset_, window_);
  }
  if (at_ == end_) return false;
  const Bytes rest = Bytes(window_).subspan(at_, std::min(end_ - at_, kLongestPiece));
  const Bytes piece = rest.first(std::min(bytes_before(rest, '\n') + 1, rest.size()));
  at_ += piece.size();
  line = {reinterpret_cast<const char*>(piece.data()), bytes_before(piece, '\0')};
  if (line.empty() && piece.size() == kLongestPiece) pass_over_hole();
  return true;
}

void PlaylistFile::read_m3u(const TakeEntry& take) {
  for (std::string_view line; next_line(line);) {
    line = without_line_end(line);
    if (line.empty()) continue;
    if (line.starts_with("#EXTINF:")) {
      next_line(line);  // at the end of the file the line stands for itself, and is reported as missing
      line = without_line_end(line.substr(line.rfind('\\') + 1));
      if (!take(std::string(line), EntryForm::kExtendedM3u)) return;
    } else if ((contains(line, ".mp3") || contains(line, ".MP3")) && !contains(line, "\\")) {
      if (!take(std::string(line), EntryForm::kPlainM3u)) return;
    }
  }
}

void PlaylistFile::read_pls(const TakeEntry& take) {
  for (std::string_view line; next_line(line);) {
    const std::size_t equals = line.find('=');
    if (!line.starts_with("File") || equals == std::string_view::npos) continue;
    if (!take(std::string(without_line_end(line.substr(equals + 1))), EntryForm::kPls)) return;
  }
}

}  // namespace corvexal
