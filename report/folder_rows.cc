// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/folder_rows.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "base/text.h"
#include "report/file_status.h"

namespace corvexal::report {
namespace {

constexpr const char* kFolders = "select path,ObjID,Dir_ParentID from path_objid_tbl order by ROWID";

std::string with_slash(std::string_view path) {
  return std::string(path) += path.ends_with('/') ? "" : "/";
}

std::string_view parent_of(std::string_view folder) {
  if (folder.size() < 2) return {};
  return folder.substr(0, folder.rfind('/', folder.size() - 2) + 1);
}

std::string_view last_component(std::string_view folder) {
  return folder.substr(parent_of(folder).size());
}

}  // namespace

FolderRows::FolderRows(Snapshot& snapshot, std::string share, ProblemList& problems)
    : share_(std::move(share)) {
  load(snapshot, problems);
  judge(snapshot, problems);
}

void FolderRows::load(Snapshot& snapshot, ProblemList& problems) {
  std::unordered_set<std::string> without_slash;
  Query rows = snapshot.query(kFolders);
  while (rows.next()) {
    const std::string path(rows.text(0));
    known_ids_.emplace(rows.text(1));
    const bool has_slash = path.ends_with('/');
    const bool is_first =
        has_slash ? ids_.emplace(path, rows.text(1)).second : without_slash.insert(path).second;
    if (!is_first)
      problems.add_path(Kind::kDoubleRow, with_slash(path));
    else if (!has_slash)
      problems.add_path(Kind::kNoSlash, with_slash(path));
  }
}

void FolderRows::judge(Snapshot& snapshot, ProblemList& problems) {
  Query rows = snapshot.query(kFolders);
  while (rows.next()) {
    const std::string folder = with_slash(rows.text(0));
    look_at_disk(folder, problems);
    if (!is_utf8(last_component(folder))) problems.add_path(Kind::kNameEncoding, folder);
    if (folder != share_ && folder.starts_with(share_))
      judge_parent(rows.text(2), parent_of(folder), folder, "", problems);
  }
}

void FolderRows::look_at_disk(const std::string& folder, ProblemList& problems) {
  struct stat status {};
  if (stat(folder.c_str(), &status) == 0) return;
  if (is_gone(errno)) {
    problems.add_path(Kind::kFolderGone, folder);
    return;
  }
  std::fprintf(stderr, "corvexal-report: cannot look at %s: %s\n", folder.c_str(), std::strerror(errno));
  ++unreadable_;
}

void FolderRows::judge_parent(std::string_view parent_id, std::string_view folder,
                              std::string_view owner_folder, std::string_view owner_name,
                              ProblemList& problems) const {
  const auto own = ids_.find(std::string(folder));
  if (own != ids_.end() && own->second == parent_id) return;
  if (own == ids_.end() && folder == share_ && parent_id == "0") return;
  const bool is_known = known_ids_.contains(std::string(parent_id));
  problems.add(is_known ? Kind::kWrongParent : Kind::kUnknownParent, owner_folder, owner_name, parent_id);
}

}  // namespace corvexal::report
