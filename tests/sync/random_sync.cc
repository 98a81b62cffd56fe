// SPDX-License-Identifier: GPL-3.0-or-later
// Days of changes on a share, each followed by a sync and by a look at what it has done: random_sync [FIRST
// [COUNT]] goes through so many seeds. Ends with 1 and says where when something is not in line.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iterator>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "catalogue/scan.h"
#include "catalogue/schema.h"
#include "tests/support/test_files.h"
#include "tests/sync/random_library.h"
#include "tests/sync/store_looks.h"

namespace corvexal::testing {
namespace {

namespace fs = std::filesystem;

// What is told while a sync or its preview goes on.
struct Told : ReconcileListener {
  void changed(Change change, std::string_view path) override {
    lines.push_back(std::string(1, static_cast<char>(change)).append(" ").append(path));
  }
  std::vector<std::string> lines;
};

// What other programs may do to the stores.
struct Damage {
  const char* sql;
  bool to_identifiers;
};
constexpr Damage kDamages[] = {{"drop table music_sortidx_tbl;", false},
                               {"delete from photo_sortidx_tbl;", false},
                               {"update music_sortGen_tbl set cnt='9';", false},
                               {"update music_tbl set ObjID='3000000000001';", true},
                               {"update video_tbl set No='1';", true},
                               {"update music_tbl set ParentID='5',Depth='0';", false},
                               {"update music_tbl set PlsFile='9,';", false},
                               {"update path_objid_tbl set path=rtrim(path,'/');", false},
                               {"update path_objid_tbl set ObjID='4000000000001';", true},
                               {"update path_objid_tbl set Dir_ParentID='4000000000009',Level='1';", false},
                               {"insert into photo_tbl select * from photo_tbl;", false},
                               {"delete from music_tbl where ROWID%3=0;", true},
                               {"drop table photo_tbl;", true},
                               {"update music_tbl set Date='';", false}};

void expect(bool holds, const std::string& what) {
  if (!holds) throw std::runtime_error(what);
}

class Story {
 public:
  explicit Story(std::uint32_t seed)
      : share_(folder_.path() + "/share"),
        mount_(seed % 2 == 0 ? share_ : folder_.path()),
        library_((fs::create_directory(share_), share_), seed),
        looks_(share_, mount_) {}

  // Throws the first thing that is not in line.
  void tell() {
    library_.pass_a_day();
    bring_in_line();
    for (std::size_t days = 4 + library_.below(6); days > 0; --days) {
      if (library_.happens(25))
        pass_a_day_of_one_rename();
      else if (library_.happens(30))
        pass_a_watched_day();
      else
        pass_a_common_day();
    }
  }

 private:
  ReconcileTask whole() const { return whole_library(share_); }

  // The stores' bytes and what would show a write that left them as they were.
  std::string stores() const {
    std::string all;
    for (const std::string& path : {catalogue_path(mount_), song_store_path(mount_)}) {
      struct stat status {};
      const bool is_there = stat(path.c_str(), &status) == 0;
      all.append(std::to_string(is_there) + ' ' + std::to_string(status.st_ino) + ' ' +
                 std::to_string(status.st_mtim.tv_sec) + '.' + std::to_string(status.st_mtim.tv_nsec));
      if (is_there) all += read_file(path);
    }
    return all;
  }

  void bring_in_line() {
    Told foretold, done;
    ReconcileTask task = whole();
    task.preview = library_.happens(40);
    if (task.preview) {
      const std::string before = stores();
      sync(mount_, task, foretold);
      expect(stores() == before, "a preview has written");
    }
    const ReconcileCounts counts = sync(mount_, whole(), done);
    if (task.preview) compare(foretold.lines, done.lines);
    look();
    expect(counts.refused == looks_.refused(),
           "refused " + std::to_string(counts.refused) + " of " + std::to_string(looks_.refused()));
  }

  static void compare(const std::vector<std::string>& foretold, const std::vector<std::string>& done) {
    for (std::size_t i = 0; i < std::max(foretold.size(), done.size()); ++i) {
      const std::string one = i < foretold.size() ? foretold[i] : "nothing";
      const std::string other = i < done.size() ? done[i] : "nothing";
      expect(one == other, "foretold: " + one + ", done: " + other);
    }
  }

  // After a sync all is in line, and another one has nothing to do.
  void look() {
    looks_.look();
    Told told;
    const std::string before = stores();
    const ReconcileCounts counts = sync(mount_, whole(), told);
    expect(!counts.any_change() && told.lines.empty(),
           "a second sync has something to do" + (told.lines.empty() ? "" : ": " + told.lines[0]));
    expect(stores() == before, "a sync with nothing to do has written");
  }

  void pass_a_common_day() {
    library_.pass_a_day();
    bool identifiers_hold = true, songs_hold = true;
    while (library_.happens(20)) {
      const Damage& damage = kDamages[library_.below(std::size(kDamages))];
      Database db;
      db.open(catalogue_path(mount_));
      db.exec(damage.sql);
      db.close();
      if (damage.to_identifiers) identifiers_hold = false;
    }
    if (library_.happens(8)) {
      fs::remove(song_store_path(mount_));
      songs_hold = false;
    }
    if (library_.happens(8)) {
      scan_as_the_updater_does();
      songs_hold = false;
    }
    if (library_.happens(25)) {
      sync_a_part();
      songs_hold = false;
    }
    bring_in_line();
    if (identifiers_hold) looks_.check("identifiers_kept");
    if (identifiers_hold && songs_hold) looks_.check("moved_songs_known");
  }

