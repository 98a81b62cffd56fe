// SPDX-License-Identifier: GPL-3.0-or-later
// Runs of the program beside what the machine needs at least for the same work, taken in turns: processor
// time, and how many times the floor's it is. Prints a table. Shares are made in the working folder on the
// first start.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "bench/library.h"
#include "catalogue/schema.h"
#include "catalogue/sort_tables.h"

namespace {

namespace fs = std::filesystem;
using corvexal::bench::Cost;
using corvexal::bench::Library;

struct Row {
  const char* what;
  const char* floor;
  std::function<void()> prepare;
  std::vector<std::string> run, floor_run;  // arguments of the program and of the floors
};

constexpr int kRounds = 7;

// The best of some rounds: what else runs on the machine only adds.
void keep_best(Cost& best, const Cost& cost, const char* what) {
  if (cost.status != 0) std::printf("a run failed: %s\n", what);
  best.cpu_seconds = std::min(best.cpu_seconds, cost.cpu_seconds);
  best.wall_seconds = std::min(best.wall_seconds, cost.wall_seconds);
  best.peak_mib = std::max(best.peak_mib, cost.peak_mib);
}

void measure(const std::string& root, const Row& row) {
  Cost program{1e9, 1e9, 0, 0}, floor = program;
  for (int i = 0; i < kRounds; ++i) {
    corvexal::bench::in_own_process(row.prepare);
    keep_best(program, corvexal::bench::run_program(root, row.run), row.what);
    corvexal::bench::in_own_process(row.prepare);
    keep_best(floor, corvexal::bench::run_program(root, row.floor_run, CORVEXAL_FLOORS), row.floor);
  }
  std::printf("| %s | %s | %.1f | %.1f | %.2f | %.2f | %.1f |\n", row.what, row.floor,
              program.cpu_seconds * 1e3, floor.cpu_seconds * 1e3, program.cpu_seconds / floor.cpu_seconds,
              program.wall_seconds / floor.wall_seconds, program.peak_mib);
  std::fflush(stdout);
}

constexpr const char* kOneRow =
    "insert into music_tbl (No,UTF_Path,EXT_fname,Title,Genre,Artist,Album) "
    "values ('100001','/','mp3','New','New','New','New');";

// A song's row, the sort tables of music and every folder of each class, in one transaction.
std::string add_by_sql() {
  std::string sql = std::string("begin immediate;") + kOneRow;
  const auto fill = [&sql](const corvexal::SortTable& table, const char* columns, const char* select) {
    const std::string name = table.name, query = table.query;
    sql += "drop table if exists " + name + ";create table " + name + columns + ";insert into " + name +
           select + query.substr(0, query.rfind(';')) + ");";
  };
  fill(corvexal::item_tables()[0], "(idx,reserve1,reserve2)", " select No,0,0 from (");
  for (const corvexal::SortTable& groups : corvexal::group_tables())
    fill(groups, "(name,cnt,ObjID,reserve1,reserve2)", " select *,'3040000000001',0,0 from (");
  for (const char* table : {"music_tbl", "video_tbl", "photo_tbl"})
    sql += std::string("select distinct UTF_Path from ") + table + ";";
  return sql + "commit;";
}

// A share of a few thousand short songs, to be scanned, with an empty catalogue.
class Songs {
 public:
  static constexpr int kCount = 5000;

  explicit Songs(const std::string& root) : root_(fs::absolute(root).string()) {
    if (fs::exists(share() + "/Music/last.mp3")) return;
    fs::create_directories(root_ + "/etc");
    fs::create_directories(root_ + "/var/log");
    std::ofstream(root_ + "/etc/upnpav.conf") << "sharepath=" << share() << "\nmntpath=" << share() << "\n";
    for (int i = 0; i < kCount; ++i) {
      const std::string folder = share() + "/Music/Album " + std::to_string(i / 12);
      fs::create_directories(folder);
      fs::copy_file(CORVEXAL_SAMPLES "/music/cbr-128.mp3", folder + '/' + std::to_string(i) + ".mp3",
                    fs::copy_options::overwrite_existing);
    }
    fs::copy_file(CORVEXAL_SAMPLES "/music/cbr-128.mp3", share() + "/Music/last.mp3");
  }

  [[nodiscard]] const std::string& root() const { return root_; }
  [[nodiscard]] std::string share() const { return root_ + "/share"; }

  void make_empty_stores() const {
    fs::remove_all(share() + "/.systemfile");
    corvexal::create_catalogue(share());
  }

 private:
  std::string root_;
};

}  // namespace

int main() {
  const Library library("bench-share");
  const Songs songs("bench-songs");
  const std::string new_song = library.folder(9, 211) + "/new song.mp3";
  fs::copy_file(CORVEXAL_SAMPLES "/music/cbr-128.mp3", new_song, fs::copy_options::overwrite_existing);
  const std::string catalogue = corvexal::catalogue_path(library.share());
  const auto restore = [&library] { library.restore(); };
  const auto empty = [&songs] { songs.make_empty_stores(); };

  std::puts("| run | floor | ms | floor's ms | ratio | ratio of wall times | peak MiB |");
  std::puts("|---|---|---|---|---|---|---|");
  const Row on_library[] = {
      {"add a song to 220,000 files",
       "the same by SQL",
       restore,
       {"-C", "-M", new_song},
       {"sql", catalogue, add_by_sql()}},
      {"remove a song of them",
       "the same by SQL",
       restore,
       {"-D", "-M", library.folder(9, 211) + '/' + Library::song(5)},
       {"sql", catalogue, add_by_sql()}},
      {"walk over them (-DD)",
       "stat of each",
       restore,
       {"-DD", "-M", library.genre(7)},
       {"stat", library.share()}},
  };
  for (const Row& row : on_library) measure(library.root(), row);
  const Row on_songs[] = {
      {"add a song to none",
       "one row, one commit",
       empty,
       {"-C", "-M", songs.share() + "/Music/last.mp3"},
       {"sql", corvexal::catalogue_path(songs.share()), kOneRow}},
      {"scan 5,001 songs into both stores",
       "reading them",
       empty,
       {"-R", songs.share() + "/Gone", songs.share() + "/Music"},
       {"read", songs.share() + "/Music"}},
  };
  for (const Row& row : on_songs) measure(songs.root(), row);
}
