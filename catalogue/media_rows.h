// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "catalogue/media_types.h"
#include "catalogue/session.h"
#include "metadata/image_size.h"
#include "metadata/mpeg_video.h"

namespace corvexal {

// Where a media file lies and what the disk says of it.
struct MediaFile {
  std::string path;       // folder and name
  std::string folder;     // as on disk, with its trailing "/"
  std::string name;       // as on disk
  std::string extension;  // lower case, without the dot
  MediaKind kind = MediaKind::kOther;
  std::time_t modified = 0;  // seconds since 1970
  std::uint64_t size = 0;    // bytes
  int depth = 0;
};

// Fills a file's extension and kind from the extension with its dot, as it stands in the name.
void set_extension(MediaFile& file, std::string_view extension);

// The tag columns of a song. The texts hold at most 30 bytes.
struct MusicFacts {
  std::string genre, artist, album, title;
  std::uint32_t bitrate = 0;  // kbit/s
};

// Everything that a media row says of its file. Only the file's own kind of facts is filled.
struct MediaRow {
  MediaFile file;
  std::string utf_folder, utf_name;  // the raw bytes where a conversion gave nothing
  int folder_status = 0;             // what the conversions answered, for messages
  int name_status = 0;
  MusicFacts music;
  VideoInfo video{};
  ImageProbe photo;
};

// Gathers a row from a file of any kind but MediaKind::kOther: converts folder and name to UTF-8, then reads
// what belongs to its kind. Absent for a photo whose format is not recognised.
[[nodiscard]] std::optional<MediaRow> read_media_row(Session& session, MediaFile file);

// False for a path, a name or a tag that no statement takes as it is: one that holds a `"`.
[[nodiscard]] bool catalogue_takes(std::string_view text);
[[nodiscard]] bool catalogue_takes(const MediaRow& row);

// How a caller words, for one kind of file, that the name could not be converted: around the status.
struct ConversionReport {
  MediaKind kind;
  const char *before, *after;
};

// Prints the conversions' statuses that are not 0: that of a song's folder, then that of the name in the
// caller's words. A kind that is missing in `reports` says nothing.
void report_conversions(const MediaRow& row, std::span<const ConversionReport> reports);

// A file's modification time as the column Date holds it: local time, "2026-11-21T20:15:00".
[[nodiscard]] std::string date_text(std::time_t time);

// Writes a row with the given row number and parent identifier. It takes its class's next object identifier,
// which is used up even when the insert fails. Returns SQLite's result code; a failure is said on standard
// error.
int insert_media_row(Session& session, const MediaRow& row, std::int64_t number, std::uint64_t parent);

// Writes what is known of the file into its class's row of that ROWID, with the given parent identifier;
// number, object identifier and a playlist's songs stay. Returns SQLite's result code.
int update_media_row(Session& session, const MediaRow& row, std::int64_t rowid, std::uint64_t parent);

}  // namespace corvexal
