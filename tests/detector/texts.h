// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

#include "base/code_page.h"

namespace corvexal::testing {

// Title, artist and album of one song, in UTF-8.
using SongTexts = std::vector<std::string>;

// Songs as people of one language write them, and the sets that they wrote them in before Unicode.
struct LanguageTexts {
  std::string language;               // the file's name: a language code
  std::vector<std::string> charsets;  // as iconv knows them
  std::vector<SongTexts> songs;
};

// How many songs of how many come out right to the byte in all their texts.
struct Score {
  int right = 0, all = 0;

  void add(bool is_right) { *this += {is_right ? 1 : 0, 1}; }
  Score& operator+=(const Score& other) {
    right += other.right;
    all += other.all;
    return *this;
  }
  [[nodiscard]] double percent() const { return all == 0 ? 0 : 100.0 * right / all; }
};

// The code page of a device on which the character set was in use, for East Asian ones.
[[nodiscard]] CodePage code_page_of(const std::string& charset);

// The files of tests/detector/texts, by name: a line "# CHARSET ...", then lines "TITLE | ARTIST | ALBUM".
[[nodiscard]] std::vector<LanguageTexts> all_texts();

// The song's texts in the character set; none when they cannot be written in it.
[[nodiscard]] std::vector<std::string> encoded(const SongTexts& song, const std::string& charset);

// What Corvexal asks the detector about: the texts that fit in 100 bytes, side by side.
[[nodiscard]] std::string sample_of(const std::vector<std::string>& texts);

}  // namespace corvexal::testing
