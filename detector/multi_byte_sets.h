// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "base/code_page.h"

namespace corvexal {

// A character's length in bytes, 0 when the bytes are none, and how many bits it costs.
struct MultiByteCharacter {
  std::size_t length = 0;
  double bits = 0;
};

// A character set with characters of several bytes.
struct MultiByteSet {
  std::string_view name;  // as iconv knows it
  int rarity;             // bits: how much less often it is met than the most common set
  CodePage code_page;     // of the devices that it is met on, else kOther
  bool holds_ascii;       // bytes below 0x80 stand for themselves
  // The character at the front of a text that is not empty, where it is not ASCII.
  MultiByteCharacter (*first)(std::string_view text);
};

[[nodiscard]] std::span<const MultiByteSet> multi_byte_sets();

}  // namespace corvexal
