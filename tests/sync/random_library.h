// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <ctime>
#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace corvexal::testing {

// A share on which people and other programs work day by day. The same seed does the same.
class RandomLibrary {
 public:
  // `share` is an existing folder, without a trailing "/".
  RandomLibrary(std::string share, std::uint32_t seed);

  // One to fourteen things are made, changed, renamed, moved, linked or deleted.
  void pass_a_day();

  // One folder is renamed and nothing else happens: its old and new path without a trailing "/", or nothing
  // when there is none. The new name may be that of a folder which is deleted for it.
  struct Renamed {
    std::string from, to;
  };
  [[nodiscard]] std::optional<Renamed> rename_one_folder();

  // A number from 0 on below `end`, and true so many times of a hundred.
  [[nodiscard]] std::size_t below(std::size_t end) { return random_() % end; }
  [[nodiscard]] bool happens(unsigned percent) { return below(100) < percent; }

  // Any folder of the share, which may be the share, without a trailing "/".
  [[nodiscard]] std::string any_folder();

 private:
  [[nodiscard]] std::vector<std::string> entries(bool folders) const;
  [[nodiscard]] std::string new_path(std::string_view extension);
  void make_file();
  void edit_file();
  void move_file();
  void move_folder();
  void link_file();
  void write(const std::string& path, std::string content);

  std::string share_;
  std::mt19937 random_;
  std::time_t today_ = 1'600'000'000;
};

}  // namespace corvexal::testing
