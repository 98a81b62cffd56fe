// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <iterator>
#include <string>
#include <string_view>

#include "tests/support/bytes.h"

// Builds ID3 tags byte by byte; see id3.org.
namespace corvexal::testing {

inline std::string repeated(const std::string& text, std::size_t count) {
  std::string all;
  while (count-- > 0) all += text;
  return all;
}

// Four bytes of seven bits each.
inline std::string syncsafe(std::size_t value) {
  std::string text;
  for (const int shift : {21, 14, 7, 0}) text += static_cast<char>(value >> shift & 0x7F);
  return text;
}

// A frame of tag version 2.2, 2.3 or 2.4, by its last number. `format` is the low byte of the flags.
inline std::string id3_frame(int version, std::string_view id, std::string_view body, int format = 0) {
  std::string frame(id);
  if (version == 2) return frame.append(be(std::ssize(body), 3)).append(body);
  frame += version == 3 ? be(std::ssize(body), 4) : syncsafe(body.size());
  frame += be(format, 2);
  return frame.append(body);
}

// A text frame in Latin-1.
inline std::string id3_text(int version, std::string_view id, std::string_view text) {
  return id3_frame(version, id, std::string(1, '\0').append(text));
}

inline std::string id3_tag_bytes(int version, std::string_view frames, int flags = 0) {
  std::string tag = "ID3";
  tag += static_cast<char>(version);
  tag += '\0';
  tag += static_cast<char>(flags);
  return tag.append(syncsafe(frames.size())).append(frames);
}

}  // namespace corvexal::testing
