// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <array>

#include "base/log.h"
#include "base/text.h"
#include "metadata/genres.h"
#include "metadata/mp4.h"
#include "metadata/mp4_atoms.h"

namespace corvexal {
namespace {

// An item of the list is an atom whose body is one "data" atom: header, type and flags, locale, value.
constexpr std::uint32_t kValueInItem = kAtomHeaderSize + kAtomHeaderSize + 4 + 4;
constexpr std::size_t kLongestText = 1 << 20;

// The copyright sign that begins some types is one byte, 0xA9, octal 251.
struct TextItem {
  std::string_view type;
  Text SongInfo::*field;
};
constexpr TextItem kTextItems[] = {
    {"\251nam", &SongInfo::title},   {"\251ART", &SongInfo::artist},   {"\251alb", &SongInfo::album},
    {"\251cmt", &SongInfo::comment}, {"\251wrt", &SongInfo::composer}, {"\251grp", &SongInfo::grouping},
    {"\251gen", &SongInfo::genre},
};

struct NumberItem {
  std::string_view type;
  std::size_t at;  // where in the value the 16-bit number stands
  std::int32_t SongInfo::*field;
};
constexpr NumberItem kNumberItems[] = {
    {"tmpo", 0, &SongInfo::bpm},  {"trkn", 2, &SongInfo::track},       {"trkn", 4, &SongInfo::total_tracks},
    {"disk", 2, &SongInfo::disc}, {"disk", 4, &SongInfo::total_discs},
};
constexpr std::string_view kYear = "\251day", kGenreNumber = "gnre", kCompilation = "cpil";

// The start of an item's value; what the item does not hold is zero.
using ValueStart = std::array<std::uint8_t, 6>;

ValueStart value_start(FileWindow& file, const Atom& item) {
  ValueStart start{};
  if (item.size <= kValueInItem) return start;
  const Bytes value =
      file.at(item.offset + kValueInItem, std::min<std::size_t>(start.size(), item.size - kValueInItem));
  std::copy(value.begin(), value.end(), start.begin());
  return start;
}

std::string text_value(FileWindow& file, const Atom& item) {
  std::string text;
  std::uint64_t at = item.offset + kValueInItem;
  const std::uint64_t end = item.offset + item.size;
  while (at < end && text.size() < kLongestText) {
    const Bytes piece =
        file.at(at, static_cast<std::size_t>(std::min<std::uint64_t>(end - at, FileWindow::kSize)));
    const auto nul = std::find(piece.begin(), piece.end(), 0);
    text.append(piece.begin(), nul);
    if (nul != piece.end() || piece.empty()) break;
    at += piece.size();
  }
  return text;
}

void parse_item(FileWindow& file, const Atom& item, SongInfo& song) {
  for (const TextItem& known : kTextItems)
    if (item.type == known.type) song.*known.field = text_value(file, item);
  if (item.type == kYear) song.year = decimal_value(text_value(file, item));

  const ValueStart value = value_start(file, item);
  for (const NumberItem& known : kNumberItems)
    if (item.type == known.type) song.*known.field = value[known.at] << 8 | value[known.at + 1];
  if (item.type == kGenreNumber) song.genre = genre_name(value[1] - 1);
  if (item.type == kCompilation) song.compilation = value[0];
}

}  // namespace

int mp4_scan_tags(const std::string& path, SongInfo& song) {
  FileWindow file(path);
  if (!file) {
    log_printf("Cannot open file %s for reading\n", path.c_str());
    return -1;
  }
  const auto list = find_path(file, "moov:udta:meta:ilst");
  if (!list) return 0;
  // The size counts the list's own header, so the atom after the last item is looked at as well.
  for (std::uint64_t done = 0; done < list->size;) {
    const auto item = atom_at(file, list->body() + done);
    if (!item || item->offset + item->size > file.file_size()) break;
    parse_item(file, *item, song);
    done += item->size;
  }
  return 0;
}

}  // namespace corvexal
