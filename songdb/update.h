#pragma once

#include <string>
#include <string_view>

#include "metadata/tag_decoder.h"
#include "songdb/store.h"

namespace corvexal {

// True for the name of a file that the store keeps songs of: .mp3, .m4a, .m4p and .wav, without regard to
// case.
[[nodiscard]] bool is_store_song(std::string_view name);

// Brings the song store up to date for one music file of a directory scan: deletes the first record whose
// path begins with the file's, then scans the file anew and stores it. Returns 1, also for a folder or a file
// of another kind, which are left alone, or -1 with a line in the log when there is no such file. A file
// whose tags or stream cannot be read is skipped with a line in the log.
int update_song(SongStore& store, TagDecoder& decoder, const std::string& path);

}  // namespace corvexal
