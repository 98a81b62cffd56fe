// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/code_page.h"

#include "base/locations.h"
#include "fuzz/input.h"

// The input stands as the device's file: fuzz targets are built to look for it in the working folder. A set's
// word must stand in the first line, within 23 bytes.
void corvexal::try_input(Bytes input) {
  static const InputFolder folder;
  std::filesystem::current_path(folder.path());
  folder.write(kCodePageFile, input);
  std::string_view line = as_text(input).substr(0, 23);
  line = line.substr(0, line.find_first_of(std::string_view("\n\0", 2)));
  std::size_t page = 1;
  for (const char* word : {"cp950", "cp936", "cp932", "cp949"}) {
    if (line.find(word) != std::string_view::npos) break;
    ++page;
  }
  require(read_code_page() == static_cast<CodePage>(page));
}
