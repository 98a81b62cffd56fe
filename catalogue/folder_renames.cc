// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/folder_renames.h"

#include <string>
#include <vector>

#include "catalogue/folder_comparison.h"

namespace corvexal {
namespace {

constexpr MediaClass kClasses[] = {MediaClass::kMusic, MediaClass::kVideo, MediaClass::kPhoto};

std::string without_slash(const std::string& folder) {
  return folder.substr(0, folder.size() - 1);
}

// The end of the paths below a folder, in the order of their bytes.
std::string end_of(std::string folder) {
  ++folder.back();
  return folder;
}

class RenamedRows {
 public:
  RenamedRows(Session& session, const FolderRename& rename, ReconcileCounts& counts)
      : session_(session), db_(session.db), from_(rename.from), to_(rename.to), counts_(counts) {}

  [[nodiscard]] bool is_known() {
    return holds_files_below(db_, from_) ||
           db_.read("select 1 from path_objid_tbl where path=? or path=?;", from_, without_slash(from_))
               .next();
  }

  // True when there were files among them.
  bool forget_replaced() {
    const std::uint64_t removed_before = counts_.removed;
    const std::string end = end_of(to_);
    for (const MediaClass media_class : kClasses)
      counts_.removed += write(
          composed("delete from %s where Real_Path>=? and Real_Path<?;", table_of(media_class)), to_, end);
    write("delete from path_objid_tbl where path=? or path>=? and path<?;", without_slash(to_), to_, end);
    return counts_.removed > removed_before;
  }

  void move_files(const char* table) {
    const std::string update = composed("update %s set Real_Path=?,UTF_Path=? where Real_Path=?;", table);
    for (const std::string& folder :
         below(composed("select distinct Real_Path from %s where Real_Path>=? and Real_Path<?;", table))) {
      const std::string path = renamed(folder);
      counts_.moved += write(update, path, session_.names.to_utf8(path).text.value_or(path), folder);
    }
  }

  void move_folders() {
    constexpr const char* kUpdate = "update path_objid_tbl set path=? where path=?;";
    for (const std::string& folder : below("select path from path_objid_tbl where path>=? and path<?;"))
      if (write(kUpdate, renamed(folder), folder) > 0) ++counts_.mended;
    write(kUpdate, to_, without_slash(from_));
  }

 private:
  // How many rows it changed; none on an error, which is counted.
  template <class... Values>
  std::uint64_t write(const std::string& sql, const Values&... values) {
    if (db_.write(sql.c_str(), values...) == SQLITE_OK) return db_.changed_rows();
    ++counts_.failed;
    return 0;
  }

  // All of them before the first is written, or the index that leads from one to the next would move.
  std::vector<std::string> below(const std::string& select) {
    std::vector<std::string> folders;
    Rows rows = db_.read(select.c_str(), from_, end_of(from_));
    while (rows.next()) folders.emplace_back(rows.text(0));
    return folders;
  }

  [[nodiscard]] std::string renamed(const std::string& folder) const {
    return to_ + folder.substr(from_.size());
  }

  Session& session_;
  Database& db_;
  const std::string& from_;
  const std::string& to_;
  ReconcileCounts& counts_;
};

}  // namespace

bool carry_out(Session& session, const FolderRename& rename, ReconcileCounts& counts,
               ReconcileListener& listener) {
  if (rename.to.starts_with(rename.from) || rename.from.starts_with(rename.to)) return false;
  RenamedRows rows(session, rename, counts);
  if (!rows.is_known()) return false;
  const bool forgot_rows = rows.forget_replaced();
  for (const MediaClass media_class : kClasses) rows.move_files(table_of(media_class));
  rows.move_folders();
  listener.changed(Change::kMoved, rename.to);
  return forgot_rows;
}

}  // namespace corvexal
