// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <vector>

#include "base/byte_reader.h"
#include "metadata/song_info.h"

// The DAAP server's record of one song: one value of its gdbm song store, whose key is the 4 bytes of the
// song's id. The server on the same host reads and writes the same records, so numbers are in host byte
// order.

namespace corvexal {

using PackedSong = std::vector<std::uint8_t>;

// The stored numbers and texts, in the record's order.
struct NamedNumber {
  const char* name;
  std::int32_t SongInfo::*field;
};
inline constexpr NamedNumber kStoredNumbers[] = {
    {"bitrate", &SongInfo::bitrate},
    {"samplerate", &SongInfo::samplerate},
    {"song_length", &SongInfo::song_length},
    {"file_size", &SongInfo::file_size},
    {"year", &SongInfo::year},
    {"track", &SongInfo::track},
    {"total_tracks", &SongInfo::total_tracks},
    {"disc", &SongInfo::disc},
    {"total_discs", &SongInfo::total_discs},
    {"time_added", &SongInfo::time_added},
    {"time_modified", &SongInfo::time_modified},
    {"time_played", &SongInfo::time_played},
    {"time_stored", &SongInfo::time_stored},
    {"bpm", &SongInfo::bpm},
};

struct NamedText {
  const char* name;
  Text SongInfo::*field;
};
inline constexpr NamedText kStoredTexts[] = {
    {"path", &SongInfo::path},
    {"fname", &SongInfo::fname},
    {"title", &SongInfo::title},
    {"artist", &SongInfo::artist},
    {"album", &SongInfo::album},
    {"genre", &SongInfo::genre},
    {"comment", &SongInfo::comment},
    {"type", &SongInfo::type},
    {"composer", &SongInfo::composer},
    {"orchestra", &SongInfo::orchestra},
    {"conductor", &SongInfo::conductor},
    {"grouping", &SongInfo::grouping},
    {"url", &SongInfo::url},
};

// Packs a song into a record. A text ends at its first NUL; an absent and an empty one are stored alike.
// Description, item_kind and data_kind are not stored. Nothing when memory runs out or the record would be
// larger than a gdbm value may be (INT_MAX bytes).
[[nodiscard]] std::optional<PackedSong> pack_song(const SongInfo& song);

// Replaces `song` by the record's content, as the store's users see it: the path lacks its first four
// characters (see shortened_path), empty texts are absent, and the fields of make_composite_tags are filled.
// A record of another version is named in the log and unpacked all the same. A record may be cut or lie about
// its lengths: numbers beyond its end read as 0, texts that do not end inside it as absent. Returns 0.
int unpack_song(Bytes record, SongInfo& song);

// Replaces `song` by what the record holds and nothing else: the full path, no derived fields.
void read_stored_song(Bytes record, SongInfo& song);

// The path as unpack_song gives it: the text that starts at the stored path's fifth byte. For a path of less
// than four characters that is a piece of the texts that follow.
[[nodiscard]] Text shortened_path(Bytes record);

// The record's first word; 0 when there is none.
[[nodiscard]] std::uint32_t record_version(Bytes record);
inline constexpr std::uint32_t kRecordVersion = 8;

// The id inside the record, which equals its key unless the record was torn; 0 when it is cut before it.
[[nodiscard]] std::uint32_t record_id(Bytes record);

// True for a record of our version whose lengths add up to its size.
[[nodiscard]] bool is_whole_record(Bytes record);

}  // namespace corvexal
