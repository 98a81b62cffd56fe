// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/file.h"

namespace corvexal {

// True when the file's ID3v2 tags can be handed to libid3tag, which holds them whole and makes up to 42 bytes
// of memory of one byte of a text. By the reckoning of id3_memory.h, reading them takes at most 48 MiB in
// all, most of which may be copies (two for each byte of a picture: one of 20 MiB passes), and at most 22 MiB
// for what the library builds beside them. A tag that is cut short counts with what there is of it. SEEK
// frames, which lead the library from tag to tag, and to the same one for ever, are let through nowhere. No
// tag, or a broken one, is as good as an empty one.
[[nodiscard]] bool id3_tags_are_bounded(File& file);

}  // namespace corvexal
