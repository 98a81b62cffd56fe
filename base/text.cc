#include "base/text.h"

#include <algorithm>
#include <cstdlib>
#include <limits>

namespace corvexal {
namespace {

char ascii_lower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

void StringToLower(std::string& text) {
  std::transform(text.begin(), text.end(), text.begin(), ascii_lower);
}

bool equal_ignoring_case(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return ascii_lower(x) == ascii_lower(y); });
}

bool starts_with_ignoring_case(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && equal_ignoring_case(text.substr(0, prefix.size()), prefix);
}

int decimal_value(std::string_view text) {
  const long value = std::strtol(std::string(text).c_str(), nullptr, 10);
  return static_cast<int>(
      std::clamp<long>(value, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

}  // namespace corvexal
