// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/problems.h"

#include <algorithm>

namespace corvexal::report {
namespace {

constexpr KindFacts kKinds[] = {
    {Kind::kFileGone, Mend::kSyncFolder, "file-gone", "the catalogue has a row, the disk no file"},
    {Kind::kFolderGone, Mend::kSyncFolder, "folder-gone", "the catalogue has a row, the disk no folder"},
    {Kind::kNoRow, Mend::kSyncFolder, "no-row", "a media file without a row in the catalogue"},
    {Kind::kRowStale, Mend::kSyncFolder, "row-stale", "the file's size or date is not the row's"},
    {Kind::kDoubleRow, Mend::kSyncFolder, "double-row", "one more row of the same file or folder"},
    {Kind::kRepeatedIdentifier, Mend::kSyncLibrary, "repeated-identifier",
     "several rows of a table have this identifier"},
    {Kind::kUnknownParent, Mend::kSyncLibrary, "unknown-parent", "the parent identifier names no folder"},
    {Kind::kWrongParent, Mend::kSyncLibrary, "wrong-parent", "the parent identifier names another folder"},
    {Kind::kNoSlash, Mend::kSyncLibrary, "no-slash", "a folder's row whose path lacks its last slash"},
    {Kind::kSortTable, Mend::kSyncLibrary, "sort-table", "a sort table that is missing or out of date"},
    {Kind::kPlaylistLinks, Mend::kSyncLibrary, "playlist-links",
     "a playlist whose songs are not those that its row lists"},
    {Kind::kStoreMissing, Mend::kSyncLibrary, "store-missing", "there is no song store, but there are songs"},
    {Kind::kStoreDamaged, Mend::kSyncLibrary, "store-damaged", "the song store is damaged"},
    {Kind::kStoreUnreadable, Mend::kNewStore, "store-unreadable", "the song store cannot be opened"},
    {Kind::kRecordDamaged, Mend::kSyncLibrary, "record-damaged", "a damaged record in the song store"},
    {Kind::kRecordStale, Mend::kSyncLibrary, "record-stale", "a song record whose file is gone or differs"},
    {Kind::kRecordMissing, Mend::kSyncLibrary, "record-missing", "a song without a record in the song store"},
    {Kind::kDoubleRecord, Mend::kSyncLibrary, "double-record", "one more record of the same song"},
    {Kind::kNameRefused, Mend::kRename, "name-refused",
     "a name with a double quote, which the catalogue refuses"},
    {Kind::kTextRefused, Mend::kReadAnew, "text-refused",
     "a tag with a double quote, which the catalogue refuses"},
    {Kind::kNameEncoding, Mend::kRename, "name-encoding", "a name that is not valid UTF-8"},
    {Kind::kTextEncoding, Mend::kReadAnew, "text-encoding", "a tag text that looks wrongly decoded"},
};

}  // namespace

std::span<const KindFacts> kinds() {
  return kKinds;
}

const KindFacts& facts_of(Kind kind) {
  return kKinds[static_cast<std::size_t>(kind)];
}

void ProblemList::add(Kind kind, std::string_view folder, std::string_view name, std::string_view detail) {
  entries_.push_back({texts_.size(), folder_number(folder), static_cast<std::uint32_t>(name.size()),
                      static_cast<std::uint32_t>(detail.size()), kind});
  texts_.append(name).append(detail);
}

void ProblemList::add_path(Kind kind, std::string_view path, std::string_view detail) {
  const std::size_t slash = path.rfind('/');
  const std::size_t folder_end = slash == std::string_view::npos ? 0 : slash + 1;
  add(kind, path.substr(0, folder_end), path.substr(folder_end), detail);
}

std::size_t ProblemList::count(Kind kind) const {
  return static_cast<std::size_t>(std::count_if(entries_.begin(), entries_.end(),
                                                [kind](const Entry& entry) { return entry.kind == kind; }));
}

Problem ProblemList::problem(const Entry& entry) const {
  const std::string_view texts = texts_;
  return {entry.kind, *folders_[entry.folder], texts.substr(entry.text, entry.name_size),
          texts.substr(entry.text + entry.name_size, entry.detail_size)};
}

// Problems come folder by folder, so the last folder is looked at first.
std::uint32_t ProblemList::folder_number(std::string_view folder) {
  if (!entries_.empty() && *folders_[entries_.back().folder] == folder) return entries_.back().folder;
  const auto [at, is_new] = numbers_.emplace(folder, static_cast<std::uint32_t>(folders_.size()));
  if (is_new) folders_.push_back(&at->first);
  return at->second;
}

}  // namespace corvexal::report
