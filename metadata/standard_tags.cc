// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/standard_tags.h"

#include <algorithm>
#include <initializer_list>
#include <new>
#include <vector>

#include "base/saturate.h"
#include "base/text.h"
#include "metadata/legacy_texts.h"
#include "metadata/mp3_stream.h"
#include "metadata/tag_digest/legacy_mark.h"
#include "metadata/tag_digest/tag_digest.h"
#include "metadata/tag_library.h"

namespace corvexal {
namespace {

template <class T>
T* not_null(T* result) {
  if (result == nullptr) throw std::bad_alloc();
  return result;
}

// The text under the first of the keys that has one.
Text text_of(const TagFields& fields, std::initializer_list<const char*> keys) {
  for (const char* key : keys)
    if (const auto text = fields.texts.find(key); text != fields.texts.end()) return text->second;
  return std::nullopt;
}

int number_of(const TagFields& fields, std::initializer_list<const char*> keys) {
  return std::max(decimal_value(text_of(fields, keys).value_or("")), 0);
}

bool is_number(std::string_view text) {
  return !text.empty() && std::all_of(text.begin(), text.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// "13" is a genre by its number, and so is "(13)", whatever follows; ID3v2 has two by letters.
Text genre_name_of(std::string genre) {
  if (genre == "RX" || genre == "(RX)") return "Remix";
  if (genre == "CR" || genre == "(CR)") return "Cover";
  const std::size_t close = genre.find(')');
  if (genre.starts_with('(') && close != std::string::npos && is_number(genre.substr(1, close - 1)))
    genre = genre.substr(1, close - 1);
  if (!is_number(genre)) return genre;
  const std::string name = not_null(tag_library().genre(decimal_value(genre)));
  return name.empty() ? std::nullopt : Text(name);
}

// "3/12": the number and the number of all, of which the latter may have a field of its own.
void read_pair(const TagFields& fields, const char* key, std::initializer_list<const char*> keys_of_all,
               int& number, int& all) {
  const std::string text = text_of(fields, {key}).value_or("");
  const std::size_t slash = text.find('/');
  number = std::max(decimal_value(text), 0);
  all = slash == std::string::npos ? number_of(fields, keys_of_all)
                                   : std::max(decimal_value(text.substr(slash + 1)), 0);
}

void fill_in(const TagFields& fields, SongInfo& song) {
  song.song_length = fields.song_length;
  song.bitrate = fields.bitrate;
  song.samplerate = fields.samplerate;
  song.title = text_of(fields, {"TITLE"});
  song.artist = text_of(fields, {"ARTIST"});
  song.album = text_of(fields, {"ALBUM"});
  song.genre = text_of(fields, {"GENRE"});
  song.comment = text_of(fields, {"COMMENT", "DESCRIPTION"});
  song.composer = text_of(fields, {"COMPOSER"});
  song.grouping = text_of(fields, {"GROUPING", "WORK"});
  song.year = number_of(fields, {"DATE", "YEAR"});
  song.bpm = number_of(fields, {"BPM"});
  read_pair(fields, "TRACKNUMBER", {"TRACKTOTAL", "TOTALTRACKS"}, song.track, song.total_tracks);
  read_pair(fields, "DISCNUMBER", {"DISCTOTAL", "TOTALDISCS"}, song.disc, song.total_discs);
  const std::string compilation = text_of(fields, {"COMPILATION"}).value_or("");
  song.compilation = decimal_value(compilation) != 0 || equal_ignoring_case(compilation, "true") ? 1 : 0;
}

// Texts in disguise become UTF-8, by one decision for all of them. Names in ASCII tell of the language that
// the others are in.
void decode_texts(TagDecoder& decoder, SongInfo& song) {
  std::vector<Text*> texts;
  std::vector<std::string> bytes;
  const auto add = [&](Text& text, bool ascii_too) {
    if (!text) return;
    std::optional<std::string> raw = undisguised(*text);
    if (!raw && ascii_too && is_ascii(*text)) raw = *text;
    if (!raw) return;
    texts.push_back(&text);
    bytes.push_back(*std::move(raw));
  };
  for (Text* name : {&song.title, &song.artist, &song.album, &song.composer}) add(*name, true);
  for (Text* text : {&song.genre, &song.grouping, &song.comment}) add(*text, false);
  const std::string album = song.artist.value_or("") + '\n' + song.album.value_or("");
  const std::vector<Text> decoded = decode_legacy_texts(decoder, bytes, album);
  for (std::size_t i = 0; i < texts.size(); ++i) *texts[i] = decoded[i];
}

}  // namespace

int read_standard_tags(TagDecoder& decoder, const std::string& path, SongInfo& song) {
  FileWindow file(path);
  if (!file) return -1;
  const AudioContent content = probe_audio(file, song.type.value_or(""));
  fill_in(*not_null(tag_library().read(digest_of(file, content))), song);
  decode_texts(decoder, song);
  if (song.genre) song.genre = genre_name_of(*song.genre);
  if (content.format == AudioFormat::kMpeg) scan_mp3_stream(file, path, song);
  song.file_size = saturated(file.file_size());
  return 0;
}

}  // namespace corvexal
