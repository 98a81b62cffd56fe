#include "catalogue/folder_flags.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <span>

#include "base/text.h"

namespace corvexal {
namespace {

// Takes the character at the start of `text` off it, as SQL's "like" reads it: a lead byte takes all the
// continuation bytes behind it, a stray one stands for itself, and what can't be a character is U+FFFD.
std::uint32_t take_character(std::string_view& text) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  std::uint32_t code = byte(0);
  std::size_t length = 1;
  if (code >= 0xC0) {
    const int ones = std::min(std::countl_one(byte(0)), 7);
    code &= 0x7FU >> ones;
    for (; length < text.size() && (byte(length) & 0xC0U) == 0x80; ++length)
      code = code << 6 | (byte(length) & 0x3FU);
    if (code < 0x80 || (code & 0xFFFFF800U) == 0xD800 || (code & 0xFFFFFFFEU) == 0xFFFE) code = 0xFFFD;
  }
  text.remove_prefix(length);
  return code;
}

// Appends a character in UTF-8, continued to seven bytes for what "like" reads behind U+10FFFF.
void append_character(std::string& text, std::uint32_t code) {
  if (code < 0x80) {
    text += static_cast<char>(code);
    return;
  }
  int continuations = 1;
  while (continuations < 6 && std::uint64_t{code} >> (5 * continuations + 6) != 0) ++continuations;
  text += static_cast<char>(0xFF00U >> (continuations + 1) | (std::uint64_t{code} >> 6 * continuations));
  while (continuations-- > 0) text += static_cast<char>(0x80U | (code >> 6 * continuations & 0x3FU));
}

// The text with every character as "like" compares it: well formed, ASCII letters in lower case.
std::string as_like_reads(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) append_character(result, take_character(text));
  StringToLower(result);
  return result;
}

std::size_t character_length(std::string_view text) {
  const int ones = std::countl_one(static_cast<unsigned char>(text[0]));
  return static_cast<std::size_t>(std::max(ones, 1));
}

using Folders = std::span<const std::string>;

// Those of the folders that hold `piece` at byte `at`. REQUIRES: they are sorted and agree before it.
Folders narrowed(Folders folders, std::size_t at, std::string_view piece) {
  const auto held = [at, &piece](const std::string& folder) {
    return std::string_view(folder).substr(at, piece.size());
  };
  const auto first = std::partition_point(folders.begin(), folders.end(),
                                          [&](const std::string& folder) { return held(folder) < piece; });
  const auto last = std::partition_point(first, folders.end(),
                                         [&](const std::string& folder) { return held(folder) == piece; });
  return {first, last};
}

// Whether any folder matches `pattern` from byte `at` on, where a match may end before the folder does.
// REQUIRES: the folders are sorted and agree before it.
bool any_match(Folders folders, std::size_t at, std::string_view pattern) {
  const std::string_view literal = pattern.substr(0, pattern.find_first_of("%_"));
  folders = narrowed(folders, at, literal);
  at += literal.size();
  pattern.remove_prefix(literal.size());
  if (folders.empty() || pattern.empty()) return !folders.empty();
  if (pattern[0] == '%') {
    const std::string rest = std::string(pattern) + '%';
    return std::any_of(folders.begin(), folders.end(), [&rest, at](const std::string& folder) {
      return sqlite3_strlike(rest.c_str(), folder.c_str() + at, 0) == 0;
    });
  }
  pattern.remove_prefix(1);
  while (!folders.empty()) {
    const std::string_view rest = std::string_view(folders.front()).substr(at);
    if (rest.empty()) {
      folders = folders.subspan(1);
      continue;
    }
    const std::string_view character = rest.substr(0, character_length(rest));
    const Folders same = narrowed(folders, at, character);
    if (any_match(same, at + character.size(), pattern)) return true;
    folders = folders.subspan(same.size());
  }
  return false;
}

}  // namespace

void FolderSet::add(std::string_view folder) {
  folders_.push_back(as_like_reads(folder));
}

void FolderSet::sort() {
  std::sort(folders_.begin(), folders_.end());
}

bool FolderSet::any_below(std::string_view path) const {
  return any_match(folders_, 0, as_like_reads(path));
}

