// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/random.h>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <ctime>
#include <stdexcept>

#include "base/text.h"
#include "report/html_assets.h"
#include "report/page.h"
#include "report/shown.h"

namespace corvexal::report {
namespace {

constexpr std::size_t kBarsShown = 10;
constexpr std::size_t kFoldersShown = 2000;
constexpr std::size_t kPlaylistsShown = 200;
constexpr std::size_t kProblemsShown = 100;

// Known to this page alone, so that only its own style and script count.
std::string nonce() {
  std::array<char, 16> bytes{};
  if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
    throw std::runtime_error("no random bytes");
  std::string text;
  for (const char byte : bytes) text += hex_digits(byte);
  return text;
}

std::string name_in_page(std::string_view name) {
  return "<bdi>" + (name.empty() ? std::string("(none)") : for_html(name)) + "</bdi>";
}

std::string amount_text(const Amount& amount) {
  return with_commas(amount.files) + (amount.files == 1 ? " file, " : " files, ") +
         readable_size(amount.bytes);
}

std::string now_text() {
  const std::time_t now = std::time(nullptr);
  std::tm parts{};
  localtime_r(&now, &parts);
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M", &parts)};
}

void write_head(std::FILE* out, const Figures& figures, const std::string& own) {
  std::fprintf(
      out,
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; style-src 'nonce-%s'; "
      "script-src 'nonce-%s'; base-uri 'none'; form-action 'none'\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta name=\"referrer\" content=\"no-referrer\">\n<title>Library %s</title>\n"
      "<style nonce=\"%s\">%s</style>\n</head>\n",
      own.c_str(), own.c_str(), for_html(figures.share).c_str(), own.c_str(), kStyle);
}

void write_summary(std::FILE* out, const Report& report) {
  const Figures& figures = report.figures;
  std::fprintf(out, "<h1>Library %s</h1>\n<section>\n<p>%s in the catalogue",
               name_in_page(figures.share).c_str(), amount_text(figures.total).c_str());
  if (!figures.first_change.empty())
    std::fprintf(out, ", changed between <bdi>%s</bdi> and <bdi>%s</bdi>",
                 for_html(figures.first_change).c_str(), for_html(figures.last_change).c_str());
  std::fputs(".</p>\n<p>", out);
  switch (figures.store) {
    case StoreState::kRead:
      std::fprintf(out, "The song store has %s records.", with_commas(figures.song_records).c_str());
      break;
    case StoreState::kMissing:
      std::fputs("There is no song store.", out);
      break;
    case StoreState::kBeingWritten:
      std::fputs("A run is writing the song store: its records are not judged.", out);
      break;
    case StoreState::kUnreadable:
      std::fputs("The song store cannot be read.", out);
      break;
  }
  const std::size_t count = report.problems.size();
  std::fprintf(out, "</p>\n<p class=\"%s\">%s%s</p>\n<p class=\"soft\">As of %s.</p>\n</section>\n",
               count == 0 ? "good" : "bad", count == 0 ? "No" : with_commas(count).c_str(),
               count == 0   ? " problems."
               : count == 1 ? " problem, <a href=\"#problems\">listed below</a>."
                            : " problems, <a href=\"#problems\">listed below</a>.",
               now_text().c_str());
}

// A list with a bar for each name's number of files; the bars only repeat what the text says.
void write_bars(std::FILE* out, const char* title, const std::vector<NamedAmount>& amounts) {
  if (amounts.empty()) return;
  std::fprintf(out, "<section>\n<h2>%s</h2>\n<ul class=\"bars\">\n", title);
  const std::uint64_t most = std::max<std::uint64_t>(1, amounts.front().amount.files);
  const std::size_t shown = std::min(amounts.size(), kBarsShown);
  for (std::size_t i = 0; i < shown; ++i)
    std::fprintf(
        out,
        "<li>%s <span class=\"amount\">%s</span><svg viewBox=\"0 0 100 8\" preserveAspectRatio=\"none\" "
        "aria-hidden=\"true\"><rect class=\"track\" width=\"100\" height=\"8\"/>"
        "<rect class=\"bar\" width=\"%.1f\" height=\"8\"/></svg></li>\n",
        name_in_page(amounts[i].name).c_str(), amount_text(amounts[i].amount).c_str(),
        100 * static_cast<double>(amounts[i].amount.files) / static_cast<double>(most));
  std::fputs("</ul>\n", out);
  if (shown < amounts.size())
    std::fprintf(out, "<p class=\"soft\">And %s more.</p>\n", with_commas(amounts.size() - shown).c_str());
  std::fputs("</section>\n", out);
}

void write_folder(std::FILE* out, const NamedAmount& folder) {
  std::fprintf(out,
               "<tr><th scope=\"row\">%s</th><td class=\"number\" data-value=\"%" PRIu64
               "\">%s</td><td class=\"number\" data-value=\"%" PRIu64 "\">%s</td></tr>\n",
               name_in_page(folder.name).c_str(), folder.amount.files,
               with_commas(folder.amount.files).c_str(), folder.amount.bytes,
               readable_size(folder.amount.bytes).c_str());
}

void write_folders(std::FILE* out, const std::vector<NamedAmount>& folders) {
  if (folders.empty()) return;
  // The least size that is still shown; folders stay in the order of their paths.
  std::vector<std::uint64_t> sizes;
  sizes.reserve(folders.size());
  for (const NamedAmount& folder : folders) sizes.push_back(folder.amount.bytes);
  const std::size_t shown = std::min(folders.size(), kFoldersShown);
  std::nth_element(sizes.begin(), sizes.begin() + static_cast<std::ptrdiff_t>(shown - 1), sizes.end(),
                   std::greater<>());
  const std::uint64_t least = sizes[shown - 1];

  std::fputs("<section>\n<h2 id=\"folders\">Folders</h2>\n<table aria-labelledby=\"folders\">\n<caption>",
             out);
  if (shown < folders.size())
    std::fprintf(out, "The %s largest of %s folders. ", with_commas(shown).c_str(),
                 with_commas(folders.size()).c_str());
  std::fputs(
      "A heading sorts the table.</caption>\n<thead><tr><th scope=\"col\" aria-sort=\"ascending\"><button "
      "type=\"button\">"
      "Folder</button></th><th scope=\"col\" class=\"number\"><button type=\"button\">Files</button></th>"
      "<th scope=\"col\" class=\"number\"><button type=\"button\">Size</button></th></tr></thead>\n<tbody>\n",
      out);
  std::size_t left = shown;
  for (const NamedAmount& folder : folders) {
    if (left == 0) break;
    if (folder.amount.bytes < least) continue;
    write_folder(out, folder);
    --left;
  }
  std::fputs("</tbody>\n</table>\n<p id=\"sorted\" class=\"hidden\" role=\"status\"></p>\n</section>\n", out);
}

void write_playlists(std::FILE* out, const std::vector<PlaylistFigures>& playlists) {
  if (playlists.empty()) return;
  std::fputs(
      "<section>\n<h2 id=\"playlists\">Playlists</h2>\n<table aria-labelledby=\"playlists\">\n<thead><tr><th "
      "scope=\"col\">Playlist</th><th scope=\"col\" class=\"number\">Linked</th><th scope=\"col\" "
      "class=\"number\">"
      "Missing</th></tr></thead>\n<tbody>\n",
      out);
  const std::size_t shown = std::min(playlists.size(), kPlaylistsShown);
  for (std::size_t i = 0; i < shown; ++i)
    std::fprintf(
        out, "<tr><th scope=\"row\">%s</th><td class=\"number\">%s</td><td class=\"number\">%s</td></tr>\n",
        name_in_page(playlists[i].path).c_str(), with_commas(playlists[i].linked).c_str(),
        playlists[i].readable ? with_commas(playlists[i].missing).c_str() : "unreadable");
  std::fputs("</tbody>\n</table>\n", out);
  if (shown < playlists.size())
    std::fprintf(out, "<p class=\"soft\">And %s more.</p>\n", with_commas(playlists.size() - shown).c_str());
  std::fputs("</section>\n", out);
}

void write_kind(std::FILE* out, const Report& report, const KindFacts& kind, std::size_t count) {
  std::fprintf(out, "<details open>\n<summary>%s: %s</summary>\n<dl>\n", with_commas(count).c_str(),
               for_html(kind.meaning).c_str());
  Mender mender(report.places);
  std::size_t shown = 0;
  report.problems.visit(kind.kind, [&](const Problem& problem) {
    std::fprintf(out, "<dt>%s", name_in_page(problem.path()).c_str());
    if (!problem.detail.empty())
      std::fprintf(out, " <span class=\"soft\">%s</span>", name_in_page(problem.detail).c_str());
    std::fprintf(out, "</dt><dd><code><bdi>%s</bdi></code></dd>\n",
                 for_html(mender.command(problem)).c_str());
    return ++shown < kProblemsShown;
  });
  std::fputs("</dl>\n", out);
  if (shown < count)
    std::fprintf(out, "<p class=\"soft\">And %s more, which <code>corvexal-report --json</code> lists.</p>\n",
                 with_commas(count - shown).c_str());
  std::fputs("</details>\n", out);
}

void write_problems(std::FILE* out, const Report& report) {
  if (report.problems.size() == 0) return;
  std::fputs(
      "<section>\n<h2 id=\"problems\">Problems</h2>\n<p class=\"soft\">Below each stands the command that "
      "mends "
      "it.</p>\n",
      out);
  for (const KindFacts& kind : kinds())
    if (const std::size_t count = report.problems.count(kind.kind)) write_kind(out, report, kind, count);
  std::fputs("</section>\n", out);
}

}  // namespace

void write_html(const Report& report, std::FILE* out) {
  const Figures& figures = report.figures;
  const std::string own = nonce();
  write_head(out, figures, own);
  std::fputs("<body>\n<main>\n", out);
  write_summary(out, report);
  std::fputs("<div class=\"lists\">\n", out);
  write_bars(out, "Classes", figures.classes);
  write_bars(out, "Extensions", figures.extensions);
  write_bars(out, "Tongues of names and titles", figures.tongues);
  write_bars(out, "Genres", figures.genres);
  write_bars(out, "Artists", figures.artists);
  std::fputs("</div>\n", out);
  write_folders(out, figures.folders);
  write_playlists(out, figures.playlists);
  write_problems(out, report);
  std::fprintf(out, "</main>\n<script nonce=\"%s\">%s</script>\n</body>\n</html>\n", own.c_str(), kScript);
}

}  // namespace corvexal::report
