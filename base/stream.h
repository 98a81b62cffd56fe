// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdio>
#include <memory>

#include "base/file.h"

namespace corvexal {

struct CloseStream {
  void operator()(std::FILE* stream) const noexcept { std::fclose(stream); }
};

// Owns a stdio stream.
using Stream = std::unique_ptr<std::FILE, CloseStream>;

// Opens a regular file for reading; null, with errno set, for anything else.
[[nodiscard]] inline Stream open_for_reading(const char* name) {
  const File file(name);
  return Stream(file ? fdopen(file.duplicate(), "r") : nullptr);
}

}  // namespace corvexal
