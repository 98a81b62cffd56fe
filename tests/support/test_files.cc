// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/test_files.h"

#include <sys/mman.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace corvexal::testing {

TestFolder::TestFolder() {
  std::string name = (std::filesystem::temp_directory_path() / "corvexal-test-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("no temporary folder");
  path_ = name;
}

TestFolder::~TestFolder() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TestFolder::write(std::string_view name, std::string_view content) const {
  const std::filesystem::path path = std::filesystem::path(path_) / name;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary).write(content.data(), static_cast<std::streamsize>(content.size()));
  return path.string();
}

std::string TestFolder::write_sparse(std::string_view name, std::string_view head, std::uintmax_t offset,
                                     std::string_view tail) const {
  std::string path = write(name, head);
  std::filesystem::resize_file(path, offset);
  std::ofstream(path, std::ios::binary | std::ios::app) << tail;
  return path;
}

WorkingFolder::WorkingFolder() {
  std::filesystem::current_path(path());
}

WorkingFolder::~WorkingFolder() {
  std::error_code ignored;
  std::filesystem::current_path(before_, ignored);
}

std::string read_file(const std::string& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

std::string sample(std::string_view name) {
  return std::string(CORVEXAL_SAMPLES "/") + std::string(name);
}

CapturedOutput::CapturedOutput(int descriptor)
    : descriptor_(descriptor), saved_(dup(descriptor)), file_(memfd_create("captured", MFD_CLOEXEC)) {
  std::fflush(nullptr);
  dup2(file_, descriptor_);
}

CapturedOutput::~CapturedOutput() {
  restore();
  close(file_);
}

void CapturedOutput::restore() {
  if (saved_ < 0) return;
  std::fflush(nullptr);
  dup2(saved_, descriptor_);
  close(saved_);
  saved_ = -1;
}

std::string CapturedOutput::text() {
  restore();
  return read_file("/proc/self/fd/" + std::to_string(file_));
}

}  // namespace corvexal::testing
