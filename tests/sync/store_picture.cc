// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/sync/store_picture.h"

#include <dirent.h>

#include <algorithm>
#include <ctime>
#include <memory>
#include <set>

#include "catalogue/database.h"
#include "catalogue/schema.h"
#include "songdb/store.h"

namespace corvexal::testing {
namespace {

constexpr const char* kTables[] = {"music_tbl", "video_tbl", "photo_tbl"};

std::string lower(std::string text) {
  for (char& c : text)
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  return text;
}

std::string extension_of(const std::string& name) {
  const std::size_t dot = name.rfind('.');
  return dot == std::string::npos ? "" : lower(name.substr(dot + 1));
}

// The table of what the library makes; a ".jpg" is no photo there.
std::string table_for(const std::string& extension) {
  static const std::set<std::string> music = {"mp3", "m4a", "wav", "flac", "m3u"},
                                     video = {"mpg", "avi", "srt"};
  return music.contains(extension)   ? "music_tbl"
         : video.contains(extension) ? "video_tbl"
         : extension == "gif"        ? "photo_tbl"
                                     : "";
}

bool is_song(const std::string& path, const struct stat& status) {
  const std::string extension = extension_of(path);
  return extension == "m4a" || extension == "wav" || (extension == "mp3" && status.st_size >= 1024);
}

std::string levels_above(const std::string& path) {
  return std::to_string(std::count(path.begin(), path.end(), '/') - 1);
}

class Looker {
 public:
  Looker(StorePicture& picture, const std::string& mount_path) : picture_(picture) {
    walk(picture.share + '/');
    expect(db_.open_to_read(catalogue_path(mount_path)) == SQLITE_OK, "no catalogue", mount_path);
    read_rows();
    read_songs(mount_path);
    check_files();
    check_folders();
    check_playlists();
    check_songs();
    check_sort_tables();
    check_flags();
  }

 private:
  void complain(const std::string& what) { picture_.complaints.push_back(what); }
  void expect(bool fits, const std::string& what, const std::string& path) {
    if (!fits) complain(what + ": " + path);
  }

  void walk(const std::string& folder) {
    if (folder.find('"') != std::string::npos) {
      ++picture_.refused;
      return;
    }
    bool holds_any = false;
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(opendir(folder.c_str()), closedir);
    while (const dirent* entry = readdir(entries.get())) {
      const std::string name = entry->d_name, path = folder + name;
      struct stat status {};
      if (name[0] == '.' || lstat(path.c_str(), &status) != 0) continue;
      holds_any = true;
      if (path.size() >= 512) continue;
      if (S_ISDIR(status.st_mode)) walk(path + '/');
      const std::string extension = extension_of(name);
      const std::string table = S_ISREG(status.st_mode) ? table_for(extension) : "";
      if (name.find('"') != std::string::npos) {
        if (!table.empty() || (S_ISREG(status.st_mode) && extension == "jpg")) ++picture_.refused;
      } else if (!table.empty()) {
        picture_.files[path] = status;
        picture_.tables[path] = table;
      }
    }
    picture_.folders[folder] = holds_any;
  }

  void read_rows() {
    for (const std::string table : kTables) {
      std::set<std::string> objids, numbers;
      const std::string songs = table == "music_tbl" ? "PlsFile" : "''";
      Rows rows = db_.select("select Real_Path||Real_fname,No,ObjID,ParentID,Depth,Size,Date," + songs +
                             " from " + table + ";");
      while (rows.next()) {
        const auto text = [&rows](int column) { return std::string(rows.text(column)); };
        const std::string path = text(0);
        expect(!picture_.rows.contains(path), "a double row", path);
        expect(numbers.insert(text(1)).second, "a number is another row's", path);
        expect(objids.insert(text(2)).second, "an identifier is another row's", path);
        picture_.rows[path] = {table, text(1), text(2), text(3), text(4), text(5), text(6), text(7)};
      }
      expect(!rows.failed(), "cannot be read", table);
    }
    std::set<std::string> objids;
    Rows rows = db_.select("select path,ObjID,Dir_ParentID,Level from path_objid_tbl;");
    while (rows.next()) {
      const std::string path(rows.text(0)), objid(rows.text(1));
      expect(!picture_.folder_rows.contains(path), "a double folder row", path);
      expect(objids.insert(objid).second, "an identifier is another folder's", path);
      picture_.folder_rows[path] = {objid, std::string(rows.text(2)), std::string(rows.text(3))};
    }
  }

  void read_songs(const std::string& mount_path) {
    SongStore store;
    if (!store.open_to_read(mount_path)) return;
    (void)store.keys_of([this](const SongInfo* song) {
      if (song == nullptr)
        complain("a damaged song record");
      else
        picture_.songs[song->id] = *song;
      return false;
    });
  }

  void check_files() {
    for (const auto& [path, row] : picture_.rows)
      expect(picture_.files.contains(path), "a row without a file", path);
    for (const auto& [path, status] : picture_.files) {
      const auto found = picture_.rows.find(path);
      if (found == picture_.rows.end()) {
        complain("a file without a row: " + path);
        continue;
      }
      const auto& row = found->second;
      const std::string folder = path.substr(0, path.rfind('/') + 1);
      char date[64];
      std::strftime(date, sizeof date, "%Y-%m-%dT%H:%M:%S", std::localtime(&status.st_mtime));
      expect(row.table == picture_.tables[path], "in the wrong table", path);
      expect(row.size == std::to_string(status.st_size), "its size is " + row.size, path);
      expect(row.date == date, "its date is " + row.date, path);
      expect(row.depth == levels_above(path), "its depth is " + row.depth, path);
      expect(row.parent == picture_.folder_rows[folder].objid, "its parent is " + row.parent, path);
    }
  }

