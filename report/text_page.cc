// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "report/page.h"
#include "report/shown.h"

namespace corvexal::report {
namespace {

constexpr std::size_t kLongestList = 10;
constexpr std::size_t kProblemsShown = 20;

void write_line(std::FILE* out, const Amount& amount, std::string_view name) {
  std::fprintf(out, "  %11s  %9s  %s\n", with_commas(amount.files).c_str(),
               readable_size(amount.bytes).c_str(), name.empty() ? "(none)" : for_terminal(name).c_str());
}

void write_list(std::FILE* out, const char* title, const std::vector<NamedAmount>& amounts) {
  if (amounts.empty()) return;
  std::fprintf(out, "\n%s", title);
  if (amounts.size() > kLongestList)
    std::fprintf(out, " (%zu of %s)", kLongestList, with_commas(amounts.size()).c_str());
  std::fputs("\n", out);
  for (std::size_t i = 0; i < std::min(amounts.size(), kLongestList); ++i)
    write_line(out, amounts[i].amount, amounts[i].name);
}

void write_playlists(std::FILE* out, const std::vector<PlaylistFigures>& playlists) {
  if (playlists.empty()) return;
  std::fputs("\nPlaylists\n", out);
  for (const PlaylistFigures& playlist : playlists) {
    std::fprintf(out, "  %s linked, ", with_commas(playlist.linked).c_str());
    if (playlist.readable)
      std::fprintf(out, "%s of %s entries missing: ", with_commas(playlist.missing).c_str(),
                   with_commas(playlist.entries).c_str());
    else
      std::fputs("the file cannot be read: ", out);
    std::fprintf(out, "%s\n", for_terminal(playlist.path).c_str());
  }
}

void write_store(std::FILE* out, const Figures& figures) {
  std::fputs("\nSong store\n", out);
  switch (figures.store) {
    case StoreState::kRead:
      std::fprintf(out, "  %s records\n", with_commas(figures.song_records).c_str());
      break;
    case StoreState::kMissing:
      std::fputs("  there is none\n", out);
      break;
    case StoreState::kBeingWritten:
      std::fputs("  a run is writing it: its records are not judged\n", out);
      break;
    case StoreState::kUnreadable:
      std::fputs("  cannot be read\n", out);
      break;
  }
}

// A command stands once below the paths that it is good for.
void write_kind(std::FILE* out, const Report& report, const KindFacts& kind, std::size_t count) {
  std::fprintf(out, "\n  %s: %s (%s)\n", with_commas(count).c_str(), std::string(kind.meaning).c_str(),
               std::string(kind.name).c_str());
  Mender mender(report.places);
  std::string command;
  std::size_t shown = 0;
  report.problems.visit(kind.kind, [&](const Problem& problem) {
    const std::string mend = mender.command(problem);
    if (!command.empty() && mend != command) std::fprintf(out, "      %s\n", for_terminal(command).c_str());
    command = mend;
    const std::string detail = problem.detail.empty() ? "" : ": " + for_terminal(problem.detail);
    std::fprintf(out, "    %s%s\n", for_terminal(problem.path()).c_str(), detail.c_str());
    return ++shown < kProblemsShown;
  });
  std::fprintf(out, "      %s\n", for_terminal(command).c_str());
  if (count > shown)
    std::fprintf(out, "    and %s more, which --json lists\n", with_commas(count - shown).c_str());
}

}  // namespace

void write_text(const Report& report, std::FILE* out) {
  const Figures& figures = report.figures;
  std::fprintf(out, "%s\n", for_terminal(figures.share).c_str());
  write_line(out, figures.total, "files in the catalogue");
  if (!figures.first_change.empty())
    std::fprintf(out, "  changed from %s to %s\n", for_terminal(figures.first_change).c_str(),
                 for_terminal(figures.last_change).c_str());
  write_list(out, "Classes", figures.classes);
  write_list(out, "Extensions", figures.extensions);
  std::vector<NamedAmount> folders = figures.folders;
  std::stable_sort(folders.begin(), folders.end(), [](const NamedAmount& a, const NamedAmount& b) {
    return a.amount.bytes > b.amount.bytes;
  });
  write_list(out, "Folders", folders);
  write_list(out, "Genres", figures.genres);
  write_list(out, "Artists", figures.artists);
  write_list(out, "Tongues of names and titles", figures.tongues);
  write_playlists(out, figures.playlists);
  write_store(out, figures);

  if (report.problems.size() == 0) {
    std::fputs("\nNo problems\n", out);
    return;
  }
  std::fprintf(out, "\nProblems: %s, each with the command that mends it\n",
               with_commas(report.problems.size()).c_str());
  for (const KindFacts& kind : kinds())
    if (const std::size_t count = report.problems.count(kind.kind)) write_kind(out, report, kind, count);
}

}  // namespace corvexal::report
