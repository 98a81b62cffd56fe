// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/song_scanners.h"

#include <string_view>

#include "base/file.h"
#include "base/log.h"
#include "base/saturate.h"
#include "base/text.h"
#include "metadata/id3_tags.h"
#include "metadata/mp3_stream.h"
#include "metadata/mp4.h"
#include "metadata/standard_tags.h"

namespace corvexal {
namespace {

struct SongScanner {
  std::string_view extension;
  int (*tags)(TagDecoder& decoder, const std::string& path, SongInfo& song);
  int (*info)(const std::string& path, SongInfo& song);
};

// Their texts are UTF-8.
int mp4_tags(TagDecoder& /*decoder*/, const std::string& path, SongInfo& song) {
  return mp4_scan_tags(path, song);
}

constexpr SongScanner kScanners[] = {
    {"m4a", mp4_tags, mp4_scan_info},
    {"m4p", mp4_tags, mp4_scan_info},
    {"mp3", scan_get_mp3tags, scan_get_mp3fileinfo},
};

int probe_size(const std::string& path, SongInfo& song) {
  const File file(path);
  if (!file) {
    log_printf("Could not open %s for reading\n", path.c_str());
    return -1;
  }
  song.file_size = saturated(file.size());
  return 0;
}

}  // namespace

int scan_tags_by_type(TagDecoder& decoder, const std::string& path, SongInfo& song) {
  for (const SongScanner& scanner : kScanners)
    if (song.type && equal_ignoring_case(*song.type, scanner.extension))
      return scanner.tags(decoder, path, song);
  return 0;
}

int scan_info_by_type(const std::string& path, SongInfo& song) {
  // A "song.MP3" gets its tags but no stream information, only its size: clients of the store rely on that
  // difference from a "song.mp3", so the case is not folded here.
  for (const SongScanner& scanner : kScanners)
    if (song.type == scanner.extension) return scanner.info(path, song);
  return probe_size(path, song);
}

int scan_song(TagDecoder& decoder, const std::string& path, SongInfo& song) {
  if (decoder.standard) return read_standard_tags(decoder, path, song);
  const int tags = scan_tags_by_type(decoder, path, song);
  return tags != 0 ? tags : scan_info_by_type(path, song);
}

}  // namespace corvexal
