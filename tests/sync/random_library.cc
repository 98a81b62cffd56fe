// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/sync/random_library.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <utility>

#include "tests/support/test_files.h"

namespace corvexal::testing {
namespace {

namespace fs = std::filesystem;

constexpr std::string_view kNames[] = {"a",         "B",  "c",   "\xE4\xB8\xAD", "caf\xE9", "\xA4\xA4",
                                       "it's",      "%_", "Z z", ".hidden",      "A.b.",    "new\nline",
                                       "say \"x\"", "-n"};

struct Kind {
  std::string_view extension, sample;  // of no sample: the text itself
  std::string_view text;
};
constexpr Kind kKinds[] = {{".mp3", "music/tag-id3v24-utf8.mp3", ""},
                           {".mp3", "music/tag-id3v23-latin1-big5.mp3", ""},
                           {".MP3", "music/vbr.mp3", ""},
                           {".mp3", "", "too short for a song"},
                           {".m4a", "music/aac-tagged.m4a", ""},
                           {".wav", "", "RIFFxxxx"},
                           {".flac", "", "a song that only the catalogue knows"},
                           {".m3u", "", "a1.mp3\nB2.mp3\n#EXTINF:1,x\nc3.mp3\n"},
                           {".mpg", "videos/mpeg1-pal.mpg", ""},
                           {".avi", "", ""},
                           {".srt", "", "1"},
                           {".gif", "photos/gif-4.gif", ""},
                           {".jpg", "", "no photo"},
                           {".txt", "", "nothing"}};

std::string content_of(const Kind& kind) {
  return kind.sample.empty() ? std::string(kind.text) : read_file(sample(kind.sample));
}

std::string extension_of(const std::string& path) {
  const std::size_t dot = path.rfind('.');
  return dot == std::string::npos || path.find('/', dot) != std::string::npos ? "" : path.substr(dot);
}

}  // namespace

RandomLibrary::RandomLibrary(std::string share, std::uint32_t seed)
    : share_(std::move(share)), random_(seed) {
  write(share_ + "/first.mp3", content_of(kKinds[0]));
}

// What lies on the share but for the stores, sorted, since the disk's own order is not ours.
std::vector<std::string> RandomLibrary::entries(bool folders) const {
  std::vector<std::string> found;
  if (folders) found.push_back(share_);
  for (fs::recursive_directory_iterator at(share_), end; at != end; ++at) {
    const std::string name = at->path().filename().string();
    if (name == ".systemfile") {
      at.disable_recursion_pending();
      continue;
    }
    if (!at->is_symlink() && at->is_directory() == folders) found.push_back(at->path().string());
  }
  std::sort(found.begin(), found.end());
  return found;
}

std::string RandomLibrary::any_folder() {
  const auto folders = entries(true);
  return folders[below(folders.size())];
}

std::string RandomLibrary::new_path(std::string_view extension) {
  return any_folder()
      .append("/")
      .append(kNames[below(std::size(kNames))])
      .append(extension.empty() ? "" : std::to_string(1 + below(4)))
      .append(extension);
}

void RandomLibrary::write(const std::string& path, std::string content) {
  std::ofstream(path, std::ios::binary) << content;
  today_ += static_cast<std::time_t>(below(3));  // some files have the same date
  const timespec dates[] = {{today_, 0}, {today_, 0}};
  utimensat(AT_FDCWD, path.c_str(), dates, AT_SYMLINK_NOFOLLOW);
}

void RandomLibrary::pass_a_day() {
  const struct {
    unsigned weight;
    void (RandomLibrary::*work)();
  } works[] = {{55, &RandomLibrary::make_file},
               {10, &RandomLibrary::edit_file},
               {12, &RandomLibrary::move_file},
               {8, &RandomLibrary::move_folder},
               {4, &RandomLibrary::link_file}};
  today_ += 86'400;
  for (std::size_t left = 1 + below(14); left > 0; --left) {
    if (entries(false).empty()) write(share_ + "/first.mp3", content_of(kKinds[0]));
    std::size_t at = below(100);
    std::error_code ignored;
    for (const auto& [weight, work] : works) {
      if (at < weight) (this->*work)();
      if (at < weight) break;
      at -= weight;
    }
    const auto files = entries(false), folders = entries(true);
    if (at == 0) fs::create_directory(new_path(""), ignored);
    if (at >= 1 && at < 4) fs::remove(files[below(files.size())], ignored);
    if (at == 4 && folders.size() > 1) fs::remove_all(folders[1 + below(folders.size() - 1)], ignored);
  }
  if (entries(false).empty()) write(share_ + "/first.mp3", content_of(kKinds[0]));
}

void RandomLibrary::make_file() {
  const Kind& kind = kKinds[below(std::size(kKinds))];
  std::string path = new_path(kind.extension);
  if (happens(30)) {
    path = new_path("");
    std::error_code ignored;
    fs::create_directory(path, ignored);
    path.append("/a1").append(kind.extension);
  }
  if (!fs::is_directory(path)) write(path, content_of(kind));
}

void RandomLibrary::edit_file() {
  const auto files = entries(false);
  const std::string& path = files[below(files.size())];
  write(path, read_file(path) + (happens(50) ? "x" : ""));
}

void RandomLibrary::move_file() {
  const auto files = entries(false);
  const std::string& path = files[below(files.size())];
  std::error_code ignored;
  fs::rename(path, new_path(extension_of(path)), ignored);
}

void RandomLibrary::move_folder() {
  const auto folders = entries(true);
  std::error_code ignored;
  if (folders.size() > 1)
    fs::rename(folders[1 + below(folders.size() - 1)], new_path("") + (happens(50) ? "x" : ""), ignored);
}

void RandomLibrary::link_file() {
  const auto files = entries(false);
  const std::string& path = files[below(files.size())];
  std::error_code ignored;
  if (happens(50))
    fs::create_symlink(path, new_path(extension_of(path)), ignored);
  else
    fs::create_hard_link(path, new_path(extension_of(path)), ignored);
}

std::optional<RandomLibrary::Renamed> RandomLibrary::rename_one_folder() {
  const auto folders = entries(true);
  const std::string from = folders[below(folders.size())], to = any_folder() + (happens(70) ? "!" : "");
  const auto is_odd = [](const std::string& path) {
    return path.find('"') != std::string::npos || path.find("/.") != std::string::npos;
  };
  if (from == share_ || !to.starts_with(share_ + "/") || is_odd(from) || is_odd(to) ||
      (to + '/').starts_with(from + '/') || from.starts_with(to + '/'))
    return std::nullopt;
  fs::remove_all(to);
  fs::rename(from, to);
  return Renamed{from, to};
}

}  // namespace corvexal::testing
