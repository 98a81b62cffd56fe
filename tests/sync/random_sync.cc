// SPDX-License-Identifier: GPL-3.0-or-later
// Days of changes on a share, each followed by a sync and by a look at what it has done: random_sync [FIRST
// [COUNT]] goes through so many seeds. Ends with 1 and says where when something is not in line.

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "catalogue/reconcile.h"
#include "catalogue/scan.h"
#include "catalogue/schema.h"
#include "tests/support/test_files.h"
#include "tests/sync/random_library.h"
#include "tests/sync/store_picture.h"

namespace corvexal::testing {
namespace {

namespace fs = std::filesystem;

// What is told while a sync or its preview goes on.
class Told : public ReconcileListener {
 public:
  void changed(Change change, std::string_view path) override {
    lines_.push_back(std::string(1, static_cast<char>(change)).append(" ").append(path));
  }
  [[nodiscard]] const std::vector<std::string>& lines() const { return lines_; }

 private:
  std::vector<std::string> lines_;
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

class Story {
 public:
  explicit Story(std::uint32_t seed)
      : share_(folder_.path() + "/share"),
        mount_(seed % 2 == 0 ? share_ : folder_.path()),
        library_((fs::create_directory(share_), share_), seed) {}

  // The first thing that is not in line, or nothing.
  std::string tell() {
    for (std::size_t days = 5 + library_.below(6); days > 0 && trouble_.empty(); --days) {
      if (last_ && library_.happens(25))
        pass_a_day_of_one_rename();
      else if (last_ && library_.happens(30))
        pass_a_watched_day();
      else
        pass_a_common_day();
    }
    return trouble_;
  }

 private:
  void expect(bool holds, const std::string& what) {
    if (!holds && trouble_.empty()) trouble_ = what;
  }

  ReconcileTask whole() const {
    ReconcileTask task;
    task.share = share_ + '/';
    task.folders = {task.share};
    return task;
  }

  ReconcileCounts sync(const ReconcileTask& task, Told& told) {
    Session session;
    session.config.sharepath = share_;
    session.config.mntpath = mount_;
    if (task.preview) {
      expect(open_to_look(session.db, mount_) == SQLITE_OK, "the catalogue cannot be looked at");
    } else {
      expect(create_catalogue(mount_) == 0, "no catalogue");
      expect(session.db.open(catalogue_path(mount_)) == SQLITE_OK, "the catalogue cannot be opened");
    }
    const ReconcileCounts counts = reconcile(session, task, told);
    session.db.close();
    expect(counts.failed == 0, "something failed");
    return counts;
  }

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
    Told foretold, done, again;
    ReconcileTask task = whole();
    task.preview = library_.happens(40);
    const bool was_foretold = task.preview;
    if (was_foretold) {
      const std::string before = stores();
      sync(task, foretold);
      expect(stores() == before, "a preview has written");
    }
    task.preview = false;
    const ReconcileCounts counts = sync(task, done);
    if (was_foretold) compare(foretold.lines(), done.lines());
    look();
    expect(counts.refused == last_->refused,
           "refused " + std::to_string(counts.refused) + " of " + std::to_string(last_->refused));
    expect_nothing_to_do();
  }

  void expect_nothing_to_do() {
    Told told;
    const std::string before = stores();
    const ReconcileCounts counts = sync(whole(), told);
    expect(!counts.any_change() && told.lines().empty(),
           "a second sync has something to do" + (told.lines().empty() ? "" : ": " + told.lines()[0]));
    expect(stores() == before, "a sync with nothing to do has written");
  }

  void compare(const std::vector<std::string>& foretold, const std::vector<std::string>& done) {
    for (std::size_t i = 0; i < std::max(foretold.size(), done.size()); ++i) {
      const std::string one = i < foretold.size() ? foretold[i] : "nothing";
      const std::string other = i < done.size() ? done[i] : "nothing";
      expect(one == other, "foretold: " + one + ", done: " + other);
    }
  }

  void look() {
    before_ = std::move(last_);
    last_ = look_at_stores(share_, mount_);
    for (const std::string& complaint : last_->complaints) expect(false, complaint);
  }

  void pass_a_common_day() {
    library_.pass_a_day();
    bool identifiers_hold = true, songs_hold = true;
    while (last_ && library_.happens(20)) {
      const Damage& damage = kDamages[library_.below(std::size(kDamages))];
      Database db;
      db.open(catalogue_path(mount_));
      db.exec(damage.sql);
      db.close();
      if (damage.to_identifiers) identifiers_hold = false;
    }
    if (last_ && library_.happens(8)) {
      fs::remove(song_store_path(mount_));
      songs_hold = false;
    }
    if (last_ && library_.happens(8)) {
      scan_as_the_updater_does();
      songs_hold = false;
    }
    if (last_ && library_.happens(25)) {
      sync_a_part();
      songs_hold = false;
    }
    bring_in_line();
    if (before_ && identifiers_hold) expect_identifiers_kept();
    if (before_ && identifiers_hold && songs_hold) expect_moved_songs_known();
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
    sync(task, told);
  }

