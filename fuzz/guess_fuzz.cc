// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "detector/guess.h"
#include "metadata/converter.h"

// One byte that chooses the code page, then a sample without zero bytes, as an argument has none.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const auto code_page = static_cast<corvexal::CodePage>(data[0] % 6);
  const std::string_view rest(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::string sample(rest.substr(0, rest.find('\0')));

  const std::string answer(corvexal::guess_charset(sample, code_page));
  if (answer.size() > 18) std::abort();
  // Every answer is a set that there is.
  static corvexal::Converters converters;
  if (!answer.empty() && converters.convert("UTF-8", answer.c_str(), "", nullptr) == EINVAL) std::abort();
  return 0;
}
