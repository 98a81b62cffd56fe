// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/display_order.h"

#include <algorithm>
#include <compare>
#include <cstring>
#include <utility>

namespace corvexal {
namespace {

// What a pass reads: 0 `No`, 1 the folder, 2 the text by which items sort; where rows are left out, 3 the
// extension; of songs, 4 genre, 5 artist, 6 album.
constexpr int kExtension = 3, kFirstGroup = 4, kGroupEnd = 7;

struct Pass {
  const char* table;
  const char* query;
  int columns;
  std::span<const std::string_view> left_out;  // extensions
};

constexpr std::string_view kPlaylists[] = {"m3u", "pls"}, kSubtitles[] = {"srt"};
constexpr Pass kMusic = {
    "music_tbl", "select No,UTF_Path,Title,EXT_fname,Genre,Artist,Album from music_tbl order by ROWID;",
    kGroupEnd, kPlaylists};
constexpr Pass kVideo = {"video_tbl", "select No,UTF_Path,UTF_fname,EXT_fname from video_tbl order by ROWID;",
                         kFirstGroup, kSubtitles};
constexpr Pass kPhoto = {
    "photo_tbl", "select No,UTF_Path,UTF_fname from photo_tbl order by ROWID;", kExtension, {}};

const Pass& pass_of(MediaClass media_class) {
  switch (media_class) {
    case MediaClass::kMusic:
      return kMusic;
    case MediaClass::kVideo:
      return kVideo;
    case MediaClass::kPhoto:
      break;
  }
  return kPhoto;
}

// Whether the item query walks through the table and compares texts byte by byte.
bool compares_plainly(Database& db, const char* table, const char* item_query) {
  Rows plan = db.read((std::string("explain query plan ") + item_query).c_str());
  if (!plan.next() || !plan.text(3).starts_with("SCAN ") || !plan.text(3).ends_with(table)) return false;
  Rows encoding = db.read("PRAGMA encoding;");
  if (!encoding.next() || encoding.text(0) != "UTF-8") return false;
  return db
      .read("select 1 from sqlite_master where type='table' and name=? and sql not like '%collate%';", table)
      .next();
}

// A value that SQL's functions and C's read alike; absent when it is another one.
std::optional<std::string_view> plain_text(const Rows& row, int column) {
  if (!row.is_text(column)) return std::nullopt;
  const std::string_view text = row.text(column);
  return text.find('\0') == std::string_view::npos ? std::optional(text) : std::nullopt;
}

std::uint64_t first_eight_bytes(std::string_view text) {
  char bytes[8] = "";
  text.copy(bytes, sizeof bytes);
  std::uint64_t number = 0;
  for (const char byte : bytes) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

unsigned char upper(char c) {
  return static_cast<unsigned char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
}

// The order of "order by UPPER(name),name".
bool sorts_before(std::string_view a, std::string_view b) {
  const auto order = std::lexicographical_compare_three_way(
      a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return upper(x) <=> upper(y); });
  return std::is_eq(order) ? a < b : std::is_lt(order);
}

}  // namespace

std::optional<DisplayOrder> DisplayOrder::read(Database& db, MediaClass media_class, const char* item_query,
                                               std::size_t most_bytes) {
  const Pass& pass = pass_of(media_class);
  if (!compares_plainly(db, pass.table, item_query)) return std::nullopt;
  std::optional<DisplayOrder> order(DisplayOrder{});
  Rows row = db.read(pass.query);
  while (row.next())
    if (!order->add_row(row, pass.left_out, pass.columns) || order->bytes() > most_bytes) return std::nullopt;
  if (row.failed()) return std::nullopt;
  order->sort_items();
  return order;
}

// False when the row holds what the pass does not order.
bool DisplayOrder::add_row(const Rows& row, std::span<const std::string_view> left_out, int columns) {
  const auto folder = plain_text(row, 1);
  if (!folder) return false;
  add_folder(*folder);
  if (columns > kExtension) {
    const auto extension = plain_text(row, kExtension);
    if (!extension) return false;
    if (std::find(left_out.begin(), left_out.end(), *extension) != left_out.end()) return true;
  }
  const auto number = plain_text(row, 0), text = plain_text(row, 2);
  if (!number || !text) return false;
  add_item(*number, *text);
  for (int column = kFirstGroup; column < columns; ++column) {
    const auto name = plain_text(row, column);
    if (!name) return false;
    add_to_group(groups_[static_cast<std::size_t>(column - kFirstGroup)], *name);
  }
  return true;
}

void DisplayOrder::add_folder(std::string_view folder) {
  if (last_folder_ != nullptr && *last_folder_ == folder) return;
  auto at = folders_.find(folder);
  if (at == folders_.end()) {
    at = folders_.emplace(folder).first;
    bytes_of_names_ += sizeof(std::string) + folder.size();
  }
  last_folder_ = &*at;
}

// A text that begins with a capital A to Z sorts as that letter alone, in lower case.
void DisplayOrder::add_item(std::string_view number, std::string_view text) {
  const bool is_capital = !text.empty() && text[0] >= 'A' && text[0] <= 'Z';
  const char letter = is_capital ? static_cast<char>(text[0] - 'A' + 'a') : '\0';
  const std::string_view key = is_capital ? std::string_view(&letter, 1) : text;
  items_.push_back({first_eight_bytes(key), static_cast<std::uint32_t>(texts_.size())});
  texts_.append(key).push_back('\0');
  texts_.append(number).push_back('\0');
}

void DisplayOrder::add_to_group(Counts& groups, std::string_view name) {
  if (const auto at = groups.find(name); at != groups.end()) {
    ++at->second;
    return;
  }
  groups.emplace(name, 1);
  bytes_of_names_ += sizeof(std::string) + name.size();
}

std::size_t DisplayOrder::bytes() const {
  return texts_.size() + items_.size() * sizeof(Item) + bytes_of_names_;
}

void DisplayOrder::sort_items() {
  const char* const texts = texts_.c_str();
  std::sort(items_.begin(), items_.end(), [texts](const Item& a, const Item& b) {
    if (a.key_start != b.key_start) return a.key_start < b.key_start;
    const bool is_longer = (a.key_start & 0xFFU) != 0;
    const int order = is_longer ? std::strcmp(texts + a.at + 8, texts + b.at + 8) : 0;
    return order != 0 ? order < 0 : a.at < b.at;
  });
}

bool DisplayOrder::each_item(const TakeItem& take) const {
  return std::all_of(items_.begin(), items_.end(), [&](const Item& item) {
    const char* const key = texts_.c_str() + item.at;
    return take(key + std::strlen(key) + 1);
  });
}

bool DisplayOrder::each_group(std::size_t column, const TakeGroup& take) const {
  std::vector<const Counts::value_type*> groups;
  groups.reserve(groups_[column].size());
  for (const auto& group : groups_[column]) groups.push_back(&group);
  std::sort(groups.begin(), groups.end(),
            [](const auto* a, const auto* b) { return sorts_before(a->first, b->first); });
  return std::all_of(groups.begin(), groups.end(), [&take](const auto* group) {
    return take(group->first, std::to_string(group->second));
  });
}

std::vector<std::string> DisplayOrder::take_folders() {
  std::vector<std::string> folders;
  folders.reserve(folders_.size());
  while (!folders_.empty()) folders.push_back(std::move(folders_.extract(folders_.begin()).value()));
  return folders;
}

}  // namespace corvexal
