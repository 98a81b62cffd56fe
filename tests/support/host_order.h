#pragma once

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <string>

namespace corvexal::testing {

// The bytes of 32-bit words as this host keeps them in memory.
inline std::string host_words(std::initializer_list<std::uint32_t> words) {
  std::string bytes(words.size() * sizeof(std::uint32_t), '\0');
  std::memcpy(bytes.data(), words.begin(), bytes.size());
  return bytes;
}

}  // namespace corvexal::testing
