// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/legacy_texts.h"

#include <algorithm>

#include "base/text.h"
#include "metadata/charset.h"
#include "metadata/detected_charset.h"

namespace corvexal {
namespace {

constexpr std::size_t kLongestSample = 1000;  // bytes

// The UTF-8 that the text is (and no ISO-2022, whose escapes are ASCII too), without a character that its end
// cut in two; absent when it is no UTF-8 or when the cut one would be its only character outside ASCII, as
// the last letter of many a Latin-1 text would.
Text as_utf8(const std::string& text) {
  const std::string_view whole = utf8_prefix(text, text.size());
  if (!is_utf8(whole) || text.find('\x1B') != std::string::npos) return std::nullopt;
  if (whole.size() < text.size() && is_ascii(whole)) return std::nullopt;
  return std::string(whole);
}

// So many characters are no accident: of texts in another encoding, Chinese ones in GB 2312 are the likeliest
// to be UTF-8 as well, and of those with five characters one in 5000 is.
constexpr int kSurelyUtf8 = 5;

bool is_surely_utf8(const Text& utf8) {
  const auto begins_character = [](char c) { return (c & 0xC0) == 0xC0; };
  return utf8 && std::count_if(utf8->begin(), utf8->end(), begins_character) >= kSurelyUtf8;
}

std::string sample_of(const std::vector<std::string>& texts) {
  std::string sample;
  for (const std::string& text : texts) sample += text;
  sample.resize(std::min(sample.size(), kLongestSample));
  return sample;
}

// The zeros tell a converter that would wait for the rest of a character that there is none: a text that ends
// in half a character is no text of that set.
Text to_utf8(TagDecoder& decoder, const std::string& text, const std::string& charset) {
  constexpr std::size_t kLongestCharacter = 4;  // bytes
  return convert_to_utf8(decoder.converters, text + std::string(kLongestCharacter, '\0'), charset.c_str())
      .text;
}

// The detector's answer for these texts of a song of the album.
std::string answer_for(TagDecoder& decoder, const std::vector<std::string>& texts, const std::string& album) {
  AlbumAnswer& last = decoder.last_album;
  const bool fits = album == last.album && !last.answer.empty() &&
                    std::all_of(texts.begin(), texts.end(), [&](const std::string& text) {
                      return to_utf8(decoder, text, charset_of_answer(last.answer)).has_value();
                    });
  if (fits) return last.answer;
  std::string answer = decoder.detector.detect(sample_of(texts));
  if (!is_ascii(album)) last = {album, answer};
  return answer;
}

}  // namespace

std::vector<Text> decode_legacy_texts(TagDecoder& decoder, const std::vector<std::string>& texts,
                                      const std::string& album) {
  std::vector<Text> decoded;
  if (texts.empty()) return decoded;
  for (const std::string& text : texts) decoded.push_back(as_utf8(text));
  if (std::all_of(decoded.begin(), decoded.end(), [](const Text& text) { return text.has_value(); }))
    return decoded;

  std::vector<std::string> unknown;
  for (std::size_t i = 0; i < texts.size(); ++i)
    if (!is_surely_utf8(decoded[i])) unknown.push_back(texts[i]);
  const std::string answer = answer_for(decoder, unknown, album);
  for (std::size_t i = 0; i < texts.size(); ++i) {
    if (is_surely_utf8(decoded[i]) || (decoded[i] && is_ascii(*decoded[i]))) continue;
    decoded[i] = answer.empty() ? std::nullopt : to_utf8(decoder, texts[i], charset_of_answer(answer));
    if (!decoded[i]) decoded[i] = to_utf8(decoder, texts[i], decoder.code_page_set);
  }
  return decoded;
}

}  // namespace corvexal
