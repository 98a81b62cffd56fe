// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/moved_files.h"

#include <algorithm>
#include <functional>
#include <limits>

#include "catalogue/folder_comparison.h"

namespace corvexal {
namespace {

std::string text_of(MediaClass media_class, const FileFacts& facts) {
  return std::to_string(static_cast<int>(media_class)) + facts.name + '/' + facts.size + '/' + facts.date;
}

}  // namespace

void MovedFiles::Marks::add(const std::string& text, std::uint32_t gone) {
  marks_.emplace_back(std::hash<std::string>()(text), gone);
}

void MovedFiles::Marks::sort() {
  std::sort(marks_.begin(), marks_.end());
}

std::span<const MovedFiles::Marks::Mark> MovedFiles::Marks::of(const std::string& text) const {
  const std::size_t hash = std::hash<std::string>()(text);
  const auto first = std::lower_bound(marks_.begin(), marks_.end(), Mark(hash, 0));
  const auto end =
      std::upper_bound(first, marks_.end(), Mark(hash, std::numeric_limits<std::uint32_t>::max()));
  return {first, end};
}

void MovedFiles::add_gone(const GoneRow& row) {
  const auto at = static_cast<std::uint32_t>(gone_.size());
  gone_.push_back({row.rowid, row.media_class, false});
  by_path_.add(row.folder + row.facts.name, at);
  by_facts_.add(text_of(row.media_class, row.facts), at);
}

void MovedFiles::add_new(MediaClass media_class, const std::string& folder, const FileFacts& facts,
                         const std::optional<std::string>& recorded_path) {
  if (!std::exchange(is_sorted_, true)) {
    by_path_.sort();
    by_facts_.sort();
  }
  if (recorded_path)
    if (const auto gone = recorded_at(media_class, *recorded_path)) return take(*gone, folder + facts.name);
  const std::string text = text_of(media_class, facts);
  if (by_facts_.of(text).empty()) return;
  Alike& alike = alike_[text];
  ++alike.files;
  alike.path = folder + facts.name;
}

void MovedFiles::match() {
  for (auto& [facts, alike] : alike_) {
    if (alike.files != 1) continue;
    if (const auto gone = only_one_with(facts)) take(*gone, std::move(alike.path));
  }
  alike_.clear();
}

std::optional<GoneRow> MovedFiles::source_of(const std::string& path) const {
  const auto found = source_.find(path);
  return found == source_.end() ? std::nullopt : row_at(found->second);
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

// The first gone row of a path, unless its file has been found.
std::optional<std::uint32_t> MovedFiles::recorded_at(MediaClass media_class, const std::string& path) const {
  for (const auto& [hash, at] : by_path_.of(path)) {
    if (gone_[at].is_taken || gone_[at].media_class != media_class) continue;
    const auto row = row_at(at);
    if (row && row->folder + row->facts.name == path) return at;
  }
  return std::nullopt;
}

std::optional<std::uint32_t> MovedFiles::only_one_with(const std::string& facts) const {
  std::optional<std::uint32_t> found;
  for (const auto& [hash, at] : by_facts_.of(facts)) {
    if (gone_[at].is_taken) continue;
    const auto row = row_at(at);
    if (!row || text_of(row->media_class, row->facts) != facts) continue;
    if (found) return std::nullopt;
    found = at;
  }
  return found;
}

void MovedFiles::take(std::uint32_t gone, std::string path) {
  gone_[gone].is_taken = true;
  source_.emplace(std::move(path), gone);
}

}  // namespace corvexal
