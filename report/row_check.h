// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>

#include "report/disk_walk.h"
#include "report/figures.h"
#include "report/folder_rows.h"
#include "report/problems.h"
#include "report/refused_tags.h"
#include "report/snapshot.h"
#include "report/song_records.h"

namespace corvexal::report {

struct RowCheck {
  std::size_t unreadable = 0;  // rows whose file could not be looked at
  bool disk_has_files = false;
};

// Goes through the media rows and the files of the disk side by side, both in the order of their paths: one
// pass, whatever the size of the library. Adds what is wrong with rows and what lacks one, counts what the
// catalogue holds, and lets the song records meet each file.
RowCheck check_rows(Snapshot& snapshot, DiskWalk& disk, const FolderRows& folders, SongRecords& songs,
                    RefusedTags& refused_tags, Figures& figures, ProblemList& problems);

}  // namespace corvexal::report
