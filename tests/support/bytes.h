// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

// The bytes of files, built piece by piece.
namespace corvexal::testing {

// The lowest `size` bytes of a number, big-endian.
template <std::integral Number>
std::string be(Number value, int size) {
  const auto bits = static_cast<std::uint64_t>(value);
  std::string bytes;
  while (size-- > 0) bytes += static_cast<char>(bits >> 8 * size);
  return bytes;
}

// The same in little-endian order.
template <std::integral Number>
std::string le(Number value, int size) {
  const std::string bytes = be(value, size);
  return {bytes.rbegin(), bytes.rend()};
}

inline std::string be32(std::uint32_t value) {
  return be(value, 4);
}

// The bytes of 32-bit words as this host keeps them in memory.
inline std::string host_words(std::initializer_list<std::uint32_t> words) {
  std::string bytes(words.size() * sizeof(std::uint32_t), '\0');
  std::memcpy(bytes.data(), words.begin(), bytes.size());
  return bytes;
}

inline std::string zeros(std::size_t count) {
  return std::string(count, '\0');
}

}  // namespace corvexal::testing
