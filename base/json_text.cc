// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/json_text.h"

#include <cstdint>

#include "base/text.h"

namespace corvexal {
namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

void append_ascii(std::string& json, char c) {
  if (c == '"' || c == '\\') {
    json += '\\';
    json += c;
  } else if (static_cast<std::uint8_t>(c) < 0x20) {
    json += "\\u00" + hex_digits(c);
  } else {
    json += c;
  }
}

}  // namespace

std::string json_text(std::string_view text) {
  std::string json = "\"";
  while (!text.empty()) {
    const std::size_t length = utf8_character_length(text);
    if (length == 0) json += kReplacement;
    if (length == 1) append_ascii(json, text.front());
    if (length > 1) json += text.substr(0, length);
    text.remove_prefix(length == 0 ? 1 : length);
  }
  return json += '"';
}

}  // namespace corvexal
