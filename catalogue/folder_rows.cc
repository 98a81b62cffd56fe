// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/folder_rows.h"

#include "catalogue/identifiers.h"

namespace corvexal {

bool read_folder_rows(Database& db, Folders& folders, std::vector<std::int64_t>& doubles) {
  const auto wrong = wrong_identifiers(db, kFolderIds);
  if (!wrong) return false;
  Rows rows = db.select("select ROWID,path,ObjID,Dir_ParentID,Level from path_objid_tbl order by ROWID;");
  while (rows.next()) {
    std::string path(rows.text(1));
    const bool is_spelt = path.ends_with('/');
    if (!is_spelt) path += '/';
    Folder& folder = folders[path];
    if (folder.rowid != 0) {
      doubles.push_back(rows.number(0));
      continue;
    }
    folder.rowid = rows.number(0);
    folder.objid = wrong->contains(folder.rowid) ? 0 : static_cast<std::uint64_t>(rows.number(2));
    folder.parent = static_cast<std::uint64_t>(rows.number(3));
    folder.level = rows.number(4);
    folder.row_is_spelt = is_spelt;
  }
  return !rows.failed();
}

std::string_view folder_around(std::string_view folder) {
  const std::string_view without_slash = folder.substr(0, folder.size() - 1);
  return folder.substr(0, without_slash.rfind('/') + 1);
}

int write_folder_row(Database& db, const FolderRef& folder, std::uint64_t parent, int level) {
  const auto& [path, row] = folder;
  if (row.rowid != 0)
    return db.write("update path_objid_tbl set path=?,ObjID=?,Dir_ParentID=?,Level=? where ROWID=?;", path,
                    row.objid, parent, level, row.rowid);
  return db.exec(R"(insert into path_objid_tbl values ("%s","%llu","%llu","%d","0","0","0");)", path,
                 row.objid, parent, level);
}

}  // namespace corvexal
