// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/moved_folders.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace corvexal {
namespace {

const Folder* known_folder(const LibrarySurvey& survey, std::string_view path) {
  const auto known = survey.folders.find(std::string(path));
  return known == survey.folders.end() ? nullptr : &known->second;
}

bool is_gone_with_row(const LibrarySurvey& survey, std::string_view path) {
  const Folder* const folder = known_folder(survey, path);
  return folder != nullptr && folder->rowid != 0 && !folder->is_visited && survey.scope.holds(path);
}

bool is_new(const LibrarySurvey& survey, std::string_view path) {
  const Folder* const folder = known_folder(survey, path);
  return folder != nullptr && folder->rowid == 0 && folder->is_visited;
}

// Where the files of each gone folder, and with them the folders around it, went.
using Targets = std::map<std::string, std::set<std::string>>;

Targets targets_of(const LibrarySurvey& survey) {
  Targets targets;
  const auto add = [&](std::string_view from, std::string_view to) {
    return targets[std::string(from)].emplace(to).second;
  };
  survey.moved.each_move([&](const GoneRow& row, std::string_view to) {
    std::string_view from = row.folder;
    while (from != to && is_gone_with_row(survey, from) && is_new(survey, to) && add(from, to)) {
      const std::string_view from_around = folder_around(from), to_around = folder_around(to);
      if (from.substr(from_around.size()) != to.substr(to_around.size())) break;
      from = from_around;
      to = to_around;
    }
  });
  return targets;
}

void hand_row_along(Folder& gone, Folder& moved) {
  moved.rowid = std::exchange(gone.rowid, 0);
  moved.objid = gone.objid;
  moved.row_is_spelt = false;
}

}  // namespace

void match_moved_folders(LibrarySurvey& survey) {
  const Targets targets = targets_of(survey);
  std::map<std::string, int> claims;
  for (const auto& [from, to] : targets) ++claims[*to.begin()];
  for (const auto& [from, to] : targets)
    if (to.size() == 1 && claims[*to.begin()] == 1)
      hand_row_along(survey.folders.at(from), survey.folders.at(*to.begin()));
  std::erase_if(survey.gone_folders, [](const FolderRef* gone) { return gone->second.rowid == 0; });
}

}  // namespace corvexal
