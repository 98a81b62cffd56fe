#include "base/json_text.h"

#include <cstdint>
#include <cstdio>

namespace corvexal {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

// The length of the UTF-8 character at the start of a text; 0 when there is none.
std::size_t character_length(std::string_view text) {
  // The first bytes of each form, and the range that the second byte is in; the others are 0x80 to 0xBF.
  // Overlong forms, surrogates and what lies behind U+10FFFF fall between the rows.
  struct Form {
    std::uint8_t first, last, length, second_from, second_to;
  };
  static constexpr Form kForms[] = {
      {0x00, 0x7F, 1, 0, 0},       {0xC2, 0xDF, 2, 0x80, 0xBF}, {0xE0, 0xE0, 3, 0xA0, 0xBF},
      {0xE1, 0xEC, 3, 0x80, 0xBF}, {0xED, 0xED, 3, 0x80, 0x9F}, {0xEE, 0xEF, 3, 0x80, 0xBF},
      {0xF0, 0xF0, 4, 0x90, 0xBF}, {0xF1, 0xF3, 4, 0x80, 0xBF}, {0xF4, 0xF4, 4, 0x80, 0x8F},
  };
  const auto byte = [text](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
  for (const Form& form : kForms) {
    if (byte(0) < form.first || byte(0) > form.last) continue;
    if (text.size() < form.length) return 0;
    if (form.length > 1 && (byte(1) < form.second_from || byte(1) > form.second_to)) return 0;
    for (std::size_t i = 2; i < form.length; ++i)
      if (byte(i) < 0x80 || byte(i) > 0xBF) return 0;
    return form.length;
  }
  return 0;
}

void append_ascii(std::string& json, char c) {
  if (c == '"' || c == '\\') {
    json += '\\';
    json += c;
  } else if (static_cast<std::uint8_t>(c) < 0x20) {
    char escape[8];
    std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
    json += escape;
  } else {
    json += c;
  }
}

}  // namespace

std::string json_text(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const std::size_t length = character_length(text);
    if (length == 0) json += kReplacement;
    if (length == 1) append_ascii(json, text.front());
    if (length > 1) json += text.substr(0, length);
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return json += '"';
}

}  // namespace corvexal
