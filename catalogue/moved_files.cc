// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/moved_files.h"

#include <utility>

namespace corvexal {

void MovedFiles::add_gone(GoneRow row) {
  by_path_.try_emplace(row.folder + row.name, gone_.size());
  gone_.push_back(std::move(row));
  is_taken_.push_back(false);
}

void MovedFiles::add_new(MediaClass media_class, const std::string& folder, std::string_view name,
                         const std::string& size, const std::string& date,
                         const std::optional<std::string>& recorded_path) {
  std::string path = folder + std::string(name);
  if (recorded_path) {
    const auto recorded = by_path_.find(*recorded_path);
    if (recorded != by_path_.end() && !is_taken_[recorded->second] &&
        gone_[recorded->second].media_class == media_class)
      return take(recorded->second, std::move(path));
  }
  Alike& alike = alike_[facts(media_class, name, size, date)];
  ++alike.files;
  alike.path = std::move(path);
}

void MovedFiles::match() {
  for (std::size_t at = 0; at < gone_.size(); ++at) {
    const GoneRow& row = gone_[at];
    const auto alike = alike_.find(facts(row.media_class, row.name, row.size, row.date));
    if (is_taken_[at] || alike == alike_.end()) continue;
    ++alike->second.rows;
    alike->second.gone = at;
  }
  for (auto& [key, alike] : alike_)
    if (alike.rows == 1 && alike.files == 1) take(alike.gone, std::move(alike.path));
  alike_.clear();
}

const GoneRow* MovedFiles::source_of(const std::string& path) const {
  const auto found = source_.find(path);
  return found == source_.end() ? nullptr : &gone_[found->second];
}

std::string MovedFiles::facts(MediaClass media_class, std::string_view name, const std::string& size,
                              const std::string& date) {
  std::string key = std::to_string(static_cast<int>(media_class));
  return key.append(name).append(1, '/').append(size).append(1, '/').append(date);
}

void MovedFiles::take(std::size_t gone, std::string path) {
  is_taken_[gone] = true;
  source_.emplace(std::move(path), gone);
}

}  // namespace corvexal
