// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/moved_folders.h"

#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>

namespace corvexal {
namespace {

FolderRef* known_folder(LibrarySurvey& survey, std::string_view path) {
  const auto known = survey.folders.find(std::string(path));
  return known == survey.folders.end() ? nullptr : &*known;
}

bool is_gone_with_row(const LibrarySurvey& survey, const FolderRef& folder) {
  return folder.second.rowid != 0 && !folder.second.is_visited && survey.scope.holds(folder.first);
}

bool is_new(const FolderRef& folder) {
  return folder.second.rowid == 0 && folder.second.is_visited;
}

std::string_view own_name(std::string_view folder) {
  return folder.substr(folder_around(folder).size());
}

// Where the files of each gone folder, and with them the folders around it, went.
using Targets = std::map<FolderRef*, std::set<FolderRef*>>;

Targets targets_of(LibrarySurvey& survey) {
  Targets targets;
  survey.moved.each_move([&](const GoneRow& row, std::string_view new_folder) {
    FolderRef* from = known_folder(survey, row.folder);
    FolderRef* to = known_folder(survey, new_folder);
    while (from != nullptr && to != nullptr && is_gone_with_row(survey, *from) && is_new(*to) &&
           targets[from].insert(to).second && own_name(from->first) == own_name(to->first)) {
      from = known_folder(survey, folder_around(from->first));
      to = known_folder(survey, folder_around(to->first));
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
  std::map<FolderRef*, int> claims;
  for (const auto& [from, to] : targets)
    for (FolderRef* const folder : to) ++claims[folder];
  for (const auto& [from, to] : targets)
    if (to.size() == 1 && claims[*to.begin()] == 1) hand_row_along(from->second, (*to.begin())->second);
  std::erase_if(survey.gone_folders, [](const FolderRef* gone) { return gone->second.rowid == 0; });
}

}  // namespace corvexal