  void check_folders() {
    for (const auto& [folder, row] : picture_.folder_rows) {
      expect(picture_.folders.contains(folder), "a row without a folder", folder);
      const std::string around = folder.substr(0, folder.rfind('/', folder.size() - 2) + 1);
      const auto parent = picture_.folder_rows.find(around);
      const std::string objid = parent == picture_.folder_rows.end() ? "0" : parent->second.objid;
      expect(row.parent == objid, "its parent is " + row.parent, folder);
      expect(row.level == levels_above(folder), "its level is " + row.level, folder);
    }
    for (const auto& [folder, must_have_row] : picture_.folders)
      expect(!must_have_row || picture_.folder_rows.contains(folder), "a folder without a row", folder);
  }

  // All playlists name the same three songs of their own folder.
  void check_playlists() {
    for (const auto& [path, row] : picture_.rows) {
      if (extension_of(path) != "m3u") continue;
      std::string numbers;
      for (const char* name : {"a1.mp3", "B2.mp3", "c3.mp3"}) {
        const auto song = picture_.rows.find(path.substr(0, path.rfind('/') + 1) + name);
        if (song != picture_.rows.end()) numbers += song->second.number + ",";
      }
      expect(row.songs == numbers, "its songs are " + row.songs, path);
    }
  }

  // A file with two names has one record, under either.
  void check_songs() {
    std::map<std::uint32_t, std::set<std::string>> wanted;
    for (const auto& [path, status] : picture_.files)
      if (is_song(path, status)) wanted[static_cast<std::uint32_t>(status.st_ino)].insert(path);
    for (const auto& [id, song] : picture_.songs)
      expect(wanted.contains(id), "a record without a song", song.path.value_or("none"));
    for (const auto& [id, paths] : wanted) {
      const auto found = picture_.songs.find(id);
      if (found == picture_.songs.end()) {
        complain("a song without a record: " + *paths.begin());
        continue;
      }
      const SongInfo& song = found->second;
      const std::string path = song.path.value_or("none");
      const auto& status = picture_.files[*paths.begin()];
      expect(paths.contains(path), "a record under another path than " + *paths.begin(), path);
      expect(song.fname == path.substr(path.rfind('/') + 1), "another name in its record", path);
      expect(song.file_size == status.st_size && song.time_modified == status.st_mtime, "an old record",
             path);
    }
  }

  void check_sort_tables() {
    check_items("music_sortidx_tbl", "music_tbl where EXT_fname not in ('m3u','pls')", "Title");
    check_items("video_sortidx_tbl", "video_tbl where EXT_fname!='srt'", "UTF_fname");
    check_items("photo_sortidx_tbl", "photo_tbl", "UTF_fname");
    check_groups("music_sortGen_tbl", "Genre");
    check_groups("music_sortArt_tbl", "Artist");
    check_groups("music_sortAlb_tbl", "Album");
  }

  void check_items(const std::string& table, const std::string& items, const std::string& title) {
    std::map<std::string, std::string> titles;
    Rows wanted = db_.select("select No," + title + " from " + items + ";");
    while (wanted.next()) titles[std::string(wanted.text(0))] = wanted.text(1);
    std::string last;
    Rows rows = db_.select("select idx from " + table + " order by ROWID;");
    while (rows.next()) {
      const std::string number(rows.text(0));
      const auto item = titles.find(number);
      if (item == titles.end()) {
        complain(table + ": a number too many: " + number);
        continue;
      }
      const std::string& text = item->second;
      const bool is_capital = !text.empty() && text[0] >= 'A' && text[0] <= 'Z';
      const std::string key = is_capital ? lower(text.substr(0, 1)) : text;
      expect(last <= key, table + ": not in order", text);
      last = key;
      titles.erase(item);
    }
    expect(!rows.failed() && titles.empty(), "items are missing", table);
  }

  void check_groups(const std::string& table, const std::string& name) {
    std::map<std::string, int> wanted, found;
    Rows songs = db_.select("select " + name + " from music_tbl where EXT_fname not in ('m3u','pls');");
    while (songs.next()) ++wanted[std::string(songs.text(0))];
    Rows rows = db_.select("select name,cnt,ObjID from " + table + " order by ROWID;");
    std::set<std::string> objids;
    while (rows.next()) {
      found[std::string(rows.text(0))] += static_cast<int>(rows.number(1));
      expect(objids.insert(std::string(rows.text(2))).second, "a repeated identifier", table);
    }
    expect(!rows.failed() && wanted == found, "other groups than the songs have", table);
  }

  // By the folder's path as it is written; those that are not plain ASCII are another matter.
  void check_flags() {
    const char* const flags[] = {"have_music", "have_video", "have_photo"};
    for (int i = 0; i < 3; ++i) {
      Rows rows = db_.select(std::string("select path from path_objid_tbl where ") + flags[i] + "!='1';");
      while (rows.next()) {
        const std::string folder(rows.text(0));
        if (std::any_of(folder.begin(), folder.end(), [](unsigned char c) { return c < 0x20 || c > 0x7E; }))
          continue;
        const auto row = std::find_if(picture_.rows.begin(), picture_.rows.end(), [&](const auto& entry) {
          return entry.second.table == kTables[i] && entry.first.starts_with(folder);
        });
        expect(row == picture_.rows.end(), std::string("has not ") + flags[i], folder);
      }
    }
  }

  StorePicture& picture_;
  Database db_;
};

}  // namespace

StorePicture look_at_stores(const std::string& share, const std::string& mount_path) {
  StorePicture picture;
  picture.share = share;
  Looker(picture, mount_path);
  return picture;
}

}  // namespace corvexal::testing
