// SPDX-License-Identifier: GPL-3.0-or-later
#include "detector/guess.h"

#include <cerrno>

#include "fuzz/input.h"
#include "metadata/converter.h"

// One byte that chooses the code page, then a sample without zero bytes, as an argument has none.
void corvexal::try_input(Bytes input) {
  if (input.empty()) return;
  const std::string_view rest = as_text(input.subspan(1));
  const std::string sample(rest.substr(0, rest.find('\0')));
  const std::string answer(guess_charset(sample, static_cast<CodePage>(input[0] % 6)));
  require(answer.size() <= 18);
  // Every answer is a set that there is.
  static Converters converters;
  require(answer.empty() || converters.convert("UTF-8", answer.c_str(), "", nullptr) != EINVAL);
}
