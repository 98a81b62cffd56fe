// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "watch/sync_command.h"

namespace corvexal::testing {

// What the sync would be started with for a batch of the share `top`, which shows as "@".
inline std::string call_in_words(const Batch& batch, const std::string& top) {
  if (batch.empty()) return "nothing";
  std::string words;
  const auto arguments = sync_arguments(batch, top);
  for (std::size_t i = 3; i < arguments.size(); ++i) {
    if (i > 3) words += ' ';
    if (lies_in(arguments[i], top))
      words.append("@").append(arguments[i], top.size());
    else
      words += arguments[i];
  }
  return words.empty() ? "everything" : words;
}

}  // namespace corvexal::testing
