// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/moved_files.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "base/digest.h"
#include "catalogue/folder_comparison.h"

namespace corvexal {
namespace {

std::uint64_t digest_of(MediaClass media_class, const std::string& path) {
  return Digest().add(static_cast<std::uint64_t>(media_class)).add(path).value();
}

std::uint64_t digest_of(MediaClass media_class, const FileFacts& facts) {
  return Digest()
      .add(static_cast<std::uint64_t>(media_class))
      .add(facts.name)
      .add(facts.size)
      .add(facts.date)
      .value();
}

std::uint64_t digest_of(const std::string& path) {
  return Digest().add(path).value();
}

}  // namespace

void MovedFiles::add_gone(const GoneRow& row) {
  const auto at = static_cast<std::uint32_t>(gone_.size());
  gone_.push_back({row.rowid, row.media_class, false});
  by_path_.push_back({digest_of(row.media_class, row.folder + row.facts.name), at});
  by_facts_.push_back({digest_of(row.media_class, row.facts), at});
}

void MovedFiles::add_new(MediaClass media_class, const std::string& folder, const FileFacts& facts,
                         const std::optional<std::string>& recorded_path) {
  if (!std::exchange(is_sorted_, true)) {
    std::sort(by_path_.begin(), by_path_.end());
    std::sort(by_facts_.begin(), by_facts_.end());
  }
  const auto recorded =
      recorded_path ? first_recorded_at(digest_of(media_class, *recorded_path)) : std::nullopt;
  const std::uint64_t alike = digest_of(media_class, facts), path = digest_of(folder + facts.name);
  const auto [first, end] = marks_with(by_facts_, alike);
  if (!recorded && first == end) return;
  if (folders_.empty() || folders_.back() != folder) folders_.push_back(folder);
  const auto folder_at = static_cast<std::uint32_t>(folders_.size() - 1);
  if (recorded)
    take(*recorded, path, folder_at);
  else
    new_files_.push_back({alike, path, folder_at});
}

void MovedFiles::match() {
  std::sort(new_files_.begin(), new_files_.end());
  for (auto file = new_files_.begin(); file != new_files_.end();) {
    const auto next = std::find_if(
        file, new_files_.end(), [facts = file->facts](const NewFile& other) { return other.facts != facts; });
    if (next - file == 1)
      if (const auto gone = only_one_with(file->facts)) take(*gone, file->path, file->folder);
    file = next;
  }
  new_files_.clear();
  std::sort(moved_.begin(), moved_.end());
}

std::optional<GoneRow> MovedFiles::source_of(const std::string& path) const {
  const std::uint64_t digest = digest_of(path);
  const auto found = std::lower_bound(moved_.begin(), moved_.end(), Moved{digest, 0, 0});
  return found == moved_.end() || found->path != digest ? std::nullopt : row_at(found->gone);
}

std::optional<GoneRow> MovedFiles::row_at(std::uint32_t gone) const {
  const auto& [rowid, media_class, is_taken] = gone_[gone];
  const std::string select =
      composed("select Real_Path,Real_fname,Size,Date from %s where ROWID=?;", table_of(media_class));
  Rows rows = db_->read(select.c_str(), rowid);
  if (!rows.next()) return std::nullopt;
  const auto text = [&rows](int column) { return std::string(rows.text(column)); };
  return GoneRow{media_class, rowid, text(0), {text(1), text(2), text(3)}};
}

std::pair<MovedFiles::Marks::const_iterator, MovedFiles::Marks::const_iterator> MovedFiles::marks_with(
    const Marks& marks, std::uint64_t digest) {
  const auto first = std::lower_bound(marks.begin(), marks.end(), Mark{digest, 0});
  const auto end =
      std::upper_bound(first, marks.end(), Mark{digest, std::numeric_limits<std::uint32_t>::max()});
  return {first, end};
}

// The first gone row of a path, unless its file has been found.
std::optional<std::uint32_t> MovedFiles::first_recorded_at(std::uint64_t path) const {
  const auto [first, end] = marks_with(by_path_, path);
  for (auto mark = first; mark != end; ++mark)
    if (!gone_[mark->gone].is_taken) return mark->gone;
  return std::nullopt;
}

std::optional<std::uint32_t> MovedFiles::only_one_with(std::uint64_t facts) const {
  std::optional<std::uint32_t> found;
  const auto [first, end] = marks_with(by_facts_, facts);
  for (auto mark = first; mark != end; ++mark) {
    if (gone_[mark->gone].is_taken) continue;
    if (found) return std::nullopt;
    found = mark->gone;
  }
  return found;
}

void MovedFiles::take(std::uint32_t gone, std::uint64_t path, std::uint32_t folder) {
  gone_[gone].is_taken = true;
  moved_.push_back({path, gone, folder});
}

}  // namespace corvexal
