#include "tests/support/fake_detector.h"

#include <cstddef>
#include <cstdlib>
#include <filesystem>

namespace corvexal::testing {

FakeDetector::FakeDetector() {
  if (const char* const path = std::getenv("PATH")) path_before_ = path;
  setenv("PATH", (folder_.path() + ":/usr/bin:/bin").c_str(), 1);
}

FakeDetector::~FakeDetector() {
  setenv("PATH", path_before_.c_str(), 1);
}

void FakeDetector::runs(std::string_view commands) const {
  std::string script = "#!/bin/sh\nfor argument; do printf '%s\\0' \"$argument\"; done >'";
  script.append(folder_.path()).append("/arguments'\n").append(commands).append("\n");
  const std::string program = folder_.write("detect_char_encode", script);
  std::filesystem::permissions(program, std::filesystem::perms::owner_all);
}

void FakeDetector::answers(const std::string& text) const {
  folder_.write("answer", text);
  runs("cat '" + folder_.path() + "/answer'");
}

std::vector<std::string> FakeDetector::arguments() const {
  const std::string noted = read_file(folder_.path() + "/arguments");
  std::vector<std::string> arguments;
  for (std::size_t at = 0; at < noted.size();) {
    const std::size_t end = noted.find('\0', at);
    arguments.push_back(noted.substr(at, end - at));
    at = end == std::string::npos ? noted.size() : end + 1;
  }
  return arguments;
}

}  // namespace corvexal::testing
