// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corvexal::report {

// What can be wrong with a library, in the order in which it is shown.
enum class Kind : std::uint8_t {
  kFileGone,
  kFolderGone,
  kNoRow,
  kRowStale,
  kDoubleRow,
  kRepeatedIdentifier,
  kUnknownParent,
  kWrongParent,
  kNoSlash,
  kSortTable,
  kPlaylistLinks,
  kStoreMissing,
  kStoreDamaged,
  kStoreUnreadable,
  kRecordDamaged,
  kRecordStale,
  kRecordMissing,
  kDoubleRecord,
  kNameRefused,
  kTextRefused,
  kNameEncoding,
  kTextEncoding,
};

// What mends a problem.
enum class Mend : std::uint8_t {
  kSyncFolder,   // a sync of the folder that the file is in
  kSyncLibrary,  // a sync of everything
  kNewStore,     // a new song store in the place of the old one
  kRename,       // another name for the file: a person's work
  kReadAnew,     // other tags or another setting, then the file read anew
};

struct KindFacts {
  Kind kind;
  Mend mend;
  std::string_view name;     // the word for it in JSON
  std::string_view meaning;  // for people; "2 files: MEANING"
};

// All kinds, in order.
[[nodiscard]] std::span<const KindFacts> kinds();
[[nodiscard]] const KindFacts& facts_of(Kind kind);

struct Problem {
  Kind kind;
  std::string_view
      folder;  // with its trailing "/"; views last as long as the list, and no longer than till add()
  std::string_view name;    // empty for the folder itself
  std::string_view detail;  // what is wrong exactly; may be empty

  [[nodiscard]] std::string path() const { return std::string(folder) += name; }
};

// The problems found, kept small: a spoilt library has as many as it has files. Folders are kept once.
class ProblemList {
 public:
  ProblemList() = default;
  ProblemList(const ProblemList&) = delete;
  ProblemList& operator=(const ProblemList&) = delete;

  void add(Kind kind, std::string_view folder, std::string_view name, std::string_view detail = {});

  // The same for a full path, which may end in "/".
  void add_path(Kind kind, std::string_view path, std::string_view detail = {});

  [[nodiscard]] std::size_t size() const { return entries_.size(); }
  [[nodiscard]] std::size_t count(Kind kind) const;

  // Calls visit(Problem) for each problem of a kind, in the order of finding, until it returns false.
  template <class Visit>
  void visit(Kind kind, Visit visit) const {
    for (const Entry& entry : entries_)
      if (entry.kind == kind && !visit(problem(entry))) return;
  }

 private:
  struct Entry {
    std::size_t text;  // where in texts_ the name begins, the detail right after it
    std::uint32_t folder;
    std::uint32_t name_size;
    std::uint32_t detail_size;
    Kind kind;
  };

  [[nodiscard]] Problem problem(const Entry& entry) const;
  std::uint32_t folder_number(std::string_view folder);

  std::vector<Entry> entries_;
  std::unordered_map<std::string, std::uint32_t> numbers_;  // of the folders
  std::vector<const std::string*> folders_;                 // its keys
  std::string texts_;
};

}  // namespace corvexal::report
