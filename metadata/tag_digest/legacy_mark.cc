// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_digest/legacy_mark.h"

#include <algorithm>

#include "base/text.h"

namespace corvexal {
namespace {

constexpr std::string_view kMark = "\xEF\xA3\xBE";  // U+F8FE, for private use: no text begins with it

// ISO-2022 sets are of ASCII bytes, but for the escapes between them.
bool is_plain(std::string_view text) {
  return is_ascii(text) && text.find('\x1B') == std::string_view::npos;
}

std::string disguised(std::string_view bytes) {
  std::string utf8(kMark);
  for (const char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x80) utf8 += static_cast<char>(0xC0 | byte >> 6);
    utf8 += static_cast<char>(byte < 0x80 ? byte : 0x80 | (byte & 0x3F));
  }
  return utf8;
}

}  // namespace

std::string utf8_or_disguised(std::string_view bytes, bool claims_utf8) {
  const bool was_cut = bytes.size() >= kLongestTagText;
  bytes = bytes.substr(0, bytes.find('\0')).substr(0, kLongestTagText);
  if (is_plain(bytes)) return std::string(bytes);
  if (!claims_utf8 || is_ascii(bytes)) return disguised(bytes);
  const std::string_view whole = was_cut ? utf8_prefix(bytes, bytes.size()) : bytes;
  return is_utf8(whole) ? std::string(whole) : disguised(bytes);
}

std::optional<std::string> undisguised(std::string_view utf8) {
  if (!utf8.starts_with(kMark)) return std::nullopt;
  utf8.remove_prefix(kMark.size());
  std::string bytes;
  while (!utf8.empty()) {
    const std::size_t length = utf8_character_length(utf8);
    const auto lead = static_cast<unsigned char>(utf8[0]);
    if (length == 0 || length > 2 || (length == 2 && lead > 0xC3)) return std::nullopt;
    bytes += length == 1 ? utf8[0] : static_cast<char>(lead << 6 | (utf8[1] & 0x3F));
    utf8.remove_prefix(length);
  }
  return bytes;
}

}  // namespace corvexal
