// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstdint>
#include <cstdlib>

#include "base/text.h"
#include "metadata/charset.h"
#include "metadata/detected_charset.h"

// What a detector prints, up to a zero byte or 18 bytes of it, then the text that it was asked about. Any
// program of its name may be installed, and answer anything.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  constexpr std::size_t kLongestAnswer = 18;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const std::size_t end = std::min({input.find('\0'), kLongestAnswer, size});
  const std::string charset = corvexal::charset_of_answer(std::string(input.substr(0, end)));
  const std::string text(input.substr(std::min(end + 1, size)));

  static corvexal::Converters converters;
  const corvexal::Converted converted = corvexal::convert_to_utf8(converters, text, charset.c_str());
  if (converted.text.has_value() != (converted.status == 0)) std::abort();
  if (converted.text && !corvexal::is_utf8(*converted.text)) std::abort();
  // An answer leaves nothing behind that the next one meets.
  const corvexal::Converted again = corvexal::convert_to_utf8(converters, text, charset.c_str());
  if (again.text != converted.text || again.status != converted.status) std::abort();
  return 0;
}
