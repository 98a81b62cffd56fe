// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <vector>

namespace corvexal::testing {

// Title, artist and album of one song, in UTF-8.
using SongTexts = std::vector<std::string>;

// Songs as people of one language write them, and the sets that they wrote them in before Unicode.
struct LanguageTexts {
  std::string language;               // the file's name: a language code
  std::vector<std::string> charsets;  // as iconv knows them
  std::vector<SongTexts> songs;
};

// The files of tests/detector/texts, by name: a line "# CHARSET ...", then lines "TITLE | ARTIST | ALBUM".
[[nodiscard]] std::vector<LanguageTexts> all_texts();

// The song's texts in the character set; none when they cannot be written in it.
[[nodiscard]] std::vector<std::string> encoded(const SongTexts& song, const std::string& charset);

// What Corvexal asks the detector about: the texts that fit in 100 bytes, side by side.
[[nodiscard]] std::string sample_of(const std::vector<std::string>& texts);

}  // namespace corvexal::testing
