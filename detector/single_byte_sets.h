// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <span>
#include <string_view>

#include "detector/languages.h"

namespace corvexal {

// A character set of one byte a character whose lower half is ASCII.
struct SingleByteSet {
  std::string_view name;           // as iconv knows it
  Family family;                   // the languages that are written in it
  int rarity;                      // bits: how much less often it is met than the most common one
  std::u16string_view upper_half;  // what 0x80 to 0xFF stand for; "?" where nothing does
};

[[nodiscard]] std::span<const SingleByteSet> single_byte_sets();

}  // namespace corvexal
