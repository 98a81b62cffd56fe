// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/code_page.h"

#include "base/locations.h"
#include "fuzz/input.h"

// The input stands as the device's file: fuzz targets are built to look for it in the working folder.
void corvexal::try_input(Bytes input) {
  static const InputFolder folder;
  std::filesystem::current_path(folder.path());
  folder.write(kCodePageFile, input);
  const CodePage page = read_code_page();
  require(page == CodePage::kOther || as_text(input).substr(0, 23).find("cp9") != std::string_view::npos);
}
