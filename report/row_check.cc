// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/row_check.h"

#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>

#include "base/text.h"
#include "metadata/image_size.h"
#include "report/file_status.h"

namespace corvexal::report {
namespace {

// The media rows of all three tables in the order of the walk.
constexpr const char* kRows = R"(
select 'music',Real_Path,Real_fname,EXT_fname,Date,Size,ParentID from music_tbl
union all
select 'video',Real_Path,Real_fname,EXT_fname,Date,Size,ParentID from video_tbl
union all
select 'photo',Real_Path,Real_fname,EXT_fname,Date,Size,ParentID from photo_tbl
order by 2,3,1)";

struct Row {
  std::string_view table, folder, name, extension, date, size, parent_id;

  explicit Row(const Query& query)
      : table(query.text(0)),
        folder(query.text(1)),
        name(query.text(2)),
        extension(query.text(3)),
        date(query.text(4)),
        size(query.text(5)),
        parent_id(query.text(6)) {}
};

std::string_view class_of(std::string_view extension) {
  switch (media_kind(std::string(".").append(extension))) {
    case MediaKind::kPhoto:
      return "photo";
    case MediaKind::kVideo:
      return "video";
    case MediaKind::kMusic:
      return "music";
    case MediaKind::kPlaylist:
      return "playlist";
    case MediaKind::kSubtitle:
      return "subtitle";
    case MediaKind::kOther:
      break;
  }
  return "other";
}

// The date column of a file: local time to the second.
std::string date_text(std::time_t time) {
  std::tm parts{};
  localtime_r(&time, &parts);
  std::array<char, 64> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", &parts)};
}

// Counts the rows as they come, folder by folder.
class Counter {
 public:
  explicit Counter(Figures& figures) : figures_(figures) {}

  void add(const Row& row) {
    const std::uint64_t size = size_in(row.size);
    figures_.total.add(size);
    classes_.add(class_of(row.extension), size);
    extensions_.add(row.extension, size);
    if (figures_.folders.empty() || figures_.folders.back().name != row.folder)
      figures_.folders.push_back({std::string(row.folder), {}});
    figures_.folders.back().amount.add(size);
    if (row.date.empty()) return;
    if (figures_.first_change.empty() || row.date < figures_.first_change) figures_.first_change = row.date;
    if (row.date > figures_.last_change) figures_.last_change = row.date;
  }

  void finish() {
    figures_.classes = classes_.ranked();
    figures_.extensions = extensions_.ranked();
  }

 private:
  Figures& figures_;
  Tally classes_, extensions_;
};

class RowWalk {
 public:
  RowWalk(Snapshot& snapshot, DiskWalk& disk, const FolderRows& folders, SongRecords& songs,
          RefusedTags& refused_tags, Figures& figures, ProblemList& problems)
      : rows_(snapshot.query(kRows)),
        disk_(disk),
        folders_(folders),
        songs_(songs),
        counter_(figures),
        problems_(problems),
        refused_tags_(refused_tags) {}

  RowCheck run() {
    step_disk();
    while (rows_.next()) take(Row(rows_));
    while (on_disk_) pass_file();
    counter_.finish();
    return result_;
  }

 private:
  void step_disk() {
    on_disk_ = disk_.next();
    has_row_ = false;
    if (!on_disk_) return;
    result_.disk_has_files = true;
  }

  // Leaves the file that the walk stands at.
  void pass_file() {
    if (has_row_ || may_get_row(disk_.file())) songs_.meet(disk_.file(), problems_);
    step_disk();
  }

  void take(const Row& row) {
    counter_.add(row);
    while (on_disk_ && std::tie(disk_.file().folder, disk_.file().name) < std::tie(row.folder, row.name))
      pass_file();
    if (row.folder == last_folder_ && row.name == last_name_ && row.table == last_table_) {
      problems_.add(Kind::kDoubleRow, row.folder, row.name);
      return;
    }
    judge(row);
    last_folder_ = row.folder;
    last_name_ = row.name;
    last_table_ = row.table;
  }

  void judge(const Row& row) {
    if (on_disk_ && disk_.file().folder == row.folder && disk_.file().name == row.name) {
      has_row_ = true;
      judge_freshness(row, disk_.file().size, disk_.file().modified);
    } else if (!look_at_disk(row)) {
      return;
    }
    folders_.judge_parent(row.parent_id, row.folder, row.folder, row.name, problems_);
    if (!is_utf8(row.name)) problems_.add(Kind::kNameEncoding, row.folder, row.name);
  }

  void judge_freshness(const Row& row, std::uint64_t size, std::time_t modified) {
    if (size_in(row.size) != size)
      problems_.add(Kind::kRowStale, row.folder, row.name, "the size differs");
    else if (row.date != date_text(modified))
      problems_.add(Kind::kRowStale, row.folder, row.name, "the date differs");
  }

  // A row of a file that the walk does not see: gone, reached through a link, or outside of the share. False
  // when it is gone.
  bool look_at_disk(const Row& row) {
    const std::string path = std::string(row.folder) += row.name;
    struct stat status {};
    if (stat(path.c_str(), &status) == 0) {
      judge_freshness(row, static_cast<std::uint64_t>(status.st_size), status.st_mtime);
      return true;
    }
    if (is_gone(errno)) {
      problems_.add(Kind::kFileGone, row.folder, row.name);
      return false;
    }
    std::fprintf(stderr, "corvexal-report: cannot look at %s: %s\n", path.c_str(), std::strerror(errno));
    ++result_.unreadable;
    return true;
  }

  // Judges a file without a row. False when it cannot have one: a photo of no known format never gets one,
  // and what the catalogue refuses is not stored as a song either.
  bool may_get_row(const DiskFile& file) {
    if (file.kind == MediaKind::kPhoto && !is_image(file.path())) return false;
    Kind kind = Kind::kNoRow;
    if (file.path().find('"') != std::string::npos)
      kind = Kind::kNameRefused;
    else if (refused_tags_.refuse(file))
      kind = Kind::kTextRefused;
    problems_.add(kind, file.folder, file.name);
    return kind == Kind::kNoRow;
  }

  Query rows_;
  DiskWalk& disk_;
  const FolderRows& folders_;
  SongRecords& songs_;
  Counter counter_;
  ProblemList& problems_;
  RefusedTags& refused_tags_;
  RowCheck result_;
  bool on_disk_ = false;
  bool has_row_ = false;  // the file that the disk's walk stands at
  std::string last_folder_, last_name_, last_table_;
};

}  // namespace

RowCheck check_rows(Snapshot& snapshot, DiskWalk& disk, const FolderRows& folders, SongRecords& songs,
                    RefusedTags& refused_tags, Figures& figures, ProblemList& problems) {
  return RowWalk(snapshot, disk, folders, songs, refused_tags, figures, problems).run();
}

}  // namespace corvexal::report
