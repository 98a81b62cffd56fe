// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/media_rows.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

#include "base/log.h"
#include "base/text.h"
#include "metadata/id3_tags.h"
#include "metadata/mp3_stream.h"
#include "metadata/standard_tags.h"

namespace corvexal {
namespace {

constexpr std::size_t kTagTextSize = 30;
constexpr const char* kNoTag = "Others";

std::string tag_text(const Text& tag, const std::string& otherwise) {
  return tag.value_or(otherwise).substr(0, kTagTextSize);
}

SongInfo song_of(const MediaFile& file) {
  SongInfo song;
  song.fname = file.name;
  song.type = file.name.substr(file.name.rfind('.') + 1);
  return song;
}

// A text for a column. In this mode no character is cut in two, and no quote keeps the row out.
std::string standard_text(const Text& tag, const std::string& otherwise) {
  std::string text(utf8_prefix(tag ? *tag : otherwise, kTagTextSize));
  std::replace(text.begin(), text.end(), '"', '\'');
  return text;
}

void read_standard_music(MediaRow& row, TagDecoder& decoder) {
  SongInfo song = song_of(row.file);
  read_standard_tags(decoder, row.file.path, song);
  row.music.title = standard_text(song.title, row.utf_name);
  row.music.artist = standard_text(song.artist, kNoTag);
  row.music.album = standard_text(song.album, kNoTag);
  row.music.genre = standard_text(song.genre, kNoTag);
  row.music.bitrate = static_cast<std::uint32_t>(song.bitrate);
}

void read_music(MediaRow& row, TagDecoder& decoder) {
  if (decoder.standard) return read_standard_music(row, decoder);
  SongInfo song = song_of(row.file);
  scan_get_mp3tags(decoder, row.file.path, song);
  row.music.title = tag_text(song.title, row.utf_name);
  row.music.artist = tag_text(song.artist, kNoTag);
  row.music.album = tag_text(song.album, kNoTag);
  row.music.genre = tag_text(song.genre, kNoTag);
  QuoteForSql(row.music.title);
  if (scan_get_mp3fileinfo(row.file.path, song) == -1) song.bitrate = 0;
  row.music.bitrate = static_cast<std::uint32_t>(song.bitrate);
}

void convert_names(MediaRow& row, NameCharset& names) {
  Converted folder = names.to_utf8(row.file.folder);
  Converted name = names.to_utf8(row.file.name);
  row.folder_status = folder.status;
  row.name_status = name.status;
  row.utf_folder = std::move(folder.text).value_or(row.file.folder);
  row.utf_name = std::move(name.text).value_or(row.file.name);
}

// Each table begins and ends alike: number, folder, name, both in UTF-8, extension, date, size; depth, object
// and parent identifier.
constexpr const char* kInsertMusic = R"(
    insert into music_tbl values (
      "%d","%s","%s","%s","%s","%s","%s","%llu",
      "%s","%s","%s","%s","%u","0","0","0",
      "%d","0","%llu","%llu","0","0","0");)";
constexpr const char* kInsertVideo = R"(
    insert into video_tbl values (
      "%d","%s","%s","%s","%s","%s","%s","%llu",
      "%d","%d","0","%d","0","0","0","0",
      "%d","%llu","%llu","0","0","0");)";
constexpr const char* kInsertPhoto = R"(
    insert into photo_tbl values (
      "%d","%s","%s","%s","%s","%s","%s","%llu",
      "%d","%d","%d","0","0","0",
      "%d","%llu","%llu","0","0","0");)";

// A row's place in its table and in the tree of objects.
struct RowPlace {
  std::int64_t number;
  std::uint64_t parent;
};

template <class... Facts>
int insert_row(Database& db, const char* statement, const MediaRow& row, const RowPlace& place,
               std::uint64_t& next_objid, const Facts&... facts) {
  const MediaFile& file = row.file;
  return db.exec(statement, place.number, file.folder, file.name, row.utf_folder, row.utf_name,
                 file.extension, date_text(file.modified), file.size, facts..., file.depth, next_objid++,
                 place.parent);
}

int insert(Session& session, const MediaRow& row, const RowPlace& place) {
  Database& db = session.db;
  ObjectIds& ids = session.ids;
  switch (row.file.kind) {
    case MediaKind::kMusic:
      return insert_row(db, kInsertMusic, row, place, ids.music_file_objid, row.music.genre, row.music.artist,
                        row.music.album, row.music.title, row.music.bitrate);
    case MediaKind::kPlaylist:
      return insert_row(db, kInsertMusic, row, place, ids.music_file_objid, "0", "0", "0", "0", 0);
    case MediaKind::kVideo:
      return insert_row(db, kInsertVideo, row, place, ids.video_file_objid, row.video.width, row.video.height,
                        row.video.video_format);
    case MediaKind::kSubtitle:
      return insert_row(db, kInsertVideo, row, place, ids.video_file_objid, 0, 0, 0);
    case MediaKind::kPhoto:
      return insert_row(db, kInsertPhoto, row, place, ids.photo_file_objid, row.photo.width, row.photo.height,
                        row.photo.color_depth);
    case MediaKind::kOther:
      break;
  }
  return SQLITE_OK;
}

