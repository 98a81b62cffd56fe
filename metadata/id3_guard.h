#pragma once

#include "base/file.h"

namespace corvexal {

// True when the file's ID3v2 tags (id3.org, versions 2.2 to 2.4) can be handed to libid3tag, which holds them
// whole, unpacks compressed frames to whatever they come to and needs up to 44 bytes for each byte of a
// text. Reading them takes at most 48 MiB by this reckoning: the bytes of each tag once more for every frame
// with a picture or other data (a picture of 20 MiB passes), 48 times for every other frame, compressed
// ones at their unpacked size, and 512 bytes a frame. A tag that is cut short counts with what there is of
// it. SEEK frames, which lead the library from tag to tag, and to the same one for ever, are let through
// nowhere. No tag, or a broken one, is as good as an empty one.
[[nodiscard]] bool id3_tags_are_bounded(File& file);

}  // namespace corvexal