  // Adds every row of a folder a second time.
  void scan_as_the_updater_does() {
    Session session;
    session.config.sharepath = share_;
    session.config.mntpath = mount_;
    session.db.open(catalogue_path(mount_));
    session.songs.open(mount_);
    ScanMediaDirectory(session, library_.any_folder(), ScanMode::kBothStores);
    session.songs.close();
    session.db.close();
  }

  void sync_a_part() {
    Told told;
    ReconcileTask task = whole();
    task.whole_library = false;
    task.known_folders_too = library_.happens(70);
    task.folders.clear();
    for (std::size_t left = 1 + library_.below(3); left > 0; --left) {
      task.folders.push_back(library_.any_folder() + '/');
      if (library_.happens(50)) task.entries_only.push_back(task.folders.back());
    }
    if (library_.happens(20)) task.folders.push_back(share_ + "/none/of/it/");
    sync(mount_, task, told);
  }

  // The watcher tells of the folders in which something happened, and that is all that has to be looked at.
  // Only a file's second name elsewhere is not thought of.
  void pass_a_watched_day() {
    library_.pass_a_day();
    looks_.look_at_disk();
    if (!looks_.sql()
             .run(
                 "select path from now_file where nlink>'1' union select path from next_file where nlink>'1'")
             .empty())
      return bring_in_line();
    Told told;
    ReconcileTask task = whole();
    task.whole_library = false;
    task.folders = task.entries_only = changed_folders();
    sync(mount_, task, told);
    look();
    looks_.check("identifiers_kept");
    looks_.check("moved_songs_known");
  }

  // Those in which a file or folder came, went or changed, or the nearest above that is left.
  std::vector<std::string> changed_folders() const {
    constexpr const char* kChanged =
        "with file(path,size,mtime,ino) as (select path,size,mtime,ino from now_file),"
        " next(path,size,mtime,ino) as (select path,size,mtime,ino from next_file) "
        "select path from (select * from file except select * from next) union "
        "select path from (select * from next except select * from file) union "
        "select path from now_folder where path not in (select path from next_folder) union "
        "select path from next_folder where path not in (select path from now_folder)";
    constexpr const char* kFilledOrEmptied =
        "select path from now_folder o join next_folder n using (path) "
        "where o.must_have_row != n.must_have_row";
    std::set<std::string> folders;
    for (const auto& row : looks_.sql().run(kFilledOrEmptied)) folders.insert(row[0]);
    for (const auto& row : looks_.sql().run(kChanged)) {
      std::string folder = row[0];
      do folder = folder.substr(0, folder.rfind('/', folder.size() - 2) + 1);
      while (looks_.sql().run("select 1 from next_folder where path = ?", {folder}).empty());
      folders.insert(folder);
    }
    return {folders.begin(), folders.end()};
  }

  // The watcher tells of a folder's rename: then everything in it keeps its identifiers, and the folders told
  // of are all that has to be looked at.
  void pass_a_day_of_one_rename() {
    const auto renamed = library_.rename_one_folder();
    if (!renamed) return;
    const std::string from = renamed->from + '/', to = renamed->to + '/';
    const auto around = [](const std::string& folder) { return folder.substr(0, folder.rfind('/') + 1); };
    ReconcileTask task = whole();
    task.whole_library = false;
    task.renames = {{from, to}};
    task.entries_only = {around(renamed->from), around(renamed->to)};
    task.folders = {around(renamed->from), around(renamed->to), to};
    Told told;
    sync(mount_, task, told);
    look();
    // The rows of before under their new names; what the rename has replaced is gone. Paths are bytes.
    for (const std::string table : {"old_row", "old_folder_row"}) {
      const std::string begins = " where instr(cast(path as blob),cast(? as blob)) = 1";
      looks_.sql().run("delete from " + table + begins, {to});
      looks_.sql().run("update " + table + " set path = cast(? || substr(cast(path as blob)," +
                           std::to_string(from.size() + 1) + ") as text)" + begins,
                       {to, from});
    }
    looks_.check("renamed");
  }

  TestFolder folder_;
  std::string share_, mount_;
  RandomLibrary library_;
  StoreLooks looks_;
};

int run(std::uint32_t first, std::uint32_t count) {
  std::FILE* const out = fdopen(dup(STDERR_FILENO), "w");
  // What the operations say while they work is not looked at here.
  if (std::getenv("SHOW") == nullptr)
    for (std::FILE* const stream : {stdout, stderr})
      if (std::freopen("/dev/null", "w", stream) == nullptr) return 1;
  setenv("PATH", "/nowhere", 1);  // no encoding detector
  for (std::uint32_t seed = first; seed < first + count; ++seed) try {
      Story(seed).tell();
    } catch (const std::exception& trouble) {
      std::fprintf(out, "seed %u: %s\n", seed, trouble.what());
      return 1;
    }
  std::fprintf(out, "%u seeds from %u on are in line\n", count, first);
  return 0;
}

}  // namespace
}  // namespace corvexal::testing

int main(int argc, char** argv) {
  const auto number = [&](int at, const char* otherwise) {
    return static_cast<std::uint32_t>(std::strtoul(argc > at ? argv[at] : otherwise, nullptr, 10));
  };
  return corvexal::testing::run(number(1, "1"), number(2, "20"));
}
