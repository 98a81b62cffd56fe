// SPDX-License-Identifier: GPL-3.0-or-later
#include <cinttypes>

#include "base/json_text.h"
#include "catalogue/media_types.h"
#include "report/page.h"

namespace corvexal::report {
namespace {

// Writes members and elements with the commas between them.
class JsonWriter {
 public:
  explicit JsonWriter(std::FILE* out) : out_(out) {}

  void open(char bracket) {
    std::fputc(bracket, out_);
    needs_comma_ = false;
  }
  void close(char bracket) {
    std::fputc(bracket, out_);
    needs_comma_ = true;
  }
  // Begins a line of its own: an element, or a member where there is a name.
  void next(std::string_view name = {}) {
    std::fputs(needs_comma_ ? ",\n" : "\n", out_);
    if (!name.empty()) std::fprintf(out_, "%s:", json_text(name).c_str());
    needs_comma_ = true;
  }
  void member(std::string_view name, std::string_view value) {
    begin_member(name);
    std::fputs(json_text(value).c_str(), out_);
  }
  void member(std::string_view name, std::uint64_t value) {
    begin_member(name);
    std::fprintf(out_, "%" PRIu64, value);
  }

 private:
  void begin_member(std::string_view name) {
    if (needs_comma_) std::fputc(',', out_);
    std::fprintf(out_, "%s:", json_text(name).c_str());
    needs_comma_ = true;
  }

  std::FILE* out_;
  bool needs_comma_ = false;
};

void write(JsonWriter& json, const Amount& amount) {
  json.member("files", amount.files);
  json.member("bytes", amount.bytes);
}

void write(JsonWriter& json, std::string_view list, std::string_view name,
           const std::vector<NamedAmount>& amounts) {
  json.next(list);
  json.open('[');
  for (const NamedAmount& amount : amounts) {
    json.next();
    json.open('{');
    json.member(name, amount.name);
    write(json, amount.amount);
    if (name == "extension") json.member("mime", media_mime_type("." + amount.name));
    json.close('}');
  }
  json.close(']');
}

void write(JsonWriter& json, const std::vector<PlaylistFigures>& playlists) {
  json.next("playlists");
  json.open('[');
  for (const PlaylistFigures& playlist : playlists) {
    json.next();
    json.open('{');
    json.member("path", playlist.path);
    json.member("entries", playlist.entries);
    json.member("linked", playlist.linked);
    json.member("missing", playlist.missing);
    json.close('}');
  }
  json.close(']');
}

std::string_view name_of(StoreState state) {
  switch (state) {
    case StoreState::kMissing:
      return "missing";
    case StoreState::kRead:
      return "read";
    case StoreState::kBeingWritten:
      return "being written";
    case StoreState::kUnreadable:
      break;
  }
  return "unreadable";
}

void write(JsonWriter& json, const Report& report) {
  Mender mender(report.places);
  json.next("problems");
  json.open('[');
  for (const KindFacts& kind : kinds())
    report.problems.visit(kind.kind, [&](const Problem& problem) {
      json.next();
      json.open('{');
      json.member("kind", kind.name);
      json.member("path", problem.path());
      if (!problem.detail.empty()) json.member("detail", problem.detail);
      json.member("mend", mender.command(problem));
      json.close('}');
      return true;
    });
  json.close(']');
}

}  // namespace

void write_json(const Report& report, std::FILE* out) {
  const Figures& figures = report.figures;
  JsonWriter json(out);
  json.open('{');
  json.member("share", figures.share);
  write(json, figures.total);
  json.member("first_change", figures.first_change);
  json.member("last_change", figures.last_change);
  write(json, "classes", "class", figures.classes);
  write(json, "extensions", "extension", figures.extensions);
  write(json, "folders", "folder", figures.folders);
  write(json, "genres", "genre", figures.genres);
  write(json, "artists", "artist", figures.artists);
  write(json, "tongues", "tongue", figures.tongues);
  write(json, figures.playlists);
  json.next("song_store");
  json.open('{');
  json.member("state", name_of(figures.store));
  json.member("records", figures.song_records);
  json.close('}');
  write(json, report);
  std::fputs("\n}\n", out);
}

}  // namespace corvexal::report
