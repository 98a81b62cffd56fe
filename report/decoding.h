// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

#include "metadata/converter.h"

namespace corvexal::report {

// Tells from a tag's text whether its bytes were read in the wrong character set.
class DecodingJudge {
 public:
  // True when the text shows marks of that: replacement characters, controls above ASCII, private-use
  // characters, UTF-8 read as Latin-1 ("Ã©"), four accented Western letters in a row (Cyrillic or Greek read
  // as Latin-1), question marks in place of the letters, one rare ideograph inside a Western word, or bytes
  // that are no UTF-8. A character cut off at the text's end is no such mark: the catalogue keeps 30 bytes of
  // a text. Right texts of any tongue pass; wrong ones may.
  [[nodiscard]] bool looks_wrong(std::string_view text);

 private:
  [[nodiscard]] bool is_rare(std::string_view ideograph);

  Converters converters_;
};

}  // namespace corvexal::report
