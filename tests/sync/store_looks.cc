// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/sync/store_looks.h"

#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "base/text.h"
#include "catalogue/schema.h"
#include "tests/support/test_files.h"

namespace corvexal::testing {
namespace {

const std::pair<std::string, std::string> kTables[] = {
    {"file", "path,folder,name,extension,tbl,is_song,size,mtime,date,depth,ino,nlink"},
    {"folder", "path,around,depth,must_have_row"},
    {"row", "tbl,path,No,ObjID,ParentID,Depth,Size,Date,songs"},
    {"folder_row", "path,ObjID,parent,level"},
    {"song", "id,path,fname,size,mtime"}};

constexpr const char* kReadRows[] = {
    "insert into next_row select 'music_tbl',Real_Path||Real_fname,No,ObjID,ParentID,Depth,Size,Date,PlsFile "
    "from music_tbl",
    "insert into next_row select 'video_tbl',Real_Path||Real_fname,No,ObjID,ParentID,Depth,Size,Date,'' from "
    "video_tbl",
    "insert into next_row select 'photo_tbl',Real_Path||Real_fname,No,ObjID,ParentID,Depth,Size,Date,'' from "
    "photo_tbl",
    "insert into next_folder_row select path,ObjID,Dir_ParentID,Level from path_objid_tbl"};

// The table of what the library makes; a ".jpg" is no photo there.
std::string table_for(std::string extension) {
  static const std::map<std::string, std::string> tables = {
      {".mp3", "music_tbl"}, {".m4a", "music_tbl"},  {".wav", "music_tbl"},
      {".m3u", "music_tbl"}, {".flac", "music_tbl"}, {".mpg", "video_tbl"},
      {".avi", "video_tbl"}, {".srt", "video_tbl"},  {".gif", "photo_tbl"}};
  StringToLower(extension);
  const auto found = tables.find(extension);
  return found == tables.end() ? "" : found->second;
}

bool is_song(std::string extension, std::int64_t size) {
  StringToLower(extension);
  return extension == ".m4a" || extension == ".wav" || (extension == ".mp3" && size >= 1024);
}

std::string date_of(std::time_t time) {
  char date[64];
  return {date, std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", std::localtime(&time))};
}

}  // namespace

ReconcileTask whole_library(const std::string& share) {
  ReconcileTask task;
  task.share = share + '/';
  task.folders = {task.share};
  return task;
}

ReconcileCounts sync(const std::string& mount, const ReconcileTask& task, ReconcileListener& listener) {
  Session session;
  session.config.sharepath = task.share.substr(0, task.share.size() - 1);
  session.config.mntpath = mount;
  const bool opened =
      task.preview ? open_to_look(session.db, mount) == SQLITE_OK
                   : create_catalogue(mount) == 0 && session.db.open(catalogue_path(mount)) == SQLITE_OK;
  if (!opened) throw std::runtime_error("the catalogue cannot be opened");
  const ReconcileCounts counts = reconcile(session, task, listener);
  session.db.close();
  if (counts.failed != 0) throw std::runtime_error("something failed");
  return counts;
}

StoreLooks::StoreLooks(std::string share, std::string mount)
    : share_(std::move(share)), mount_(std::move(mount)) {
  for (const auto& [table, columns] : kTables) sql_.run("create table now_" + table + " (" + columns + ")");
}

void StoreLooks::look_at_disk() {
  for (const auto& [table, columns] : kTables) {
    sql_.run("drop table if exists next_" + table);
    sql_.run("create table next_" + table + " (" + columns + ")");
  }
  refused_ = 0;
  walk(share_ + '/', "", static_cast<std::size_t>(std::count(share_.begin(), share_.end(), '/')));
}

void StoreLooks::look() {
  look_at_disk();
  sql_.run("attach ? as catalogue", {catalogue_path(mount_)});
  for (const char* statement : kReadRows) sql_.run(statement);
  look_at_songs();
  for (const auto& [table, columns] : kTables) {
    sql_.run("drop table if exists old_" + table);
    sql_.run("alter table now_" + table + " rename to old_" + table);
    sql_.run("alter table next_" + table + " rename to now_" + table);
  }
  check("in_line");
  sql_.run("detach catalogue");
}

// `depth` is the number of folders above the folder, as the catalogue counts them.
void StoreLooks::walk(const std::string& folder, const std::string& around, std::size_t depth) {
  if (folder.find('"') != std::string::npos) {
    ++refused_;
    return;
  }
  bool holds_any = false;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string name = entry.path().filename().string(), path = folder + name;
    struct stat status {};
    if (name[0] == '.' || lstat(path.c_str(), &status) != 0) continue;
    holds_any = true;
    if (path.size() >= 512) continue;
    if (S_ISDIR(status.st_mode)) walk(path + '/', folder, depth + 1);
    if (!S_ISREG(status.st_mode)) continue;
    const std::string extension = entry.path().extension().string(), table = table_for(extension);
    if (name.find('"') != std::string::npos) {
      if (!table.empty() || extension == ".jpg") ++refused_;
    } else if (!table.empty()) {
      sql_.run("insert into next_file values (?,?,?,?,?,?,?,?,?,?,?,?)",
               {path, folder, name, extension, table, is_song(extension, status.st_size) ? "1" : "0",
                std::to_string(status.st_size), std::to_string(status.st_mtime), date_of(status.st_mtime),
                std::to_string(depth), std::to_string(static_cast<std::uint32_t>(status.st_ino)),
                std::to_string(status.st_nlink)});
    }
  }
  sql_.run("insert into next_folder values (?,?,?,?)",
           {folder, around, std::to_string(depth), holds_any ? "1" : "0"});
}

void StoreLooks::look_at_songs() const {
  SongStore store;
  if (!store.open_to_read(mount_)) return;
  (void)store.keys_of([this](const SongInfo* song) {
    if (song == nullptr) throw std::runtime_error("a damaged song record");
    sql_.run("insert into next_song values (?,?,?,?,?)",
             {std::to_string(song->id), song->path.value_or("none"), song->fname.value_or("none"),
              std::to_string(song->file_size), std::to_string(song->time_modified)});
    return false;
  });
}

void StoreLooks::check(const std::string& name) const {
  std::ifstream file(sample("../tests/sync/" + name + ".sql"));
  if (!file) throw std::runtime_error("no statements " + name);
  std::string what, statement;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("-- ")) what = line.substr(3);
    statement += line + '\n';
    if (!line.ends_with(';')) continue;
    const auto wrong = sql_.run(statement);
    if (!wrong.empty()) throw std::runtime_error(what + ": " + wrong[0][0]);
    statement.clear();
  }
}

}  // namespace corvexal::testing
