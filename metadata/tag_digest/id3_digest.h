// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "metadata/tag_digest/byte_source.h"

namespace corvexal {

// Where the ID3v2 tags at the file's beginning end; 0 when there are none.
[[nodiscard]] std::uint64_t end_of_id3v2(FileWindow& file);

// A small ID3v2 tag (id3.org, versions 2.2 to 2.4) with what is wanted of the one that the range begins with;
// empty when there is none or nothing in it. Its texts are UTF-8, disguised where they are not Unicode, or
// UTF-16, each up to its first zero character. Compressed and encrypted frames are left out.
[[nodiscard]] std::string digest_of_id3v2(FileRange range);

// The same of a tag that ends, with its footer, at `end`, as version 2.4 may stand after the sound.
[[nodiscard]] std::string digest_of_id3v2_before(FileWindow& file, std::uint64_t end);

// The ID3v1 tag at the file's end as it is; empty when there is none.
[[nodiscard]] std::string id3v1_tag(FileWindow& file);

}  // namespace corvexal
