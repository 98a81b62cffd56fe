#include "catalogue/folder_flags.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>

#include "base/text.h"
#include "catalogue/database.h"

namespace corvexal {
namespace {

// The length of the well-formed UTF-8 character at the start of `text`, 0 when there is none. U+FFFD and
// above in its plane count as malformed, since like reads malformed bytes as U+FFFD.
std::size_t character_length(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  if (byte(0) < 0x80) return 1;
  const std::size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
  if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() < length) return 0;
  unsigned long code = byte(0) & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i) {
    if ((byte(i) & 0xC0U) != 0x80) return 0;
    code = code << 6 | (byte(i) & 0x3FU);
  }
  constexpr std::array<unsigned long, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
  const bool replaced = (code & 0xFFFFU) >= 0xFFFD;
  return code < kSmallest[length] || code > 0x10FFFF || surrogate || replaced ? 0 : length;
}

bool is_well_formed(std::string_view text) {
  while (!text.empty()) {
    const std::size_t length = character_length(text);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::string folded(std::string_view text) {
  std::string result(text);
  StringToLower(result);
  return result;
}

}  // namespace

void FolderSet::add(std::string_view folder) {
  if (is_well_formed(folder))
    folders_.push_back(folded(folder));
  else
    odd_.emplace_back(folder);
}

void FolderSet::sort() {
  std::sort(folders_.begin(), folders_.end());
}

bool FolderSet::any_below(std::string_view path) const {
  const std::string pattern = std::string(path) + '%';
  const auto matches = [&pattern](const std::string& folder) {
    return sqlite3_strlike(pattern.c_str(), folder.c_str(), 0) == 0;
  };
  if (std::any_of(odd_.begin(), odd_.end(), matches)) return true;
  if (!is_well_formed(path)) return std::any_of(folders_.begin(), folders_.end(), matches);

  const std::string start = folded(path);
  const auto first = std::lower_bound(folders_.begin(), folders_.end(), start);
  if (first != folders_.end() && first->starts_with(start)) return true;

  const std::size_t wildcard = start.find_first_of("%_");
  if (wildcard == std::string::npos) return false;
  const std::string head = start.substr(0, wildcard);
  for (auto at = std::lower_bound(folders_.begin(), folders_.end(), head);
       at != folders_.end() && at->starts_with(head); ++at)
    if (matches(*at)) return true;
  return false;
}

namespace {

constexpr const char* kCountBelow = "select COUNT(No) from %s where UTF_Path like\"%s%%\" limit 0,1;";
constexpr const char* kClearFlags =
    "update path_objid_tbl set have_video = '0', have_music = '0', have_photo = '0' where ROWID == '%s';";
constexpr const char* kSetFlags =
    "update path_objid_tbl set have_video = \"%d\", have_music = \"%d\", have_photo = \"%d\" where ROWID "
    "=='%s';";

int report(int site, const std::string& sql) {
  std::printf("%dAssign_pathtbl_media():sql query[%s] error[%s]\n", site, sql.c_str(), error_text());
  return 0;
}

// One class of media: its folders are read when the first folder row asks for them.
class MediaClass {
 public:
  explicit MediaClass(const char* table) : table_(table) {}

  // Whether any row of the class lies at or below `path`; absent when the query fails, with zErrMsg set.
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
    Rows rows = g_db.select("select distinct UTF_Path from %s;", table_);
    while (rows.next()) folders.add(rows.text(0));
    if (rows.failed()) return false;
    folders.sort();
    folders_ = std::move(folders);
    return true;
  }

  std::optional<bool> ask(std::string_view path) {
    Rows rows = g_db.select(kCountBelow, table_, path);
    const bool found = rows.next() && decimal_value(rows.text(0)) > 0;
    if (rows.failed()) return std::nullopt;
    return found;
  }

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

bool read_folder_rows(std::vector<FolderRow>& folders) {
  Rows rows = g_db.select("select path,ROWID,have_video,have_music,have_photo from path_objid_tbl end;");
  while (rows.next())
    folders.push_back({std::string(rows.text(0)), std::string(rows.text(1)), stored_flags(rows, 2)});
  return !rows.failed();
}

// Rows whose flags stay the same are not written.
int store_flags(const FolderRow& folder, const Flags& flags) {
  if (folder.flags == flags) return 1;
  if (flags == Flags{}) {
    if (g_db.exec(kClearFlags, folder.rowid) != SQLITE_OK)
      return report(5, composed(kClearFlags, folder.rowid));
    return 1;
  }
  const int video = flags.video ? 1 : 0, music = flags.music ? 1 : 0, photo = flags.photo ? 1 : 0;
  if (g_db.exec(kSetFlags, video, music, photo, folder.rowid) != SQLITE_OK)
    return report(6, composed(kSetFlags, video, music, photo, folder.rowid));
  return 1;
}

}  // namespace

int Assign_pathtbl_media() {
  std::vector<FolderRow> folders;
  if (!read_folder_rows(folders)) return report(1, "select path,ROWID from path_objid_tbl end;");

  MediaClass music("music_tbl"), video("video_tbl"), photo("photo_tbl");
  for (const FolderRow& folder : folders) {
    const std::optional<bool> has_music = music.any_below(folder.path);
    if (!has_music) return report(2, music.query(folder.path));
    const std::optional<bool> has_video = video.any_below(folder.path);
    if (!has_video) return report(3, video.query(folder.path));
    const std::optional<bool> has_photo = photo.any_below(folder.path);
    if (!has_photo) return report(4, photo.query(folder.path));
    if (store_flags(folder, {*has_video, *has_music, *has_photo}) == 0) return 0;
  }
  return 1;
}

}  // namespace corvexal
