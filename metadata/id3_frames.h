// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "base/byte_reader.h"

// ID3v2 tags (id3.org, versions 2.2 to 2.4) as libid3tag walks through them: it takes later versions for 2.4
// and reads none before 2.2.
//
// A tag:   "ID3" | version, 2 bytes | flags | size, 4 bytes of 7 bits | extended header | frames | padding |
//          footer. The footer is the header again with "3DI"; header and footer do not count in the size.
// A frame: id, 4 bytes | size, 4 bytes (of 7 bits in version 2.4) | flags, 2 bytes | body
//          In version 2.2: id, 3 bytes | size, 3 bytes | body

namespace corvexal {

inline constexpr std::size_t kId3HeaderSize = 10;

struct Id3Header {
  int version;  // 2 for 2.2 and so on
  std::uint8_t flags;
  std::uint32_t size;

  // True when the whole tag was made to look unlike audio. Later versions do it to single frames.
  [[nodiscard]] bool is_unsynchronised() const { return version < 4 && (flags & 0x80) != 0; }
};

// The header that `bytes` begin with after `mark`; nothing where the library sees none.
[[nodiscard]] std::optional<Id3Header> id3_header(Bytes bytes, std::string_view mark);

struct Id3Frame {
  int version = 0;
  std::string_view id;
  std::uint8_t format = 0;  // the low byte of its flags
  Bytes body;
};

// The frames of one tag in turn.
class Id3Frames {
 public:
  // `body` is what follows the header, without what unsynchronisation put in.
  Id3Frames(const Id3Header& header, Bytes body);

  // False at the padding, at the end, and where the frame does not fit.
  bool next(Id3Frame& frame);

 private:
  [[nodiscard]] std::uint32_t body_size() const;

  int version_;
  Bytes left_;
};

// A number of four bytes of eight bits, or of seven; 0 where there are fewer bytes.
[[nodiscard]] std::uint32_t id3_number(Bytes bytes);
[[nodiscard]] std::uint32_t id3_syncsafe_number(Bytes bytes);

// Takes out the zero bytes that keep a tag from looking like audio: one after each 0xFF.
void undo_unsynchronisation(std::vector<std::uint8_t>& bytes);

}  // namespace corvexal
