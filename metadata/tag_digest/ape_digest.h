// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

#include "metadata/tag_digest/byte_source.h"

namespace corvexal {

// A small APE tag (versions 1 and 2) with what is wanted of the one whose footer ends at offset `end` of the
// file; empty when there is none.
[[nodiscard]] std::string digest_of_ape_tag(FileWindow& file, std::uint64_t end);

}  // namespace corvexal
