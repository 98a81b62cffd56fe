// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "metadata/tag_digest/audio_format.h"

namespace corvexal {

// A made-up file of the same format as a real one and with what is wanted of its tags and headers, but
// without pictures and sound, which TagLib would carry along whole or look through at length: `head`, a gap
// of zero bytes in the place of the sound, `tail`. Head and tail take at most some 300 KiB whatever the file
// holds, and are well-formed: no size in them is wrong.
struct TagDigest {
  AudioFormat format = AudioFormat::kUnknown;
  std::string head;
  std::uint64_t gap = 0;  // bytes
  std::string tail;
  // Fields that TagLib does not look for, under its names; texts as utf8_or_disguised() gives them.
  std::vector<std::pair<std::string, std::string>> texts;
};

// Makes the digest of a file: of the ID3v2 and ID3v1 (id3.org) and APE tags of an MPEG audio file and any of
// unknown format; of FLAC, Ogg Vorbis and Opus (xiph.org), MP4 (ISO/IEC 14496-12), ASF, Monkey's Audio, WAV
// and AIFF with their own tags, an ID3v2 tag included where they have one. A format whose first header is
// broken gives an empty digest.
[[nodiscard]] TagDigest digest_of(FileWindow& file, const AudioContent& content);

}  // namespace corvexal
