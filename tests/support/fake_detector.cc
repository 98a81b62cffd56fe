// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/fake_detector.h"

#include <cstdlib>
#include <filesystem>
#include <sstream>

namespace corvexal::testing {

FakeDetector::FakeDetector() {
  if (const char* const path = std::getenv("PATH")) path_before_ = path;
  setenv("PATH", (folder_.path() + ":/usr/bin:/bin").c_str(), 1);
}

FakeDetector::~FakeDetector() {
  setenv("PATH", path_before_.c_str(), 1);
}

void FakeDetector::runs(std::string_view commands, const std::string& first_line) const {
  std::string script = first_line + "\nfor argument; do printf '%s\\0' \"$argument\"; done >'";
  script.append(folder_.path()).append("/arguments'\n").append(commands).append("\n");
  const std::string program = folder_.write("detect_char_encode", script);
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
}

void FakeDetector::answers(const std::string& text) const {
  folder_.write("answer", text);
  runs("cat '" + folder_.path() + "/answer'");
}

std::vector<std::string> FakeDetector::arguments() const {
  std::istringstream noted(read_file(folder_.path() + "/arguments"));
  std::vector<std::string> arguments;
  for (std::string argument; std::getline(noted, argument, '\0');) arguments.push_back(argument);
  return arguments;
}

}  // namespace corvexal::testing
