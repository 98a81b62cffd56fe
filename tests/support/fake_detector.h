// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "tests/support/test_files.h"

namespace corvexal::testing {

// Puts a folder of its own first on PATH, where a test may place a program "detect_char_encode"; until
// then there is none. PATH is restored with the object.
class FakeDetector {
 public:
  FakeDetector();
  ~FakeDetector();
  FakeDetector(const FakeDetector&) = delete;
  FakeDetector& operator=(const FakeDetector&) = delete;

  // The program, a script with the given first line, notes its arguments and runs the shell commands.
  void runs(std::string_view commands, const std::string& first_line = "#!/bin/sh") const;

  // The program prints the text, without a line end.
  void answers(const std::string& text) const;

  // The arguments of the last start; none when it was never started.
  [[nodiscard]] std::vector<std::string> arguments() const;

  // The folder that holds the program, for files of a test.
  [[nodiscard]] const std::string& folder() const { return folder_.path(); }

 private:
  TestFolder folder_;
  std::string path_before_;
};

}  // namespace corvexal::testing
