// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/gatherer.h"

#include <algorithm>
#include <utility>

namespace corvexal {

Gatherer::Gatherer(std::string top, Clock::duration quiet_time,
                   std::function<FileState(const std::string&)> look)
    : top_(std::move(top)), quiet_time_(quiet_time), look_(std::move(look)), folders_(top_) {}

void Gatherer::add(const DiskChange& change, Clock::time_point now) {
  switch (change.kind) {
    case ChangeKind::kFileBegun:
    case ChangeKind::kFileArrived:
      add_new_file(change, now);
      break;
    case ChangeKind::kFileClosed:
      std::erase_if(new_files_, [&](const NewFile& file) { return file.path == change.path; });
      folders_.add(folder_of(change.path), Extent::kEntries);
      break;
    case ChangeKind::kFileTouched:
      if (find_new_file(change.path) != new_files_.end()) return;
      folders_.add(folder_of(change.path), Extent::kEntries);
      break;
    case ChangeKind::kFileGone:
      if (forget_unseen(change.path)) return;
      folders_.add(folder_of(change.path), Extent::kEntries);
      break;
    case ChangeKind::kFolderAppeared:
      folders_.add(change.path, Extent::kTree);
      break;
    case ChangeKind::kFolderTouched:
      folders_.add(change.path, Extent::kEntries);
      break;
    case ChangeKind::kFolderGone:
      std::erase_if(new_files_, [&](const NewFile& file) { return lies_in(file.path, change.path); });
      folders_.remove(change.path);
      folders_.add(folder_of(change.path), Extent::kEntries);
      break;
    case ChangeKind::kFolderRenamed:
      rename(change);
      break;
    case ChangeKind::kLost:
      folders_.add(top_, Extent::kTree);
      break;
  }
  if (!first_) first_ = now;
  last_ = now;
}

void Gatherer::add_everything(Clock::time_point now) {
  folders_.add(top_, Extent::kTree);
  again_ = now;
}

std::optional<Clock::time_point> Gatherer::due() const {
  if (!first_) return again_;
  const Clock::time_point due =
      std::min(*last_ + quiet_time_, *first_ + std::max<Clock::duration>(kLongest, quiet_time_));
  return again_ ? std::min(due, *again_) : due;
}

Batch Gatherer::take(Clock::time_point now) {
  first_.reset();
  last_.reset();
  again_.reset();
  settle_new_files(now);
  Batch batch{std::exchange(renames_, {}), folders_.take(), {}};
  for (const NewFile& file : new_files_) batch.unfinished.push_back(file.path);
  return batch;
}

void Gatherer::succeeded() {
  pause_ = kFirstPause;
}

// Whether the renames were done before something else failed is not known, and a second time they would do
// harm to a new folder of the old name. Their folders are in the batch.
Clock::duration Gatherer::failed(const Batch& batch, Clock::time_point now) {
  for (const auto& [folder, extent] : batch.folders) {
    std::string path = folder;
    for (const Rename& rename : renames_)
      if (lies_in(path, rename.old_folder)) path = moved_path(path, rename.old_folder, rename.new_folder);
    folders_.add(path, extent);
  }
  const Clock::duration pause = std::exchange(pause_, std::min<Clock::duration>(2 * pause_, kLongestPause));
  again_ = now + pause;
  return pause;
}

void Gatherer::add_new_file(const DiskChange& change, Clock::time_point now) {
  const bool was_moved = change.kind == ChangeKind::kFileArrived;
  const auto known = find_new_file(change.path);
  if (known != new_files_.end())
    *known = {change.path, was_moved, now};
  else if (new_files_.size() < kMostNewFiles)
    new_files_.push_back({change.path, was_moved, now});
  else
    folders_.add(folder_of(change.path), Extent::kEntries);
}

std::vector<Gatherer::NewFile>::iterator Gatherer::find_new_file(std::string_view path) {
  return std::find_if(new_files_.begin(), new_files_.end(),
                      [path](const NewFile& file) { return file.path == path; });
}

// A file that came and went between two batches needs none, unless it may have taken another's place.
bool Gatherer::forget_unseen(std::string_view path) {
  const auto file = find_new_file(path);
  if (file == new_files_.end()) return false;
  const bool was_moved = file->was_moved;
  new_files_.erase(file);
  return !was_moved;
}

void Gatherer::rename(const DiskChange& change) {
  for (NewFile& file : new_files_)
    if (lies_in(file.path, change.old_path)) file.path = moved_path(file.path, change.old_path, change.path);
  folders_.rename(change.old_path, change.path);
  if (renames_.size() < kMostRenames)
    renames_.push_back({change.old_path, change.path});
  else
    folders_.add(common_folder(folder_of(change.old_path), folder_of(change.path)), Extent::kTree);
  folders_.add(folder_of(change.old_path), Extent::kEntries);
  folders_.add(change.path, Extent::kTree);
}

void Gatherer::settle_new_files(Clock::time_point now) {
  std::erase_if(new_files_, [&](const NewFile& file) { return is_settled(file, now); });
}

// True when nothing has to be waited for any more; a file that is complete then has its folder in the batch.
bool Gatherer::is_settled(const NewFile& file, Clock::time_point now) {
  FileState state = look_(file.path);
  if (state == FileState::kGone) return true;
  const Clock::time_point long_enough = file.since + kLongest;
  if (state == FileState::kUnknown && (file.was_moved || now >= long_enough)) state = FileState::kComplete;
  if (state == FileState::kComplete) folders_.add(folder_of(file.path), Extent::kEntries);
  if (state == FileState::kUnknown) again_ = again_ ? std::min(*again_, long_enough) : long_enough;
  return state == FileState::kComplete;
}

}  // namespace corvexal
