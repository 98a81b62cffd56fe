// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cstddef>
#include <iterator>

#include "metadata/c_library_decoders.h"

namespace corvexal {
namespace {

struct Punctuation {
  std::string_view big5;
  std::string_view utf8;
};

constexpr Punctuation kPunctuation[] = {
    {"\xA1\x45", "\u2022"}, {"\xA1\x4E", "\uFF64"}, {"\xA1\xC2", "\u203E"}, {"\xA1\xE3", "\u223C"},
    {"\xA1\xF2", "\u2641"}, {"\xA1\xF3", "\u2609"}, {"\xA2\x41", "\uFF0F"}, {"\xA2\x42", "\uFF3C"},
    {"\xA2\x44", "\u00A5"}, {"\xA2\x46", "\u00A2"}, {"\xA2\x47", "\u00A3"},
};

const Punctuation* punctuation_at(std::string_view text) {
  return std::find_if(std::begin(kPunctuation), std::end(kPunctuation),
                      [&](const Punctuation& mark) { return text.starts_with(mark.big5); });
}

// How many bytes come before the first of the marks.
std::size_t length_of_piece(std::string_view text) {
  std::size_t at = 0;
  while (at < text.size() && punctuation_at(text.substr(at)) == std::end(kPunctuation))
    at += static_cast<unsigned char>(text[at]) < 0x80 ? 1 : 2;
  return std::min(at, text.size());
}

}  // namespace

int decode_big5(std::string_view text, const ConvertPiece& convert) {
  for (;;) {
    const std::size_t length = length_of_piece(text);
    if (const int error = convert("BIG5", text.substr(0, length)); error != 0) return error;
    text.remove_prefix(length);
    if (text.empty()) return 0;
    const Punctuation& mark = *punctuation_at(text);
    if (const int error = convert("UTF-8", mark.utf8); error != 0) return error;
    text.remove_prefix(mark.big5.size());
  }
}

}  // namespace corvexal
