// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/mend.h"

#include <sys/stat.h>

#include <algorithm>

#include "report/characters.h"

namespace corvexal::report {
namespace {

std::string_view parent_of(std::string_view folder) {
  return folder.substr(0, folder.rfind('/', folder.size() - 2) + 1);
}

std::string_view without_slash(std::string_view folder) {
  return folder.size() > 1 && folder.ends_with('/') ? folder.substr(0, folder.size() - 1) : folder;
}

bool is_folder(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

}  // namespace

std::string shell_word(std::string_view text) {
  std::string word = "'";
  for (const char c : text)
    if (c == '\'')
      word += "'\\''";
    else
      word += c;
  return word += '\'';
}

std::string Mender::command(const Problem& problem) {
  switch (facts_of(problem.kind).mend) {
    case Mend::kSyncFolder:
      return sync(problem.name.empty() ? parent_of(problem.folder) : problem.folder);
    case Mend::kSyncLibrary:
      return sync(places_.share);
    case Mend::kNewStore: {
      const std::string store = shell_word(places_.song_store);
      return "mv " + store + " " + shell_word(places_.song_store + ".damaged") + " && " + sync(places_.share);
    }
    case Mend::kRename:
      return rename(problem);
    case Mend::kReadAnew:
      break;
  }
  const std::string path = problem.path();
  return (is_plain(path) ? "touch -c " + shell_word(path) + " && " : "") + sync(problem.folder);
}

std::string Mender::sync(std::string_view folder) {
  const std::string_view named = folder_to_name(folder);
  std::string command = "corvexal-sync";
  if (places_.all_gone) command += " --even-if-empty";
  if (named != places_.share) command.append(" ").append(shell_word(without_slash(named)));
  return command;
}

// The folder, or the nearest above it, that exists and can be typed; at worst the share.
std::string_view Mender::folder_to_name(std::string_view folder) {
  if (folder == asked_) return answer_;
  asked_ = folder;
  while (folder.size() > places_.share.size() && folder.starts_with(places_.share) &&
         !(is_plain(folder) && is_folder(std::string(folder))))
    folder = parent_of(folder);
  answer_ = folder.starts_with(places_.share) ? folder : std::string_view(places_.share);
  return answer_;
}

// A name in another encoding needs a person who knows which: as printed, the tool only shows what it would
// do.
std::string Mender::rename(const Problem& problem) {
  const std::string path = problem.path();
  const std::size_t quote = path.find('"');
  if (problem.kind == Kind::kNameEncoding || quote == std::string::npos || !is_plain(path))
    return "convmv -r -f ENCODING -t utf-8 " + shell_word(without_slash(folder_to_name(problem.folder)));
  const std::string from = path.substr(0, path.find('/', quote));
  std::string to = from;
  std::replace(to.begin() + static_cast<std::ptrdiff_t>(from.rfind('/')), to.end(), '"', '\'');
  return "mv -n " + shell_word(from) + " " + shell_word(to) + " && " + sync(places_.share);
}

}  // namespace corvexal::report
