// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

#include "report/problems.h"
#include "report/snapshot.h"

namespace corvexal::report {

// The catalogue's folders, for questions about parents.
class FolderRows {
 public:
  // Reads the folder rows and adds what is wrong with them. `share` with its trailing "/".
  FolderRows(Snapshot& snapshot, std::string share, ProblemList& problems);

  // Adds a problem when the row of `name` (empty for a folder's own row) does not have the folder's
  // identifier for its parent. The share's own row may be missing; then "0" stands for it.
  void judge_parent(std::string_view parent_id, std::string_view folder, std::string_view owner_folder,
                    std::string_view owner_name, ProblemList& problems) const;

  // How many folders could not be looked at.
  [[nodiscard]] std::size_t unreadable() const { return unreadable_; }

 private:
  void load(Snapshot& snapshot, ProblemList& problems);
  void judge(Snapshot& snapshot, ProblemList& problems);
  void look_at_disk(const std::string& folder, ProblemList& problems);

  std::string share_;
  std::unordered_map<std::string, std::string> ids_;  // by path; of several rows the first
  std::unordered_set<std::string> known_ids_;
  std::size_t unreadable_ = 0;
};

}  // namespace corvexal::report
