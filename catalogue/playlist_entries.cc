#include "catalogue/playlist_entries.h"

#include <algorithm>
#include <string_view>

namespace corvexal {
namespace {

void trim_line_end(std::string& line) {
  if (line.size() >= 2 && line[line.size() - 2] == '\r')
    line.resize(line.size() - 2);
  else if (line.ends_with('\n'))
    line.pop_back();
}

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

}  // namespace

// Takes the next line with its line end, or a piece of it, whose text ends at its first NUL; false, with
// `line` as it was, at the file's end.
bool PlaylistFile::next_line(std::string& line) {
  if (end_ - at_ < kLongestPiece) {
    offset_ += at_;
    at_ = 0;
    end_ = file_.read_at(offset_, window_);
  }
  if (at_ == end_) return false;
  std::string_view piece(reinterpret_cast<const char*>(window_.data()) + at_,
                         std::min(end_ - at_, kLongestPiece));
  if (const std::size_t line_feed = piece.find('\n'); line_feed != std::string_view::npos)
    piece = piece.substr(0, line_feed + 1);
  at_ += piece.size();
  line = piece.substr(0, piece.find('\0'));
  return true;
}

void PlaylistFile::read_m3u(const TakeEntry& take) {
  std::string line;
  while (next_line(line)) {
    trim_line_end(line);
    if (line.starts_with("#EXTINF:")) {
      next_line(line);  // at the end of the file the line stands for itself, and is reported as missing
      line.erase(0, line.rfind('\\') + 1);
      trim_line_end(line);
      if (!take(line, EntryForm::kExtendedM3u)) return;
    } else if ((contains(line, ".mp3") || contains(line, ".MP3")) && !contains(line, "\\")) {
      if (!take(line, EntryForm::kPlainM3u)) return;
    }
  }
}

void PlaylistFile::read_pls(const TakeEntry& take) {
  std::string line;
  while (next_line(line)) {
    const std::size_t equals = line.find('=');
    if (!line.starts_with("File") || equals == std::string::npos) continue;
    line.erase(0, equals + 1);
    trim_line_end(line);
    if (!take(line, EntryForm::kPls)) return;
  }
}

}  // namespace corvexal
