// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "metadata/tag_digest/byte_source.h"

namespace corvexal {

// A small Vorbis comment header (without what containers put around it) with what is wanted of the one that
// `source` holds. It takes at most kLargestComment bytes.
[[nodiscard]] std::string digest_of_vorbis_comment(ByteSource& source);
inline constexpr std::size_t kLargestComment = 60'000;

}  // namespace corvexal
