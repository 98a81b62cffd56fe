// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string_view>

namespace corvexal {

// The class of a file, decided by its extension.
enum class MediaKind { kOther, kPhoto, kVideo, kMusic, kPlaylist, kSubtitle };

// The extension of a path, from its last "." on, as adding and scanning take it; absent when there is no "."
// or 6 or more characters follow it.
[[nodiscard]] std::optional<std::string_view> media_extension(std::string_view path);

// The class of an extension (dot included), compared as a whole and without regard to case.
[[nodiscard]] MediaKind media_kind(std::string_view extension);

// The MIME type by which media servers announce files of an extension, compared likewise; empty where the
// table has none.
[[nodiscard]] std::string_view media_mime_type(std::string_view extension);

// The catalogue's table for a class; null for MediaKind::kOther. Playlists live with the music, subtitles and
// disc files with the videos.
[[nodiscard]] const char* media_table(MediaKind kind);

// The classes by which removal and the sort tables go.
enum class MediaClass { kMusic, kVideo, kPhoto };

// The class that removal looks for an extension (dot included) in; absent when it cannot be removed. The list
// is its own: some extensions can be removed that are never added, and the reverse.
[[nodiscard]] std::optional<MediaClass> media_class_for_removal(std::string_view extension);

}  // namespace corvexal
