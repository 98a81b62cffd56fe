// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/id3_texts.h"

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <string_view>

#include "metadata/charset.h"

namespace corvexal {
namespace {

constexpr std::size_t kLongestText = 1023;

struct FreeText {
  void operator()(id3_utf8_t* text) const noexcept { std::free(text); }  // NOLINT: made by the library
};

// True when the text holds a character of the CJK Unified Ideographs block.
bool ucs4_has_cjk(const id3_ucs4_t* ucs4) {
  for (; *ucs4 != 0; ++ucs4)
    if (*ucs4 >= 0x4E00 && *ucs4 <= 0x9FBF) return true;
  return false;
}

// Converts without a terminator, so that a character cut in two is dropped.
Text beginning_to_utf8(Converters& converters, std::string_view text, const char* charset) {
  Text utf8;
  iconv_string(converters, "UTF-8", charset, text.substr(0, kLongestText), &utf8);
  if (utf8) utf8->resize(std::min(utf8->size(), utf8->find('\0')));
  return utf8;
}

}  // namespace

const id3_ucs4_t* id3_text_of(const id3_frame& frame) {
  if (!std::string_view(frame.id).starts_with('T')) return nullptr;  // a comment (COMM) has a language there
  const id3_field* const field = id3_frame_field(&frame, 1);
  return field == nullptr ? nullptr : id3_field_getstrings(field, 0);  // null when it holds no list
}

std::string ucs4_to_raw_bytes(const id3_ucs4_t* ucs4, std::size_t most) {
  std::string bytes;
  for (; *ucs4 != 0 && bytes.size() <= most; ++ucs4) {
    if (*ucs4 > 0xFFFF) continue;
    if (*ucs4 > 0xFF) bytes += static_cast<char>(*ucs4 >> 8);
    bytes += static_cast<char>(*ucs4 & 0xFF);
  }
  return bytes;
}

Text id3_text_to_utf8(Converters& converters, const id3_ucs4_t* text, const char* charset) {
  if (ucs4_has_cjk(text)) {
    const std::unique_ptr<id3_utf8_t, FreeText> utf8(id3_ucs4_utf8duplicate(text));
    return utf8 ? Text(reinterpret_cast<const char*>(utf8.get())) : std::nullopt;
  }
  const std::string bytes = ucs4_to_raw_bytes(text, kLongestText);
  if (bytes.size() > kLongestText) return beginning_to_utf8(converters, bytes, charset);
  return convert_to_utf8(converters, bytes, charset).text;
}

}  // namespace corvexal
