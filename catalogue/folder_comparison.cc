// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/folder_comparison.h"

#include <algorithm>
#include <utility>

#include "catalogue/media_rows.h"

namespace corvexal {

MediaClass media_class_of(MediaKind kind) {
  if (kind == MediaKind::kPhoto) return MediaClass::kPhoto;
  return kind == MediaKind::kVideo || kind == MediaKind::kSubtitle ? MediaClass::kVideo : MediaClass::kMusic;
}

const char* table_of(MediaClass media_class) {
  switch (media_class) {
    case MediaClass::kMusic:
      return "music_tbl";
    case MediaClass::kVideo:
      return "video_tbl";
    case MediaClass::kPhoto:
      break;
  }
  return "photo_tbl";
}

namespace {

const char* select_of(MediaClass media_class) {
  switch (media_class) {
    case MediaClass::kMusic:
      return "select ROWID,Real_fname,Date,Size,ParentID,Depth from music_tbl where Real_Path=? "
             "order by Real_fname,ROWID;";
    case MediaClass::kVideo:
      return "select ROWID,Real_fname,Date,Size,ParentID,Depth from video_tbl where Real_Path=? "
             "order by Real_fname,ROWID;";
    case MediaClass::kPhoto:
      break;
  }
  return "select ROWID,Real_fname,Date,Size,ParentID,Depth from photo_tbl where Real_Path=? "
         "order by Real_fname,ROWID;";
}

}  // namespace

FolderComparison::TableRows::TableRows(Database& db, MediaClass of, const std::string& folder)
    : media_class(of), rows(db.read(select_of(of), folder)) {
  step();
}

void FolderComparison::TableRows::step() {
  row.reset();
  if (!rows.next()) return;
  row.emplace();
  row->rowid = rows.number(0);
  row->name = rows.text(1);
  row->date = rows.text(2);
  row->size = rows.text(3);
  row->parent = static_cast<std::uint64_t>(rows.number(4));
  row->depth = rows.number(5);
}

FolderComparison::FolderComparison(Database& db, const std::string& folder, FolderCursor* entries)
    : takes_files_(catalogue_takes(folder)),
      entries_(entries),
      tables_{TableRows(db, MediaClass::kMusic, folder), TableRows(db, MediaClass::kVideo, folder),
              TableRows(db, MediaClass::kPhoto, folder)} {}

bool FolderComparison::failed() const {
  return std::any_of(tables_.begin(), tables_.end(),
                     [](const TableRows& table) { return table.rows.failed(); });
}

// Leaves what was shown last.
void FolderComparison::step() {
  if (shown_table_ != nullptr) std::exchange(shown_table_, nullptr)->step();
  if (!entry_is_shown_) return;
  entry_ = entries_ != nullptr ? entries_->next() : nullptr;
  entry_is_shown_ = entry_has_row_ = false;
}

std::optional<std::string_view> FolderComparison::next_name() const {
  std::optional<std::string_view> name;
  if (entry_ != nullptr) name = entry_->name;
  for (const TableRows& table : tables_) {
    if (!table.row) continue;
    const std::string_view of_row = table.row->name;
    name = std::min(name.value_or(of_row), of_row);
  }
  return name;
}

FolderComparison::TableRows* FolderComparison::first_row_at(std::string_view name) {
  for (TableRows& table : tables_)
    if (table.row && table.row->name == name) return &table;
  return nullptr;
}

const Finding* FolderComparison::show(FindingKind kind, TableRows& table) {
  shown_table_ = &table;
  const bool has_entry = kind == FindingKind::kPresent;
  finding_ = {kind, table.media_class, has_entry ? entry_ : nullptr, &*table.row};
  return &finding_;
}

FindingKind FolderComparison::kind_of_entry() const {
  switch (entry_->kind) {
    case EntryKind::kFolder:
      return FindingKind::kFolder;
    case EntryKind::kUnknown:
      return FindingKind::kUnknown;
    case EntryKind::kFile:
      break;
  }
  return takes_files_ && catalogue_takes(entry_->name) ? FindingKind::kNew : FindingKind::kRefused;
}

const Finding* FolderComparison::show_entry() {
  entry_is_shown_ = true;
  finding_ = {kind_of_entry(), media_class_of(entry_->media), entry_, nullptr};
  return &finding_;
}

const Finding* FolderComparison::next() {
  for (step();; step()) {
    const auto name = next_name();
    if (!name) return nullptr;
    const bool is_entry = entry_ != nullptr && entry_->name == *name;
    if (TableRows* const table = first_row_at(*name)) {
      if (is_entry && entry_->kind == EntryKind::kUnknown) {
        shown_table_ = table;  // kept, and not spoken of
        continue;
      }
      const bool fits =
          is_entry && entry_->kind == EntryKind::kFile && media_class_of(entry_->media) == table->media_class;
      if (!fits) return show(FindingKind::kGone, *table);
      return show(std::exchange(entry_has_row_, true) ? FindingKind::kDouble : FindingKind::kPresent, *table);
    }
    if (!entry_has_row_) return show_entry();
    entry_is_shown_ = true;
  }
}

}  // namespace corvexal
