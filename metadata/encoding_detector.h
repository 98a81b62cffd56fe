#pragma once

#include <chrono>
#include <string>

namespace corvexal {

// The run holds the lock that every later change of the disk waits for, so a detector that hangs must not
// keep it for ever. A healthy one takes milliseconds; this leaves room for a disk that has to wake up first.
inline constexpr std::chrono::milliseconds kDetectorTimeLimit{10'000};

// Asks the device's program "detect_char_encode", found through PATH, for the character set of `sample`, a
// text of unknown encoding that is cut at its first zero byte. The sample is the program's one argument and
// no shell sees it. Returns the first 18 bytes of what the program prints, cut at a zero byte and otherwise
// exactly as printed, a line end included; empty when it cannot be started or prints nothing. A program that
// has not ended within the time limit is killed, with all that it started.
[[nodiscard]] std::string detect_char_encode(const std::string& sample,
                                             std::chrono::milliseconds time_limit = kDetectorTimeLimit);

}  // namespace corvexal
