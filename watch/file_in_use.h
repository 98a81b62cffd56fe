// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace corvexal {

// Whether a file can be read as a whole.
enum class FileState {
  kComplete,
  kWritten,  // some process has it open for writing
  kGone,     // there is no regular file of this path
  kUnknown,  // the file system does not tell
};

// Looks whether a file is open for writing. Neither reads the file nor changes anything about it.
[[nodiscard]] FileState file_state(const std::string& path);

}  // namespace corvexal
