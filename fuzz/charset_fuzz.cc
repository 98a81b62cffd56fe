// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/charset.h"

#include <algorithm>
#include <iterator>

#include "base/text.h"
#include "fuzz/input.h"
#include "metadata/detected_charset.h"

// One byte that chooses the source set, then the text. After the last set what a detector prints stands
// before the text, ended by a byte of its own or by its length: any program may be installed under its name,
// and answer anything.
void corvexal::try_input(Bytes bytes) {
  static constexpr const char* kSets[] = {
      "autodetect_utf8", "autodetect_jp", "autodetect_kr", "autodetect_BIG5", "autodetect_GB", "HZ",
      "EUC-JP",          "CP949",         "BIG5-HKSCS",    "ISO-2022-CN-EXT", "ISO-2022-JP-2", "GB18030"};
  constexpr std::size_t kLongestAnswer = 18;
  if (bytes.empty()) return;
  std::string_view text = as_text(bytes.subspan(1));
  std::string charset;
  if (bytes[0] < std::size(kSets)) {
    charset = kSets[bytes[0]];
  } else {
    const std::size_t end = std::min({text.find('\0'), kLongestAnswer, text.size()});
    charset = charset_of_answer(std::string(text.substr(0, end)));
    text.remove_prefix(std::min(end + 1, text.size()));
  }

  static Converters converters;
  const Converted converted = convert_to_utf8(converters, text, charset.c_str());
  require(converted.text.has_value() == (converted.status == 0));
  require(!converted.text || is_utf8(*converted.text));
  // Testing a text says what converting it says, and neither leaves anything behind that the next one meets.
  const std::string terminated = std::string(text) + '\0';
  require(iconv_string(converters, "UTF-8", charset.c_str(), terminated, nullptr) == converted.status);
  require(convert_to_utf8(converters, text, charset.c_str()).text == converted.text);
}
