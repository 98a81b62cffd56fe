// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>

namespace corvexal::testing {

// A folder of a test's own under the system's temporary folder, removed with everything in it.
class TestFolder {
 public:
  TestFolder();
  ~TestFolder();
  TestFolder(const TestFolder&) = delete;
  TestFolder& operator=(const TestFolder&) = delete;

  // The folder's path, without a trailing "/".
  [[nodiscard]] const std::string& path() const { return path_; }

  // Writes a file of the given name (sub-folders are made) and returns its full path.
  std::string write(std::string_view name, std::string_view content) const;

  // Writes a file of `head`, a hole that ends at `offset`, and `tail`; returns its full path.
  std::string write_sparse(std::string_view name, std::string_view head, std::uintmax_t offset,
                           std::string_view tail) const;

 private:
  std::string path_;
};

// A folder of a test's own that is the working folder while it lives: a staged build finds the device's files
// in it.
class WorkingFolder : public TestFolder {
 public:
  WorkingFolder();
  ~WorkingFolder();
  WorkingFolder(const WorkingFolder&) = delete;
  WorkingFolder& operator=(const WorkingFolder&) = delete;

 private:
  std::filesystem::path before_ = std::filesystem::current_path();
};

// The whole content of a file; a test failure when it cannot be read is left to the caller (the text is
// empty).
[[nodiscard]] std::string read_file(const std::string& path);

// The path of one of the project's sample media files.
[[nodiscard]] std::string sample(std::string_view name);

// Collects what is written to standard output or standard error (by descriptor) while it lives.
class CapturedOutput {
 public:
  explicit CapturedOutput(int descriptor = 1);
  ~CapturedOutput();
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  // Ends the collecting and returns the text.
  [[nodiscard]] std::string text();

 private:
  void restore();

  int descriptor_;
  int saved_;
  int file_;
};

}  // namespace corvexal::testing
