#pragma once

#include <string>

#include "base/file.h"
#include "metadata/mp3_header.h"
#include "metadata/song_info.h"

namespace corvexal {

// Replaces info.bitrate by the mean of ten consecutive frames from the middle of the file; leaves it as it is
// when there are no ten frames to be found there.
void mp3_average_bitrate(File& file, Mp3FrameInfo& info);

// Fills the stream fields of an MPEG audio file: file_size (bytes), bitrate (kbit/s, a mean), samplerate (Hz)
// and, when it is still 0, song_length (ms; by the frame count of a Xing header, else by size and bitrate).
// The search for the first frame begins behind an ID3v2 tag and starts over at 0 when no frame stands there.
// Returns -1 when the file cannot be opened or holds fewer than 1024 bytes, else 0: with file_size alone set
// when no frame is found. Reads a block of 1024 bytes at a time (2900 for the mean) and, once a block, what a
// frame beginning there can reach: memory and the number of reads are bounded whatever the file holds.
int scan_get_mp3fileinfo(const std::string& path, SongInfo& song);

}  // namespace corvexal
