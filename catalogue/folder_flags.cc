// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/folder_flags.h"

#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "base/text.h"
#include "catalogue/folder_comparison.h"

namespace corvexal {
namespace {

constexpr const char* kCountBelow = R"(select COUNT(No) from %s where UTF_Path like"%s%%" limit 0,1;)";
constexpr const char* kFolders = "select distinct UTF_Path from %s where UTF_Path notnull;";
// The same from folder to folder, past the rows of each: where an index leads to the next one.
constexpr const char* kNextFolder =
    "explain query plan select UTF_Path from %s where UTF_Path > '' order by UTF_Path limit 1;";
constexpr const char* kFoldersByIndex = R"(
    with recursive folder(path) as (
      select min(UTF_Path) from %s
      union all
      select (select UTF_Path from %s where UTF_Path > path order by UTF_Path limit 1)
      from folder where path notnull)
    select path from folder where path notnull;)";
constexpr const char* kClearFlags =
    "update path_objid_tbl set have_video = '0', have_music = '0', have_photo = '0' where ROWID == '%s';";
constexpr const char* kSetFlags =
    R"(update path_objid_tbl set have_video = "%d", have_music = "%d", have_photo = "%d" where ROWID =='%s';)";
constexpr std::size_t kLikePatternLimit = 50'000;  // bytes; "like" refuses longer patterns

std::nullopt_t report(Database& db, int site, const std::string& sql) {
  std::printf("%dAssign_pathtbl_media():sql query[%s] error[%s]\n", site, sql.c_str(), db.error_text());
  return std::nullopt;
}

// Whether an index leads from folder to folder.
bool has_index(Database& db, const char* table) {
  Rows plan = db.select(kNextFolder, table);
  return plan.next() && plan.text(3).starts_with("SEARCH");
}

bool read_folder_set(Database& db, const char* table, std::optional<FolderSet>& set) {
  std::vector<std::string> folders;
  Rows rows = has_index(db, table) ? db.select(kFoldersByIndex, table, table) : db.select(kFolders, table);
  while (rows.next()) folders.emplace_back(rows.text(0));
  if (rows.failed()) return false;
  set.emplace(std::move(folders));
  return true;
}

// The folders of one class of media.
class MediaFolders {
 public:
  MediaFolders(Database& db, MediaClass media_class, FolderSets& sets)
      : db_(db), table_(table_of(media_class)), folders_(sets[static_cast<std::size_t>(media_class)]) {}

  // Whether any row of the class lies at or below `path`; absent when the query fails, which the database's
  // error_text() explains.
  std::optional<bool> any_below(std::string_view path) {
    const bool unreadable = !folders_ && !read_folder_set(db_, table_, folders_);
    // Asked of the database itself, these give the error that belongs to the query.
    if (unreadable || path.size() >= kLikePatternLimit || path.find('"') != std::string_view::npos)
      return ask(path);
    if (lies_in_empty_folder(path)) return false;
    const bool found = folders_->any_below(path);
    if (!found && path.ends_with('/')) empty_folder_ = path;
    return found;
  }

  [[nodiscard]] std::string query(std::string_view path) const { return composed(kCountBelow, table_, path); }

 private:
  // Saves most of the walks for paths with wildcards: folders come after the one that they lie in.
  [[nodiscard]] bool lies_in_empty_folder(std::string_view path) const {
    return !empty_folder_.empty() && path.starts_with(empty_folder_);
  }

  std::optional<bool> ask(std::string_view path) {
    Rows rows = db_.select(kCountBelow, table_, path);
    return rows.next() ? std::optional(decimal_value(rows.text(0)) > 0) : std::nullopt;
  }

  Database& db_;
  const char* table_;
  std::optional<FolderSet>& folders_;
  std::string empty_folder_;  // the last one, where there was any
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

bool store_flags(Database& db, const FolderRow& folder, const Flags& flags) {
  const auto store = [&db](int site, const char* statement, const auto&... values) {
    if (db.exec(statement, values...) == SQLITE_OK) return true;
    report(db, site, composed(statement, values...));
    return false;
  };
  if (flags == Flags{}) return store(5, kClearFlags, folder.rowid);
  return store(6, kSetFlags, flags.video ? 1 : 0, flags.music ? 1 : 0, flags.photo ? 1 : 0, folder.rowid);
}

}  // namespace

void read_folders(Database& db, FolderSets& sets) {
  for (const MediaClass media_class : {MediaClass::kMusic, MediaClass::kVideo, MediaClass::kPhoto}) {
    std::optional<FolderSet>& set = sets[static_cast<std::size_t>(media_class)];
    if (!set) read_folder_set(db, table_of(media_class), set);
  }
}

int Assign_pathtbl_media(Database& db, FolderSets sets) {
  return mend_folder_flags(db, std::move(sets), true) ? 1 : 0;
}

std::optional<std::size_t> mend_folder_flags(Database& db, FolderSets sets, bool write) {
  std::vector<FolderRow> folders;
  if (!read_folder_rows(db, folders)) return report(db, 1, "select path,ROWID from path_objid_tbl end;");

  std::size_t wrong = 0;
  MediaFolders music(db, MediaClass::kMusic, sets), video(db, MediaClass::kVideo, sets),
      photo(db, MediaClass::kPhoto, sets);
  for (const FolderRow& folder : folders) {
    const std::optional<bool> has_music = music.any_below(folder.path);
    if (!has_music) return report(db, 2, music.query(folder.path));
    const std::optional<bool> has_video = video.any_below(folder.path);
    if (!has_video) return report(db, 3, video.query(folder.path));
    const std::optional<bool> has_photo = photo.any_below(folder.path);
    if (!has_photo) return report(db, 4, photo.query(folder.path));
    const Flags flags{*has_video, *has_music, *has_photo};
    if (folder.flags == flags) continue;
    if (write && !store_flags(db, folder, flags)) return std::nullopt;
    ++wrong;
  }
  return wrong;
}

}  // namespace corvexal
