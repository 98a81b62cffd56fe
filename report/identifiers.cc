// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/identifiers.h"

namespace corvexal::report {
namespace {

void check(Snapshot& snapshot, const std::string& table, const std::string& folder, const std::string& name,
           ProblemList& problems) {
  Query rows = snapshot.query("select " + folder + "," + name + ",ObjID from " + table +
                              " where ObjID in (select ObjID from " + table +
                              " group by ObjID having count(*) > 1) order by ObjID,ROWID");
  while (rows.next()) problems.add(Kind::kRepeatedIdentifier, rows.text(0), rows.text(1), rows.text(2));
}

}  // namespace

void check_identifiers(Snapshot& snapshot, ProblemList& problems) {
  for (const char* table : {"music_tbl", "video_tbl", "photo_tbl"})
    check(snapshot, table, "Real_Path", "Real_fname", problems);
  check(snapshot, "path_objid_tbl", "path", "''", problems);
}

}  // namespace corvexal::report
