// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "metadata/tag_digest/byte_source.h"
#include "metadata/tag_digest/tag_digest.h"

// The digests of single formats; `offset` is where the format's own bytes begin.

namespace corvexal {

[[nodiscard]] TagDigest digest_of_flac(FileWindow& file, std::uint64_t offset);
[[nodiscard]] TagDigest digest_of_ogg(FileWindow& file, std::uint64_t offset);
[[nodiscard]] TagDigest digest_of_mp4(FileWindow& file, std::uint64_t offset);
[[nodiscard]] TagDigest digest_of_asf(FileWindow& file, std::uint64_t offset);
[[nodiscard]] TagDigest digest_of_wav(FileWindow& file, std::uint64_t offset);
[[nodiscard]] TagDigest digest_of_aiff(FileWindow& file, std::uint64_t offset);

}  // namespace corvexal
