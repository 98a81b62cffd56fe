// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/config.h"

#include <array>
#include <cstdlib>
#include <string_view>

#include "fuzz/memory_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const corvexal::MemoryFile file({data, size});
  const std::string path = file.path();
  const std::array<const char*, 3> arguments{"fuzz", "-RC", path.c_str()};
  corvexal::ConfigRecord record;
  record.mntpath = "kept";
  const int result = corvexal::readconfig(3, arguments, record);

  const std::string_view input(reinterpret_cast<const char*>(data), size);
  for (const std::string& field : {record.sharepath, record.sharename, record.mntpath, record.sd_status}) {
    if (field.size() > 255 || field.find_first_of(std::string_view("\0\n", 2)) != std::string::npos)
      std::abort();
    if (field != "kept" && input.find(field) == std::string_view::npos) std::abort();
  }
  if (record.sd_status.size() > 9) std::abort();
  if (record.standard_tags && input.find("tags=standard\n") == std::string_view::npos) std::abort();
  if (result == 0 && size > 0 && input.find('\n') == std::string_view::npos && record.mntpath != "kept")
    std::abort();
  return 0;
}
