// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/texts.h"

#include <cstdint>
#include <string>
#include <string_view>

#include "report/decoding.h"
#include "report/tongues.h"

namespace corvexal::report {
namespace {

constexpr const char* kSongs = R"(
select Real_Path,Real_fname,UTF_fname,Size,Title,Artist,Album,Genre from music_tbl
where EXT_fname !='m3u' AND EXT_fname !='pls')";

constexpr const char* kOtherNames = R"(
select UTF_fname,Size from music_tbl where EXT_fname == 'm3u' OR EXT_fname == 'pls'
union all
select UTF_fname,Size from video_tbl
union all
select UTF_fname,Size from photo_tbl)";

// The tags of a song and their columns in kSongs.
struct Tag {
  std::string_view name;
  int column;
};
constexpr Tag kTags[] = {{"the title", 4}, {"the artist", 5}, {"the album", 6}, {"the genre", 7}};

// A file's extension would make every short name a Latin one.
std::string_view without_extension(std::string_view name) {
  return name.substr(0, name.rfind('.'));
}

std::string text_of(const Query& song) {
  const std::string_view name = song.text(2), title = song.text(4);
  const bool is_untagged = name.starts_with(title);
  std::string text(is_untagged ? without_extension(title) : title);
  for (const int column : {5, 6})
    if (song.text(column) != "Others") text.append(" ").append(song.text(column));
  return text;
}

void judge(const Query& song, DecodingJudge& decoding, ProblemList& problems) {
  for (const Tag& tag : kTags)
    if (decoding.looks_wrong(song.text(tag.column))) {
      problems.add(Kind::kTextEncoding, song.text(0), song.text(1), tag.name);
      return;
    }
}

}  // namespace

void check_texts(Snapshot& snapshot, Figures& figures, ProblemList& problems) {
  Tally genres, artists, tongues;
  DecodingJudge decoding;
  for (Query songs = snapshot.query(kSongs); songs.next();) {
    const std::uint64_t size = size_in(songs.text(3));
    artists.add(songs.text(5), size);
    genres.add(songs.text(7), size);
    tongues.add(tongue_of(text_of(songs)), size);
    judge(songs, decoding, problems);
  }
  for (Query names = snapshot.query(kOtherNames); names.next();)
    tongues.add(tongue_of(without_extension(names.text(0))), size_in(names.text(1)));
  figures.genres = genres.ranked();
  figures.artists = artists.ranked();
  figures.tongues = tongues.ranked();
}

}  // namespace corvexal::report
