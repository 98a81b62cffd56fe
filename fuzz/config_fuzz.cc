// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/config.h"

#include <array>

#include "fuzz/input.h"

void corvexal::try_input(Bytes input) {
  const MemoryFile file(input);
  const std::string path = file.path();
  const std::array<const char*, 3> arguments{"fuzz", "-RC", path.c_str()};
  ConfigRecord record;
  record.mntpath = "kept";
  const int result = readconfig(3, arguments, record);

  const auto is_given = [text = as_text(input)](std::string_view part) {
    return text.find(part) != std::string_view::npos;
  };
  for (const std::string& field : {record.sharepath, record.sharename, record.mntpath, record.sd_status}) {
    require(field.size() <= 255 && field.find_first_of(std::string_view("\0\n", 2)) == std::string::npos);
    require(field == "kept" || is_given(field));
  }
  require(record.sd_status.size() <= 9);
  require(!record.standard_tags || is_given("tags=standard\n"));
  require(result != 0 || input.empty() || is_given("\n") || record.mntpath == "kept");
}
