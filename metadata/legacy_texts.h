// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "metadata/song_info.h"
#include "metadata/tag_decoder.h"

namespace corvexal {

// Decodes texts that come from one tag and are of one unknown encoding (or ASCII, which says something of the
// others' language): UTF-8 when all of them are that (but for a character that the end of a text has cut
// off), and any long enough to be so by no accident, else the character set that the device's detector sees
// in all of them together, else, and for a text that does not fit that, what the lists of the run's code page
// give. Texts hold no zero bytes. Each becomes UTF-8, absent where nothing fits.
//
// `album` are the bytes of the song's artist and album. Where they are no ASCII, the next songs with the same
// ones are of the same encoding, and the detector is not asked again while their texts fit it.
[[nodiscard]] std::vector<Text> decode_legacy_texts(TagDecoder& decoder,
                                                    const std::vector<std::string>& texts,
                                                    const std::string& album = "");

}  // namespace corvexal
