// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/examine.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "catalogue/schema.h"
#include "report/disk_walk.h"
#include "report/folder_rows.h"
#include "report/identifiers.h"
#include "report/playlist_check.h"
#include "report/row_check.h"
#include "report/snapshot.h"
#include "report/song_records.h"
#include "report/sort_check.h"
#include "report/texts.h"
#include "songdb/store.h"

namespace corvexal::report {
namespace {

std::string with_one_slash(std::string path) {
  while (path.size() > 1 && path.ends_with('/')) path.pop_back();
  return path == "/" ? path : path + '/';
}

void require_folder(const std::string& share) {
  struct stat status {};
  if (stat(share.c_str(), &status) != 0)
    throw Unreadable("cannot read the share " + share + ": " + std::strerror(errno));
}

}  // namespace

bool examine(const std::string& mount_path, const std::string& share_path, Report& report,
             bool standard_tags) {
  const std::string share = with_one_slash(share_path), catalogue = catalogue_path(mount_path);
  report.figures.share = share;
  report.places = {.share = share, .song_store = song_store_path(mount_path)};

  Snapshot snapshot(catalogue);
  require_folder(share);
  SongRecords songs(report.places.song_store);
  const FolderRows folders(snapshot, share, report.problems);
  DiskWalk disk(share);
  RefusedTags refused_tags(standard_tags);
  const RowCheck rows =
      check_rows(snapshot, disk, folders, songs, refused_tags, report.figures, report.problems);
  check_identifiers(snapshot, report.problems);
  check_sort_tables(snapshot, catalogue, report.problems);
  check_texts(snapshot, report.figures, report.problems);
  check_playlists(snapshot, report.figures, report.problems);
  songs.finish(report.problems);

  report.figures.store = songs.state();
  report.figures.song_records = songs.count();
  report.places.all_gone = report.figures.total.files != 0 && !rows.disk_has_files;
  if (songs.state() == StoreState::kUnreadable)
    std::fprintf(stderr, "corvexal-report: cannot read the song store %s: %s\n",
                 report.places.song_store.c_str(), songs.reason().c_str());
  return songs.state() != StoreState::kUnreadable &&
         folders.unreadable() + disk.unreadable() + rows.unreadable == 0;
}

}  // namespace corvexal::report
