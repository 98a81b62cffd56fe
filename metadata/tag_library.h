// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <string>

#include "metadata/tag_digest/tag_digest.h"

// TagLib, and the C++ library that it needs, take longer to load than most runs take. They come with a module
// that is loaded when the first tag is to be read as its standard says: the file
// ../lib/corvexal/standard_tags.so, seen from the program's own folder and from nowhere else.

namespace corvexal {

// What TagLib says of a file.
struct TagFields {
  std::map<std::string, std::string, std::less<>> texts;  // UTF-8, none blank, under TagLib's names
  int song_length = 0;                                    // ms
  int bitrate = 0;                                        // kbit/s
  int samplerate = 0;                                     // Hz
};

// What the module exports, under the name kTagLibrary. Module and program may each have a C++ library of
// their own, and other functions for memory: nothing is thrown across, and what is returned stays the
// module's and good until the next call of the same function. Null says that memory has run out.
struct TagLibrary {
  // Reads the digest with TagLib's reader of its format: the first value of each field, of the first tag that
  // has one.
  const TagFields* (*read)(const TagDigest& digest) noexcept;
  // The name of an ID3v1 genre; empty for a number without one.
  const char* (*genre)(int number) noexcept;
};
inline constexpr char kTagLibrary[] = "corvexal_tag_library";

// Whether the module is there. It is not in a build without TagLib.
[[nodiscard]] bool has_tag_library();

// The module, loaded on the first call. Throws std::runtime_error when it cannot be loaded.
[[nodiscard]] const TagLibrary& tag_library();

}  // namespace corvexal
