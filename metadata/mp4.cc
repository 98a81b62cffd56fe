#include "metadata/mp4.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/log.h"
#include "base/saturate.h"
#include "base/text.h"
#include "metadata/file_window.h"
#include "metadata/genres.h"

namespace corvexal {
namespace {

// An atom: 0 size, which counts these 8 bytes | 4 type, four characters | 8 body. Numbers are big-endian.
constexpr std::uint32_t kHeaderSize = 8;
constexpr std::size_t kTypeSize = 4;

struct Atom {
  std::uint64_t offset;  // of its header
  std::uint32_t size;    // with its header
  std::string type;

  [[nodiscard]] std::uint64_t body() const { return offset + kHeaderSize; }
};

// The atom whose header stands at an offset; nothing where none fits.
std::optional<Atom> atom_at(FileWindow& file, std::uint64_t offset) {
  const Bytes header = file.at(offset, kHeaderSize);
  ByteReader in(header);
  Atom atom{offset, 0, {}};
  if (!in.be32(atom.size) || in.left() < kTypeSize || atom.size < kHeaderSize) return std::nullopt;
  atom.type.assign(header.begin() + kTypeSize, header.end());
  return atom;
}

// The first atom of a type, in any case of letters, among the siblings from `start` on. The search ends
// `limit` bytes further on.
std::optional<Atom> find_atom(FileWindow& file, std::uint64_t start, std::uint64_t limit,
                              std::string_view type) {
  std::uint64_t scanned = 0;
  while (scanned < limit) {
    auto atom = atom_at(file, start + scanned);
    if (!atom || equal_ignoring_case(atom->type, type)) return atom;
    scanned += atom->size;
  }
  return std::nullopt;
}

// What stands between an atom's header and its children.
std::uint32_t fields_before_children(std::string_view type) {
  struct Container {
    std::string_view type;
    std::uint32_t fields;
  };
  static constexpr Container kContainers[] = {
      {"meta", 4},   // version and flags
      {"stsd", 8},   // version and flags, entry count
      {"mp4a", 28},  // sample entry
  };
  for (const Container& container : kContainers)
    if (container.type == type) return container.fields;
  return 0;
}

// The last atom of a path such as "moov:mvhd". Each step searches on to the end of the file, not only to that
// of the parent.
std::optional<Atom> find_path(FileWindow& file, std::string_view path) {
  std::uint64_t start = 0;
  for (;;) {
    const std::string_view type = path.substr(0, kTypeSize);
    auto atom = find_atom(file, start, file.file_size(), type);
    if (!atom || path.size() == kTypeSize) return atom;
    start = atom->body() + fields_before_children(type);
    path.remove_prefix(kTypeSize + 1);
  }
}

// An item of the list is an atom whose body is one "data" atom: header, type and flags, locale, value.
constexpr std::uint32_t kValueInItem = kHeaderSize + kHeaderSize + 4 + 4;
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

void take_item(FileWindow& file, const Atom& item, SongInfo& song) {
  for (const TextItem& known : kTextItems)
    if (item.type == known.type) song.*known.field = text_value(file, item);
  if (item.type == kYear) song.year = decimal_value(text_value(file, item));

  const ValueStart value = value_start(file, item);
  for (const NumberItem& known : kNumberItems)
    if (item.type == known.type) song.*known.field = value[known.at] << 8 | value[known.at + 1];
  if (item.type == kGenreNumber) song.genre = genre_name(value[1] - 1);
  if (item.type == kCompilation) song.compilation = value[0];
}

std::int32_t milliseconds(std::uint32_t duration, std::uint32_t time_scale) {
  if (time_scale == 0) return 0;
  std::uint32_t factor = 1000;
  while (factor >= 10 && time_scale % 10 == 0) {
    factor /= 10;
    time_scale /= 10;
  }
  return saturated(std::uint64_t{duration} * factor / time_scale);
}

// Of version 0: 0 version and flags | 4 creation time | 8 modification time | 12 time scale | 16 duration.
void take_movie_header(Bytes body, SongInfo& song) {
  ByteReader in(body);
  std::uint32_t created = 0, modified = 0, time_scale = 0, duration = 0;
  if (!in.skip(4) || !in.be32(created) || !in.be32(modified) || !in.be32(time_scale) || !in.be32(duration))
    return;
  song.time_added = static_cast<std::int32_t>(created);
  song.time_modified = static_cast<std::int32_t>(modified);
  song.song_length = milliseconds(duration, time_scale);
}

// The decoder's greatest bit rate, in kbit/s. It stands at 22 where descriptor lengths take four bytes each.
std::int32_t stream_bitrate(FileWindow& file, const Atom& sample_entry) {
  constexpr std::uint32_t kChildren = kHeaderSize + 28;
  constexpr std::uint64_t kBitrateAt = 22;
  if (sample_entry.size <= kChildren) return 0;
  const std::uint64_t start = sample_entry.offset + kChildren;
  const auto esds = find_atom(file, start, sample_entry.size - kChildren, "esds");
  if (!esds) return 0;
  // Atoms in front of esds count twice: readers of the store know such files by the rate that this gives.
  const std::uint64_t before = esds->offset - start;
  std::uint32_t rate = 0;
  return ByteReader(file.at(esds->body() + before + kBitrateAt, sizeof rate)).be32(rate)
             ? static_cast<std::int32_t>(rate / 1000)
             : 0;
}

std::int32_t mean_bitrate(FileWindow& file, std::int32_t song_length) {
  const std::int64_t bytes_at_one_kbit = std::int64_t{song_length} / 1000 * 128;
  if (bytes_at_one_kbit <= 0) return 0;
  const auto data = find_path(file, "mdat");
  return data ? saturated(data->size / static_cast<std::uint64_t>(bytes_at_one_kbit)) : 0;
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
  // The size counts the list's own header, so the atom behind the last item is looked at as well.
  for (std::uint64_t done = 0; done < list->size;) {
    const auto item = atom_at(file, list->body() + done);
    if (!item || item->offset + item->size > file.file_size()) break;
    take_item(file, *item, song);
    done += item->size;
  }
  return 0;
}

int mp4_scan_info(const std::string& path, SongInfo& song) {
  FileWindow file(path);
  if (!file) {
    log_printf("Could not open %s for reading\n", path.c_str());
    return -1;
  }
  song.file_size = saturated(file.file_size());
  if (const auto header = find_path(file, "moov:mvhd")) take_movie_header(file.at(header->body(), 20), song);

  song.bitrate = 0;
  if (const auto sample_entry = find_path(file, "moov:trak:mdia:minf:stbl:stsd:mp4a")) {
    constexpr std::uint64_t kSampleRateAt = 24;
    std::uint16_t rate = 0;
    if (ByteReader(file.at(sample_entry->body() + kSampleRateAt, sizeof rate)).be16(rate))
      song.samplerate = rate;
    song.bitrate = stream_bitrate(file, *sample_entry);
  }
  if (song.bitrate == 0) song.bitrate = mean_bitrate(file, song.song_length);
  return 0;
}

}  // namespace corvexal
