// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <string>
#include <unordered_map>

namespace corvexal {

// The run holds the lock that every later change of the disk waits for, so a detector that hangs must not
// keep it for ever. A healthy one takes milliseconds; this leaves room for a disk that has to wake up first.
inline constexpr std::chrono::milliseconds kDetectorTimeLimit{10'000};

// The device's program "detect_char_encode", found through PATH.
class EncodingDetector {
 public:
  explicit EncodingDetector(std::chrono::milliseconds time_limit = kDetectorTimeLimit)
      : time_limit_(time_limit) {}

  // Asks the program for the character set of `sample`, a text of unknown encoding that is cut at its first
  // zero byte. The sample is the program's one argument and no shell sees it as a command. Returns the first
  // 18 bytes of what the program prints, cut at a zero byte and otherwise exactly as printed, a line end
  // included; empty when it cannot be started or prints nothing, and for a sample that is one of its
  // switches. A program that has not ended within the time limit is killed, with all that it started. Neither
  // that nor one that is missing is started again: from then on new samples have empty answers. Up to 256
  // answers are remembered, then forgotten together: starting the program is most of a tag's time, and a scan
  // into both stores reads each tag twice.
  [[nodiscard]] std::string detect(const std::string& sample);

 private:
  std::string ask(const std::string& sample);

  std::chrono::milliseconds time_limit_;
  std::unordered_map<std::string, std::string> answers_;  // by sample
  bool usable_ = true;
};

}  // namespace corvexal
