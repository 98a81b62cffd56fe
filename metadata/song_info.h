// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace corvexal {

// A text that may be absent: absent and empty are different here.
using Text = std::optional<std::string>;

// What is known of one audio file. Every field starts absent or zero.
struct SongInfo {
  Text path;   // folder, "/", file name
  Text fname;  // file name without folder
  Text title;
  Text artist;
  Text album;
  Text genre;
  Text comment;
  Text type;  // the text after the last "." of the file name, as written
  Text composer;
  Text orchestra;
  Text conductor;
  Text grouping;
  Text url;  // stream address of a playlist entry

  std::int32_t bitrate = 0;      // kbit/s
  std::int32_t samplerate = 0;   // Hz
  std::int32_t song_length = 0;  // ms
  std::int32_t file_size = 0;    // bytes
  std::int32_t year = 0;
  std::int32_t track = 0;
  std::int32_t total_tracks = 0;
  std::int32_t disc = 0;
  std::int32_t total_discs = 0;
  std::int32_t time_added = 0;  // seconds since 1970, as are the next three
  std::int32_t time_modified = 0;
  std::int32_t time_played = 0;
  std::int32_t time_stored = 0;
  std::int32_t bpm = 0;

  std::uint32_t id = 0;  // low 32 bits of the inode number: the song store's key
  Text description;      // in memory only, as are item_kind and data_kind
  std::int32_t item_kind = 0;
  std::int32_t data_kind = 0;
  std::uint8_t compilation = 0;
};

}  // namespace corvexal