  void expect_identifiers_kept() {
    for (const auto& [path, row] : before_->rows) {
      const auto now = last_->rows.find(path);
      if (now == last_->rows.end() || now->second.table != row.table) continue;
      expect(now->second.objid == row.objid && now->second.number == row.number,
             "another identifier: " + path);
    }
    for (const auto& [path, row] : before_->folder_rows) {
      const auto now = last_->folder_rows.find(path);
      if (now != last_->folder_rows.end())
        expect(now->second.objid == row.objid, "another identifier: " + path);
    }
  }

  // A song keeps its identifier where the store knew its inode, and the old path is free and the new one new.
  void expect_moved_songs_known() {
    for (const auto& [path, status] : last_->files) {
      const auto song = before_->songs.find(static_cast<std::uint32_t>(status.st_ino));
      if (before_->rows.contains(path) || status.st_nlink > 1 || song == before_->songs.end()) continue;
      const std::string was = *song->second.path;
      const auto file = before_->files.find(was);
      if (last_->files.contains(was) || file == before_->files.end() || file->second.st_nlink > 1 ||
          file->second.st_size != status.st_size || file->second.st_mtime != status.st_mtime ||
          extension(was) != extension(path))
        continue;
      expect(last_->rows[path].objid == before_->rows[was].objid, was + " has become " + path);
    }
  }
  static std::string extension(const std::string& path) { return path.substr(path.rfind('.')); }

  // The watcher tells of the folders in which something happened, and that is all that has to be looked at.
  // Only a file's second name elsewhere is not thought of.
  void pass_a_watched_day() {
    library_.pass_a_day();
    const StorePicture now = look_at_stores(share_, mount_);
    const auto has_two_names = [](const auto& file) { return file.second.st_nlink > 1; };
    if (std::any_of(now.files.begin(), now.files.end(), has_two_names) ||
        std::any_of(last_->files.begin(), last_->files.end(), has_two_names))
      return bring_in_line();
    ReconcileTask task = whole();
    task.whole_library = false;
    task.folders = changed_folders(now);
    task.entries_only = task.folders;
    Told told;
    sync(task, told);
    look();
    expect_nothing_to_do();
    expect_identifiers_kept();
    expect_moved_songs_known();
  }

  std::vector<std::string> changed_folders(const StorePicture& now) const {
    std::set<std::string> folders;
    const auto add = [&](std::string folder) {
      do folder = folder.substr(0, folder.rfind('/', folder.size() - 2) + 1);
      while (!now.folders.contains(folder));
      folders.insert(folder);
    };
    const auto compare_files = [&](const StorePicture& one, const StorePicture& other) {
      for (const auto& [path, file] : one.files) {
        const auto found = other.files.find(path);
        if (found == other.files.end() || found->second.st_size != file.st_size ||
            found->second.st_mtime != file.st_mtime || found->second.st_ino != file.st_ino)
          add(path);
      }
      for (const auto& [folder, holds_any] : one.folders) {
        const auto found = other.folders.find(folder);
        if (found == other.folders.end())
          add(folder);
        else if (found->second != holds_any)
          folders.insert(folder);
      }
    };
    compare_files(*last_, now);
    compare_files(now, *last_);
    return {folders.begin(), folders.end()};
  }

  // The watcher tells of a folder's rename: then everything in it keeps its identifiers, and the folders told
  // of are all that has to be looked at.
  void pass_a_day_of_one_rename() {
    const auto renamed = library_.rename_one_folder();
    if (!renamed) return;
    const auto around = [](const std::string& folder) { return folder.substr(0, folder.rfind('/') + 1); };
    ReconcileTask task = whole();
    task.whole_library = false;
    task.renames = {{renamed->from + '/', renamed->to + '/'}};
    task.entries_only = {around(renamed->from), around(renamed->to)};
    task.folders = {around(renamed->from), around(renamed->to), renamed->to + '/'};
    Told told;
    sync(task, told);
    look();
    expect_nothing_to_do();
    const auto new_path = [&](const std::string& path) {
      return path.starts_with(renamed->from + '/') ? renamed->to + path.substr(renamed->from.size()) : path;
    };
    for (const auto& [path, row] : before_->rows)
      if (!path.starts_with(renamed->to + '/'))
        expect(last_->rows[new_path(path)].objid == row.objid, "told that it is renamed: " + path);
    for (const auto& [path, row] : before_->folder_rows)
      if (!path.starts_with(renamed->to + '/'))
        expect(last_->folder_rows[new_path(path)].objid == row.objid, "told that it is renamed: " + path);
  }

  TestFolder folder_;
  std::string share_, mount_;
  RandomLibrary library_;
  std::optional<StorePicture> before_, last_;
  std::string trouble_;
};

int run(std::uint32_t first, std::uint32_t count) {
  std::FILE* const out = fdopen(dup(STDERR_FILENO), "w");
  // What the operations say while they work is not looked at here.
  if (std::getenv("SHOW") == nullptr)
    for (std::FILE* const stream : {stdout, stderr})
      if (std::freopen("/dev/null", "w", stream) == nullptr) return 1;
  setenv("PATH", "/nowhere", 1);  // no encoding detector
  for (std::uint32_t seed = first; seed < first + count; ++seed) {
    const std::string trouble = Story(seed).tell();
    if (trouble.empty()) continue;
    std::fprintf(out, "seed %u: %s\n", seed, trouble.c_str());
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
