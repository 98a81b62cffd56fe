// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "catalogue/database.h"
#include "catalogue/folder_cursor.h"

namespace corvexal {

// A row of one of the three media tables.
struct StoredRow {
  std::int64_t rowid = 0;
  std::string name, date, size;
  std::uint64_t parent = 0;
  std::int64_t depth = 0;
};

enum class FindingKind {
  kPresent,  // a file with its row
  kNew,      // a file without a row
  kRefused,  // a file without a row that can have none, for a `"` in its path
  kDouble,   // a further row of a file
  kGone,     // a row without a file
  kFolder,   // a sub-folder
  kUnknown   // an entry that cannot be looked at
};

// One thing that a comparison met; views hold until the next one.
struct Finding {
  FindingKind kind = FindingKind::kPresent;
  MediaClass media_class = MediaClass::kMusic;  // of the table or the file
  const FolderEntry* entry = nullptr;           // but for kDouble and kGone
  const StoredRow* row = nullptr;               // of the others
};

// The name that a finding is about.
[[nodiscard]] inline std::string_view name_of(const Finding& finding) {
  return finding.entry != nullptr ? finding.entry->name : std::string_view(finding.row->name);
}

// The table in which a file of a kind has its row.
[[nodiscard]] MediaClass media_class_of(MediaKind kind);
[[nodiscard]] const char* table_of(MediaClass media_class);

// Goes through the entries of a folder and the rows of its files side by side, by name. Entries that cannot
// be looked at keep their rows, which are not shown.
class FolderComparison {
 public:
  // `folder` with its trailing "/"; `entries` null for a folder that is not there.
  FolderComparison(Database& db, const std::string& folder, FolderCursor* entries);

  // The next finding, null at the end. failed() tells then whether rows could not be read.
  const Finding* next();
  [[nodiscard]] bool failed() const;

 private:
  // The rows of one table, in the order of their names.
  struct TableRows {
    TableRows(Database& db, MediaClass media_class, const std::string& folder);
    void step();
    [[nodiscard]] bool at(std::string_view name) const { return row && row->name == name; }

    MediaClass media_class;
    Rows rows;
    std::optional<StoredRow> row;
  };

  const Finding* show(FindingKind kind, TableRows& table);
  const Finding* show_entry();
  [[nodiscard]] FindingKind kind_of_entry() const;
  TableRows* first_row_at(std::string_view name);
  [[nodiscard]] std::optional<std::string_view> next_name() const;
  void step();

  bool takes_files_;  // nothing in the folder's path keeps their rows out
  FolderCursor* entries_;
  const FolderEntry* entry_ = nullptr;
  bool entry_has_row_ = false;
  bool entry_is_shown_ = true;  // and its turn is over
  std::array<TableRows, 3> tables_;
  TableRows* shown_table_ = nullptr;  // whose row was shown last
  Finding finding_;
};

}  // namespace corvexal
