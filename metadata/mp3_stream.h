// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "metadata/file_window.h"
#include "metadata/song_info.h"

namespace corvexal {

// Fills the stream fields of an MPEG audio file: file_size (bytes), bitrate (kbit/s, a mean), samplerate (Hz)
// and, when it is still 0, song_length (ms; by the frame count of a Xing header, else by size and bitrate).
// Returns -1 when the file cannot be opened or holds fewer than 1024 bytes, else 0: with file_size alone set
// when no frame is found. The file is read once, a bounded piece at a time.
int scan_get_mp3fileinfo(const std::string& path, SongInfo& song);

// The same for the file at `path` that is open already.
int scan_mp3_stream(FileWindow& file, const std::string& path, SongInfo& song);

}  // namespace corvexal
