// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/identifiers.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <string>

namespace corvexal {
namespace {

// Of a row's No: the updater's runs and clients of the catalogue read an int.
constexpr std::uint64_t kHighestNumber = std::numeric_limits<std::int32_t>::max();

// The number that the whole text spells, as the updater would write it; 0 for any other text.
std::uint64_t plain_number(std::string_view text) {
  std::uint64_t number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  const bool whole = error == std::errc() && end == text.data() + text.size() && !text.starts_with('0');
  return whole ? number : 0;
}

struct Held {
  std::uint64_t value;
  std::int64_t rowid;
  auto operator<=>(const Held&) const = default;  // NOLINT(modernize-use-nullptr): clang-tidy's mistake
};

Rows identifiers_of(Database& db, const IdentifiedTable& table) {
  return db.select("select ROWID,ObjID,%s from %s order by ROWID;", table.numbered ? "No" : "0", table.name);
}

// Values that have to rise, up to a highest one.
struct Ascent {
  std::uint64_t last, highest;
  bool takes(std::uint64_t value) {
    if (value <= last || value > highest) return false;
    last = value;
    return true;
  }
};

// True when each row holds higher values than the one before it, as rows do that were added one after
// another: then nothing is wrong, and no value has to be kept.
bool all_ascend(Rows rows, const IdentifiedTable& table) {
  Ascent objids{table.first - 1, table.last}, numbers{0, kHighestNumber};
  while (rows.next()) {
    if (!objids.takes(plain_number(rows.text(1)))) return false;
    if (table.numbered && !numbers.takes(plain_number(rows.text(2)))) return false;
  }
  return !rows.failed();
}

// Calls wrong(rowid) for each row that holds no good value or one that an earlier row holds.
template <class Wrong>
void each_wrong(std::vector<Held>& held, std::uint64_t first, std::uint64_t last, Wrong wrong) {
  std::sort(held.begin(), held.end());
  std::uint64_t taken = 0;
  for (const auto& [value, rowid] : held) {
    if (value < first || value > last || value == taken) wrong(rowid);
    taken = value;
  }
}

}  // namespace

std::uint64_t& IdentifierSource::objid(Database& db) {
  if (!objid_) {
    Rows rows = db.select(
        "select max(cast(ObjID as integer)) from %s where cast(ObjID as integer) between %llu and %llu;",
        table_.name, table_.first, table_.last);
    const std::uint64_t highest = rows.next() ? static_cast<std::uint64_t>(rows.number(0)) : 0;
    objid_ = std::max(highest + 1, table_.first);
  }
  return *objid_;
}

std::int64_t& IdentifierSource::number(Database& db) {
  if (!number_) {
    Rows rows = db.select("select max(cast(No as integer)) from %s where cast(No as integer) < %llu;",
                          table_.name, kHighestNumber);
    number_ = (rows.next() ? rows.number(0) : 0) + 1;
  }
  return *number_;
}

std::optional<std::map<std::int64_t, WrongIdentifiers>> wrong_identifiers(Database& db,
                                                                          const IdentifiedTable& table) {
  if (all_ascend(identifiers_of(db, table), table)) return std::map<std::int64_t, WrongIdentifiers>();
  std::vector<Held> objids, numbers;
  Rows rows = identifiers_of(db, table);
  while (rows.next()) {
    objids.push_back({plain_number(rows.text(1)), rows.number(0)});
    if (table.numbered) numbers.push_back({plain_number(rows.text(2)), rows.number(0)});
  }
  if (rows.failed()) return std::nullopt;
  std::map<std::int64_t, WrongIdentifiers> wrong;
  each_wrong(objids, table.first, table.last, [&](std::int64_t rowid) { wrong[rowid].objid = true; });
  each_wrong(numbers, 1, kHighestNumber, [&](std::int64_t rowid) { wrong[rowid].number = true; });
  return wrong;
}

}  // namespace corvexal
