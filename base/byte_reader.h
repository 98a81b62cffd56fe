// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>

namespace corvexal {

using Bytes = std::span<const std::uint8_t>;

// How many bytes come before the first one of this value; all when there is none. Other bytes are passed over
// by memchr, several times as fast as by a look at each. Where the value comes often, memchr costs more to
// start than it saves, so the first few bytes are looked at.
[[nodiscard]] inline std::size_t bytes_before(Bytes bytes, std::uint8_t value) {
  constexpr std::size_t kNear = 16;
  std::size_t i = 0;
  for (; i < bytes.size() && i < kNear; ++i)
    if (bytes[i] == value) return i;
  if (i == bytes.size()) return i;
  const void* const found = std::memchr(bytes.data() + i, value, bytes.size() - i);
  if (found == nullptr) return bytes.size();
  return static_cast<std::size_t>(static_cast<const std::uint8_t*>(found) - bytes.data());
}

// Walks a bounded view of bytes. A read that does not fit returns false and moves nothing, so a loop may
// simply stop.
class ByteReader {
 public:
  explicit ByteReader(Bytes bytes) : bytes_(bytes) {}

  [[nodiscard]] std::size_t left() const { return bytes_.size() - at_; }
  [[nodiscard]] std::size_t position() const { return at_; }

  [[nodiscard]] bool skip(std::size_t count) {
    if (count > left()) return false;
    at_ += count;
    return true;
  }
  [[nodiscard]] bool be16(std::uint16_t& value) { return big_endian(value); }
  [[nodiscard]] bool be32(std::uint32_t& value) { return big_endian(value); }

 private:
  template <class Number>
  bool big_endian(Number& value) {
    if (left() < sizeof value) return false;
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) sum = sum << 8 | bytes_[at_ + i];
    value = static_cast<Number>(sum);
    at_ += sizeof value;
    return true;
  }

  Bytes bytes_;
  std::size_t at_ = 0;
};

}  // namespace corvexal
