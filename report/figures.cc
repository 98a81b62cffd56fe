// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/figures.h"

#include <algorithm>
#include <charconv>

namespace corvexal::report {

std::uint64_t size_in(std::string_view text) {
  std::uint64_t number = 0;
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

std::vector<NamedAmount> Tally::ranked() {
  std::vector<NamedAmount> list;
  list.reserve(amounts_.size());
  for (auto& [name, amount] : amounts_) list.push_back({name, amount});
  amounts_.clear();
  std::sort(list.begin(), list.end(), [](const NamedAmount& a, const NamedAmount& b) {
    return a.amount.files != b.amount.files ? a.amount.files > b.amount.files : a.name < b.name;
  });
  return list;
}

}  // namespace corvexal::report
