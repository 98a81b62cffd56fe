#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace corvexal {

using Bytes = std::span<const std::uint8_t>;

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
  [[nodiscard]] bool u8(std::uint8_t& value) { return big_endian(value); }
  [[nodiscard]] bool be16(std::uint16_t& value) { return big_endian(value); }
  [[nodiscard]] bool be32(std::uint32_t& value) { return big_endian(value); }
  [[nodiscard]] bool le16(std::uint16_t& value) { return little_endian(value); }
  [[nodiscard]] bool le32(std::uint32_t& value) { return little_endian(value); }

 private:
  template <class Number>
  bool big_endian(Number& value) {
    if (left() < sizeof value) return false;
    std::uint64_t sum = 0;
    for (std::size_t i = 0; i < sizeof value; ++i) sum = sum << 8 | bytes_[at_ + i];
    return take(value, sum);
  }
  template <class Number>
  bool little_endian(Number& value) {
    if (left() < sizeof value) return false;
    std::uint64_t sum = 0;
    for (std::size_t i = sizeof value; i-- > 0;) sum = sum << 8 | bytes_[at_ + i];
    return take(value, sum);
  }
  template <class Number>
  bool take(Number& value, std::uint64_t sum) {
    value = static_cast<Number>(sum);
    at_ += sizeof value;
    return true;
  }

  Bytes bytes_;
  std::size_t at_ = 0;
};

}  // namespace corvexal
