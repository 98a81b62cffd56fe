// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include "metadata/converter.h"
#include "metadata/song_info.h"

namespace corvexal {

// Converts `input` from one named character set to another; a pseudo set ("autodetect_utf8", "autodetect_jp",
// "autodetect_kr", "autodetect_BIG5", "autodetect_GB") stands for a list of candidates tried in turn, a
// candidate being left for the next one only when the input is no valid text in it (EILSEQ). An incomplete
// character at the end is dropped. Callers pass the terminating NUL as part of the input. With a null
// `result` the input is only tested. Returns 0, or -1 with errno set (EINVAL for an unknown name, EILSEQ,
// ENOMEM) and `result` as it was.
int iconv_string(Converters& converters, const char* tocode, const char* fromcode, std::string_view input,
                 Text* result);

// What a conversion gave: iconv_string's answer, and the text without its terminator, absent when there is
// none.
struct Converted {
  int status = 0;
  Text text;
};

// Converts a text, given without a terminator, from `fromcode` to UTF-8 with its terminator after it.
[[nodiscard]] Converted convert_to_utf8(Converters& converters, std::string_view text, const char* fromcode);

// The character set of the names on the disk.
class NameCharset {
 public:
  explicit NameCharset(std::string charset = "autodetect_utf8") : charset_(std::move(charset)) {}

  // Reads the device's code page file and takes the pseudo set that it stands for. Returns its class, 1 to 5,
  // or 0 with the set as it was when the file cannot be opened.
  int CodePageType();

  [[nodiscard]] const std::string& charset() const { return charset_; }

  // Converts a name or a path, given without a terminator.
  [[nodiscard]] Converted to_utf8(std::string_view name);

 private:
  std::string charset_;
  Converters converters_;
};

}  // namespace corvexal
