// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/detected_charset.h"

#include <algorithm>
#include <iterator>
#include <string_view>

namespace corvexal {
namespace {

// The character sets that the detector's answers stand for. It takes Cyrillic texts for one another's sets:
// clients of the stores rely on what these rows make of them.
struct DetectedSet {
  std::string_view answer;
  const char* charset;
};
constexpr DetectedSet kDetectedSets[] = {{"windows-1251", "ISO-8859-1"}, {"IBM866", "ISO-8859-1"},
                                         {"windows-1252", "CP1252"},     {"KOI8-R", "CP1251"},
                                         {"gb18030", "autodetect_GB"},   {"", "autodetect_utf8"}};

}  // namespace

std::string charset_of_answer(const std::string& answer) {
  const auto* const row = std::find_if(std::begin(kDetectedSets), std::end(kDetectedSets),
                                       [&](const DetectedSet& set) { return set.answer == answer; });
  return row == std::end(kDetectedSets) ? answer : row->charset;
}

}  // namespace corvexal
