// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <id3tag.h>

#include <cstddef>
#include <string>

#include "metadata/converter.h"
#include "metadata/song_info.h"

// The texts of ID3 frames, which libid3tag gives as zero-terminated UCS-4 strings.

namespace corvexal {

// The frame's text: the first string of its second field, where that is a list of strings; else null.
// Comments have their language there, so they have no text in this sense. It lives as long as the frame.
[[nodiscard]] const id3_ucs4_t* id3_text_of(const id3_frame& frame);

// The bytes of a text as they stood in the file: one for a character below 256, two (high byte first) up to
// 0xFFFF, none above. They end soon after there are more than `most`.
[[nodiscard]] std::string ucs4_to_raw_bytes(const id3_ucs4_t* ucs4, std::size_t most);

// The text in UTF-8. One with an ideograph in it must have been Unicode in the tag; of any other the bytes,
// which a tag may call Latin-1 whatever they are, are converted from `charset`: the first 1023, up to a whole
// character. Absent when that fails.
[[nodiscard]] Text id3_text_to_utf8(Converters& converters, const id3_ucs4_t* text, const char* charset);

}  // namespace corvexal