// The same columns in the same order, but for number and object identifier.
constexpr const char* kUpdateMusic = R"(
    update music_tbl set
      Real_Path="%s",Real_fname="%s",UTF_Path="%s",UTF_fname="%s",EXT_fname="%s",Date="%s",Size="%llu",
      Genre="%s",Artist="%s",Album="%s",Title="%s",Bitrate="%u",
      Depth="%d",ParentID="%llu"
    where ROWID="%llu";)";
constexpr const char* kUpdateVideo = R"(
    update video_tbl set
      Real_Path="%s",Real_fname="%s",UTF_Path="%s",UTF_fname="%s",EXT_fname="%s",Date="%s",Size="%llu",
      Width="%d",Height="%d",VideoFormat="%d",
      Depth="%d",ParentID="%llu"
    where ROWID="%llu";)";
constexpr const char* kUpdatePhoto = R"(
    update photo_tbl set
      Real_Path="%s",Real_fname="%s",UTF_Path="%s",UTF_fname="%s",EXT_fname="%s",Date="%s",Size="%llu",
      Width="%d",Height="%d",ColorDepth="%d",
      Depth="%d",ParentID="%llu"
    where ROWID="%llu";)";

template <class... Facts>
int update_row(Database& db, const char* statement, const MediaRow& row, std::int64_t rowid,
               std::uint64_t parent, const Facts&... facts) {
  const MediaFile& file = row.file;
  return db.exec(statement, file.folder, file.name, row.utf_folder, row.utf_name, file.extension,
                 date_text(file.modified), file.size, facts..., file.depth, parent, rowid);
}

int update(Database& db, const MediaRow& row, std::int64_t rowid, std::uint64_t parent) {
  switch (row.file.kind) {
    case MediaKind::kMusic:
      return update_row(db, kUpdateMusic, row, rowid, parent, row.music.genre, row.music.artist,
                        row.music.album, row.music.title, row.music.bitrate);
    case MediaKind::kPlaylist:
      return update_row(db, kUpdateMusic, row, rowid, parent, "0", "0", "0", "0", 0);
    case MediaKind::kVideo:
      return update_row(db, kUpdateVideo, row, rowid, parent, row.video.width, row.video.height,
                        row.video.video_format);
    case MediaKind::kSubtitle:
      return update_row(db, kUpdateVideo, row, rowid, parent, 0, 0, 0);
    case MediaKind::kPhoto:
      return update_row(db, kUpdatePhoto, row, rowid, parent, row.photo.width, row.photo.height,
                        row.photo.color_depth);
    case MediaKind::kOther:
      break;
  }
  return SQLITE_OK;
}

}  // namespace

std::string date_text(std::time_t time) {
  std::tm local{};
  char text[128] = "";
  if (localtime_r(&time, &local) != nullptr) std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%S", &local);
  return text;
}

void set_extension(MediaFile& file, std::string_view extension) {
  file.kind = media_kind(extension);
  file.extension = extension.substr(1);
  StringToLower(file.extension);
}

std::optional<MediaRow> read_media_row(Session& session, MediaFile file) {
  MediaRow row;
  row.file = std::move(file);
  convert_names(row, session.names);
  if (row.file.kind == MediaKind::kMusic) read_music(row, session.tags);
  if (row.file.kind == MediaKind::kVideo) get_video_info(row.file.path, row.video);
  if (row.file.kind == MediaKind::kPhoto) {
    row.photo.path = row.file.path;
    if (get_img_size(row.photo) == 0) return std::nullopt;
  }
  return row;
}

bool catalogue_takes(std::string_view text) {
  return text.find('"') == std::string_view::npos;
}

bool catalogue_takes(const MediaRow& row) {
  const auto& [genre, artist, album, title, bitrate] = row.music;
  const std::string_view texts[] = {row.file.path, row.utf_folder, row.utf_name, genre, artist, album, title};
  return std::all_of(std::begin(texts), std::end(texts),
                     [](std::string_view text) { return catalogue_takes(text); });
}

void report_conversions(const MediaRow& row, std::span<const ConversionReport> reports) {
  if (row.file.kind == MediaKind::kMusic && row.folder_status != 0)
    std::printf("1ret = %d\n", row.folder_status);
  if (row.name_status == 0) return;
  for (const ConversionReport& report : reports)
    if (report.kind == row.file.kind) std::printf("%s%d%s\n", report.before, row.name_status, report.after);
}

int insert_media_row(Session& session, const MediaRow& row, std::int64_t number, std::uint64_t parent) {
  const int code = insert(session, row, {number, parent});
  if (code != SQLITE_OK)
    error_printf("Corvexal: cannot add %s: %s\n", row.file.path.c_str(), session.db.error_text());
  return code;
}

int update_media_row(Session& session, const MediaRow& row, std::int64_t rowid, std::uint64_t parent) {
  const int code = update(session.db, row, rowid, parent);
  if (code != SQLITE_OK)
    error_printf("Corvexal: cannot refresh %s: %s\n", row.file.path.c_str(), session.db.error_text());
  return code;
}

}  // namespace corvexal
