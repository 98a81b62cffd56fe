// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/sort_check.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "catalogue/sort_tables.h"

namespace corvexal::report {
namespace {

// The rows of a sort table in its order; nothing when there is no such table, or one of another shape.
std::optional<Query> stored_rows(Snapshot& snapshot, const SortTable& table, const char* columns) {
  if (!snapshot.has_table(table.name)) return std::nullopt;
  try {
    return snapshot.query(std::string("select ") + columns + " from " + table.name + " order by ROWID");
  } catch (const Unreadable&) {
    return std::nullopt;
  }
}

bool is_same_set(std::vector<std::string>& a, std::vector<std::string>& b) {
  std::sort(a.begin(), a.end());
  std::sort(b.begin(), b.end());
  return a == b;
}

// Compares group by group of items that sort alike.
bool items_match(Query expected, Query stored) {
  std::vector<std::string> numbers, stored_numbers;
  bool more = expected.next();
  while (more) {
    const std::string key(expected.text(1));
    numbers.clear();
    stored_numbers.clear();
    do {
      numbers.emplace_back(expected.text(0));
      if (!stored.next()) return false;
      stored_numbers.emplace_back(stored.text(0));
      more = expected.next();
    } while (more && expected.text(1) == key);
    if (!is_same_set(numbers, stored_numbers)) return false;
  }
  return !stored.next();
}

bool groups_match(Query expected, Query stored) {
  while (expected.next())
    if (!stored.next() || stored.text(0) != expected.text(0) || stored.text(1) != expected.text(1))
      return false;
  return !stored.next();
}

}  // namespace

std::string with_sort_key(std::string_view query) {
  constexpr std::string_view kNumber = "select No", kOrder = "order by ";
  const std::size_t order = query.find(kOrder);
  std::string_view key = query.substr(order + kOrder.size());
  key = key.substr(0, key.find(';'));
  const std::size_t after_number = query.find(kNumber) + kNumber.size();
  return std::string(query.substr(0, after_number))
      .append(",")
      .append(key)
      .append(query.substr(after_number));
}

void check_sort_tables(Snapshot& snapshot, std::string_view catalogue_path, ProblemList& problems) {
  const auto judge = [&](const SortTable& table, const std::string& query, const char* columns, auto match) {
    std::optional<Query> stored = stored_rows(snapshot, table, columns);
    const bool is_right =
        stored ? match(snapshot.query(query), std::move(*stored)) : !snapshot.query(query).next();
    if (!is_right) problems.add_path(Kind::kSortTable, catalogue_path, table.name);
  };
  for (const SortTable& table : item_tables()) judge(table, with_sort_key(table.query), "idx", items_match);
  for (const SortTable& table : group_tables()) judge(table, table.query, "name,cnt", groups_match);
}

}  // namespace corvexal::report
