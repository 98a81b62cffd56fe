// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <vector>

#include "catalogue/database.h"

namespace corvexal {

// A table whose rows have identifiers of their own, and the range that tells their class.
struct IdentifiedTable {
  const char* name;
  bool numbered;  // has a column No
  std::uint64_t first, last;
};
inline constexpr IdentifiedTable kMusicIds{"music_tbl", true, 3000000000001, 3029999999999};
inline constexpr IdentifiedTable kVideoIds{"video_tbl", true, 2000000000001, 2999999999999};
inline constexpr IdentifiedTable kPhotoIds{"photo_tbl", true, 1000000000001, 1999999999999};
inline constexpr IdentifiedTable kFolderIds{"path_objid_tbl", false, 4000000000001, 4999999999999};

// Gives rows of one table identifiers and numbers above all that are there.
class IdentifierSource {
 public:
  explicit IdentifierSource(const IdentifiedTable& table) : table_(table) {}

  // The next one, read from the table when first asked for; whoever uses it counts it on.
  std::uint64_t& objid(Database& db);
  std::int64_t& number(Database& db);

 private:
  const IdentifiedTable& table_;
  std::optional<std::uint64_t> objid_;
  std::optional<std::int64_t> number_;
};

// What is wrong with a row's own identifier and number: outside the range, no number, or an earlier row's.
struct WrongIdentifiers {
  bool objid = false, number = false;
};

// The rows of a table with wrong identifiers, by ROWID; absent when the table cannot be read.
[[nodiscard]] std::optional<std::map<std::int64_t, WrongIdentifiers>> wrong_identifiers(
    Database& db, const IdentifiedTable& table);

}  // namespace corvexal
