// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "catalogue/database.h"
#include "catalogue/media_types.h"

namespace corvexal {

// Take one row of a sort table; false ends the giving.
using TakeItem = std::function<bool(std::string_view number)>;
using TakeGroup = std::function<bool(std::string_view name, std::string_view count)>;

// What the queries of a class's sort tables give, and the class's folders, from one pass over its table. The
// order is SQLite's: texts byte by byte, and items that sort alike in the order of the table.
class DisplayOrder {
 public:
  // Nothing where the queries must be asked: where SQLite might compare otherwise or not walk through the
  // table itself (as `item_query` tells), where a value that counts is no text or holds a NUL, where a row
  // cannot be read, and where more than `most_bytes` would be kept. An error is left to the queries to tell.
  static std::optional<DisplayOrder> read(Database& db, MediaClass media_class, const char* item_query,
                                          std::size_t most_bytes = kMostBytes);

  // Gives the `No` of each item in display order. False when `take` ended it.
  [[nodiscard]] bool each_item(const TakeItem& take) const;

  // Gives each genre (0), artist (1) or album (2) of the songs in order. False when `take` ended it.
  [[nodiscard]] bool each_group(std::size_t column, const TakeGroup& take) const;

  // The distinct folders of all rows, in no order; they are moved out.
  [[nodiscard]] std::vector<std::string> take_folders();

  static constexpr std::size_t kMostBytes = 12 << 20;  // some 300,000 songs

 private:
  struct TextHash {
    using is_transparent = void;
    std::size_t operator()(std::string_view text) const noexcept {
      return std::hash<std::string_view>()(text);
    }
  };
  using Counts = std::unordered_map<std::string, std::uint64_t, TextHash, std::equal_to<>>;
  using Texts = std::unordered_set<std::string, TextHash, std::equal_to<>>;

  struct Item {
    std::uint64_t key_start;  // the key's first eight bytes, the first one highest, zeros after its end
    std::uint32_t at;         // of the key in texts_
  };

  DisplayOrder() = default;
  bool add_row(const Rows& row, std::span<const std::string_view> left_out, int columns);
  void add_folder(std::string_view folder);
  void add_item(std::string_view number, std::string_view text);
  void add_to_group(Counts& groups, std::string_view name);
  void sort_items();
  [[nodiscard]] std::size_t bytes() const;

  std::string texts_;  // each item's key and `No`, in the order of the table, a NUL after each
  std::vector<Item> items_;
  std::array<Counts, 3> groups_;
  Texts folders_;
  const std::string* last_folder_ = nullptr;
  std::size_t bytes_of_names_ = 0;
};

}  // namespace corvexal
