// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/schema.h"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <vector>

#include "base/log.h"
#include "base/place.h"

namespace corvexal {
namespace {

// Columns are untyped and every value is text: clients of the catalogue go by position and by these
// names.
constexpr const char* kTables[] = {
    "create table if not exists music_tbl (No,Real_Path,Real_fname,UTF_Path,UTF_fname,EXT_fname,Date,Size,"
    "Genre,Artist,Album,Title,Bitrate,PlsFile,Reserve1,Reserve2,Depth,Reserve3,ObjID,ParentID,"
    "Reserve4,Reserve5,Reserve6);",
    "create table if not exists video_tbl (No,Real_Path,Real_fname,UTF_Path,UTF_fname,EXT_fname,Date,Size,"
    "Width,Height,Reserve1,VideoFormat,Reserve2,Reserve3,Reserve4,Reserve5,Depth,ObjID,ParentID,"
    "Reserve6,Reserve7,Reserve8);",
    "create table if not exists photo_tbl (No,Real_Path,Real_fname,UTF_Path,UTF_fname,EXT_fname,Date,Size,"
    "Width,Height,ColorDepth,Reserve1,Reserve2,Reserve3,Depth,ObjID,ParentID,Reserve4,Reserve5,Reserve6);",
    "create table if not exists path_objid_tbl "
    "(path,ObjID,Dir_ParentID,Level,have_video,have_music,have_photo);",
    "create table if not exists record_objid_tbl (name,value);",
};

// No index covers an item query or a folder query, so rows that sort alike keep the order of the table.
constexpr const char* kIndexes[] = {
    "create index if not exists music_utf_idx on music_tbl (UTF_Path,UTF_fname);",
    "create index if not exists video_utf_idx on video_tbl (UTF_Path,UTF_fname);",
    "create index if not exists photo_utf_idx on photo_tbl (UTF_Path,UTF_fname);",
    "create index if not exists music_real_idx on music_tbl (Real_Path,Real_fname);",
    "create index if not exists video_real_idx on video_tbl (Real_Path,Real_fname);",
    "create index if not exists photo_real_idx on photo_tbl (Real_Path,Real_fname);",
    "create index if not exists music_no_idx on music_tbl (No);",
    "create index if not exists photo_objid_idx on photo_tbl (ObjID);",
    "create index if not exists path_idx on path_objid_tbl (path);",
};

constexpr std::size_t kMountPathSize = 99;

}  // namespace

std::string catalogue_path(const std::string& mount_path) {
  return mount_path.substr(0, kMountPathSize) + "/.systemfile/.upnpav-db/upnpav.db";
}

int create_tables(Database& db) {
  for (const char* statement : kTables)
    if (const int code = db.exec(statement); code != SQLITE_OK) return code;
  for (const char* statement : kIndexes)
    if (const int code = db.exec(statement); code != SQLITE_OK) return code;
  return SQLITE_OK;
}

int open_to_look(Database& db, const std::string& mount_path) {
  const std::string path = catalogue_path(mount_path);
  if (!std::filesystem::exists(path)) {
    const int code = db.open(":memory:");
    return code == SQLITE_OK ? create_tables(db) : code;
  }
  if (const int code = db.open_to_read(path); code != SQLITE_OK) return code;
  std::vector<std::string> missing;
  for (const std::string statement : kTables) {
    const std::size_t name_at = statement.find("exists ") + 7;
    const std::string name = statement.substr(name_at, statement.find(' ', name_at) - name_at);
    Rows rows = db.read("select 1 from sqlite_master where type='table' and name=?;", name);
    if (!rows.next()) missing.push_back("create temp" + statement.substr(statement.find(" table")));
  }
  return missing.empty() ? SQLITE_OK : db.open_to_read(path, missing);
}

int create_catalogue(const std::string& mount_path) {
  const std::string path = catalogue_path(mount_path);
  std::error_code ignored;
  std::filesystem::create_directories(mount_path.substr(0, kMountPathSize), ignored);
  if (!find_place(path, MissingFolders::kMake)) {
    error_printf("Corvexal: cannot create the folder of %s: %s\n", path.c_str(), why_refused(errno));
    return -1;
  }
  Database db;
  if (db.open(path) != SQLITE_OK) return -1;
  if (create_tables(db) != SQLITE_OK) {
    error_printf("Corvexal: cannot create the tables of %s: %s\n", path.c_str(), db.error_text());
    return -1;
  }
  db.close();
  return db.lost_work() ? -1 : 0;
}

}  // namespace corvexal
