// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "report/problems.h"

namespace corvexal::report {

// The text as one word for a POSIX shell.
[[nodiscard]] std::string shell_word(std::string_view text);

// Where a library lies, as far as commands need it.
struct Places {
  std::string share;       // with its trailing "/"
  std::string song_store;  // the file's path
  bool all_gone =
      false;  // the catalogue has rows, the share no file: a sync wants to be told that this is meant
};

// Writes the commands that mend problems. Only paths that can be typed as they are (is_plain) are written
// into a command; for others it names the nearest folder above that can, and everything below is mended with
// it.
class Mender {
 public:
  explicit Mender(Places places) : places_(std::move(places)) {}

  [[nodiscard]] std::string command(const Problem& problem);

 private:
  [[nodiscard]] std::string sync(std::string_view folder);
  [[nodiscard]] std::string rename(const Problem& problem);
  [[nodiscard]] std::string_view folder_to_name(std::string_view folder);

  Places places_;
  std::string asked_, answer_;  // of the last look at the disk
};

}  // namespace corvexal::report