namespace {

constexpr const char* kCountBelow = "select COUNT(No) from %s where UTF_Path like\"%s%%\" limit 0,1;";
constexpr const char* kClearFlags =
    "update path_objid_tbl set have_video = '0', have_music = '0', have_photo = '0' where ROWID == '%s';";
constexpr const char* kSetFlags =
    "update path_objid_tbl set have_video = \"%d\", have_music = \"%d\", have_photo = \"%d\" where ROWID "
    "=='%s';";

int report(Database& db, int site, const std::string& sql) {
  std::printf("%dAssign_pathtbl_media():sql query[%s] error[%s]\n", site, sql.c_str(), db.error_text());
  return 0;
}

// One class of media: its folders are read when the first folder row asks for them.
class MediaClass {
 public:
  MediaClass(Database& db, const char* table) : db_(db), table_(table) {}

  // Whether any row of the class lies at or below `path`; absent when the query fails, which the database's
  // error_text() explains.
  std::optional<bool> any_below(std::string_view path) {
    const bool unreadable = !folders_ && !read_folders();
    // Asked of the database itself, these give the error that belongs to the query.
    if (unreadable || path.find('"') != std::string_view::npos) return ask(path);
    return folders_->any_below(path);
  }

  [[nodiscard]] std::string query(std::string_view path) const { return composed(kCountBelow, table_, path); }

 private:
  bool read_folders() {
    FolderSet folders;
    Rows rows = db_.select("select distinct UTF_Path from %s;", table_);
    while (rows.next()) folders.add(rows.text(0));
    if (rows.failed()) return false;
    folders.sort();
    folders_ = std::move(folders);
    return true;
  }

  std::optional<bool> ask(std::string_view path) {
    Rows rows = db_.select(kCountBelow, table_, path);
    const bool found = rows.next() && decimal_value(rows.text(0)) > 0;
    if (rows.failed()) return std::nullopt;
    return found;
  }

  Database& db_;
  const char* table_;
  std::optional<FolderSet> folders_;
};

struct Flags {
  bool video = false, music = false, photo = false;
  bool operator==(const Flags&) const = default;
};

struct FolderRow {
  std::string path, rowid;
  std::optional<Flags> flags;  // absent unless each is stored as "0" or "1"
};

std::optional<Flags> stored_flags(const Rows& rows, int column) {
  for (int i = column; i < column + 3; ++i)
    if (rows.text(i) != "0" && rows.text(i) != "1") return std::nullopt;
  return Flags{rows.text(column) == "1", rows.text(column + 1) == "1", rows.text(column + 2) == "1"};
}

bool read_folder_rows(Database& db, std::vector<FolderRow>& folders) {
  Rows rows = db.select("select path,ROWID,have_video,have_music,have_photo from path_objid_tbl end;");
  while (rows.next())
    folders.push_back({std::string(rows.text(0)), std::string(rows.text(1)), stored_flags(rows, 2)});
  return !rows.failed();
}

// Rows whose flags stay the same are not written.
int store_flags(Database& db, const FolderRow& folder, const Flags& flags) {
  if (folder.flags == flags) return 1;
  if (flags == Flags{}) {
    if (db.exec(kClearFlags, folder.rowid) != SQLITE_OK)
      return report(db, 5, composed(kClearFlags, folder.rowid));
    return 1;
  }
  const int video = flags.video ? 1 : 0, music = flags.music ? 1 : 0, photo = flags.photo ? 1 : 0;
  if (db.exec(kSetFlags, video, music, photo, folder.rowid) != SQLITE_OK)
    return report(db, 6, composed(kSetFlags, video, music, photo, folder.rowid));
  return 1;
}

}  // namespace

int Assign_pathtbl_media(Database& db) {
  std::vector<FolderRow> folders;
  if (!read_folder_rows(db, folders)) return report(db, 1, "select path,ROWID from path_objid_tbl end;");

  MediaClass music(db, "music_tbl"), video(db, "video_tbl"), photo(db, "photo_tbl");
  for (const FolderRow& folder : folders) {
    const std::optional<bool> has_music = music.any_below(folder.path);
    if (!has_music) return report(db, 2, music.query(folder.path));
    const std::optional<bool> has_video = video.any_below(folder.path);
    if (!has_video) return report(db, 3, video.query(folder.path));
    const std::optional<bool> has_photo = photo.any_below(folder.path);
    if (!has_photo) return report(db, 4, photo.query(folder.path));
    if (store_flags(db, folder, {*has_video, *has_music, *has_photo}) == 0) return 0;
  }
  return 1;
}

}  // namespace corvexal
