// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <utility>

namespace corvexal {

// The value, or the bound of std::int32_t that is nearest to it.
template <std::integral Number>
[[nodiscard]] constexpr std::int32_t saturated(Number value) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (std::cmp_less(value, Limits::min())) return Limits::min();
  if (std::cmp_greater(value, Limits::max())) return Limits::max();
  return static_cast<std::int32_t>(value);
}

}  // namespace corvexal
