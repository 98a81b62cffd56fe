// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_digest/digest_stream.h"

#include <algorithm>
#include <limits>

namespace corvexal {

TagLib::ByteVector DigestStream::readBlock(unsigned long length) {
  const auto left = static_cast<unsigned long>(std::max(this->length() - at_, 0L));
  length = std::min({length, left, left_to_give_});
  left_to_give_ -= length;

  const std::uint64_t begin = static_cast<std::uint64_t>(at_), end = begin + length;
  TagLib::ByteVector bytes(static_cast<unsigned>(length), '\0');
  const auto copy = [&](const std::string& part, std::uint64_t part_begin) {
    const std::uint64_t from = std::max(begin, part_begin), to = std::min(end, part_begin + part.size());
    if (from < to) std::copy_n(part.data() + (from - part_begin), to - from, bytes.data() + (from - begin));
  };
  copy(digest_.head, 0);
  copy(digest_.tail, digest_.head.size() + digest_.gap);
  at_ += static_cast<long>(length);
  return bytes;
}

void DigestStream::seek(long offset, Position from) {
  const long base = from == Beginning ? 0 : from == Current ? at_ : length();
  if (__builtin_add_overflow(base, offset, &at_)) at_ = std::numeric_limits<long>::max();
  at_ = std::max(at_, 0L);
}

long DigestStream::length() {
  constexpr auto kMost = static_cast<std::uint64_t>(std::numeric_limits<long>::max());
  return static_cast<long>(std::min(kMost, digest_.head.size() + digest_.gap + digest_.tail.size()));
}

}  // namespace corvexal
