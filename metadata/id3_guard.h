#pragma once

#include "base/file.h"

namespace corvexal {

// True when the file's ID3v2 tags (id3.org, versions 2.2 to 2.4) can be handed to libid3tag, which holds them
// whole, in up to fourteen times their size, unpacks compressed frames to whatever they come to and follows
// SEEK frames from tag to tag: all tags together, compressed frames at their unpacked size, have at most 16
// MiB, and SEEK frames lead to at most three more. No tag, or one that is cut short or broken, is as good as
// an empty one.
[[nodiscard]] bool id3_tags_are_bounded(File& file);

}  // namespace corvexal
