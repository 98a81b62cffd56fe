// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/code_page.h"

#include <filesystem>

#include "base/locations.h"
#include "fuzz/input.h"

// The input stands as the device's file: fuzz targets are built to look for it in the working folder.
namespace {

// The first of the words that the first line begins to hold within 23 bytes.
corvexal::CodePage expected(std::string_view file) {
  file = file.substr(0, 23);
  for (const char end : {'\n', '\0'}) file = file.substr(0, file.find(end));
  int number = 1;
  for (const char* word : {"cp950", "cp936", "cp932", "cp949"}) {
    if (file.find(word) != std::string_view::npos) break;
    ++number;
  }
  return static_cast<corvexal::CodePage>(number);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const corvexal::InputFolder folder;
  std::filesystem::current_path(folder.path());
  folder.write(corvexal::kCodePageFile, corvexal::as_text(data, size));
  corvexal::require(corvexal::read_code_page() == expected(corvexal::as_text(data, size)));
  return 0;
}
