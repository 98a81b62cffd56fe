// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/encoding_detector.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <span>

#include "base/descriptor.h"
#include "base/log.h"
#include "metadata/child_process.h"

namespace corvexal {
namespace {

using Clock = ChildProcess::Clock;
using std::chrono::milliseconds;

constexpr char kProgram[] = "detect_char_encode";
constexpr std::size_t kAnswerLength = 18;
constexpr std::size_t kMostAnswers = 256;

// The two ends of a pipe; empty when there can be none.
struct Pipe {
  Descriptor out, in;
};

Pipe make_pipe() {
  std::array<int, 2> ends{};
  if (pipe2(ends.data(), O_CLOEXEC) != 0) return {};
  return {Descriptor(ends.front()), Descriptor(ends.back())};
}

// False when there are none, and none will come from the program itself: something that it left running may
// hold the pipe for as long as it likes.
bool wait_for_bytes(int descriptor, const ChildProcess& child, Clock::time_point deadline) {
  constexpr milliseconds kLookAfterChild{20};
  while (true) {
    const bool is_over = child.has_ended();
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    pollfd wanted{descriptor, POLLIN, 0};
    const int ready =
        poll(&wanted, 1, is_over ? 0 : static_cast<int>(std::min(left, kLookAfterChild).count()));
    if (ready > 0) return true;
    if (is_over || (ready < 0 && errno != EINTR)) return false;
  }
}

std::string read_answer(int descriptor, const ChildProcess& child, Clock::time_point deadline) {
  std::string answer(kAnswerLength, '\0');
  std::span<char> room(answer);
  while (!room.empty() && wait_for_bytes(descriptor, child, deadline)) {
    const ssize_t n = read(descriptor, room.data(), room.size());
    if (n <= 0) break;
    room = room.subspan(static_cast<std::size_t>(n));
  }
  answer.resize(answer.size() - room.size());
  return answer;
}

}  // namespace

std::string EncodingDetector::detect(const std::string& sample) {
  if (sample == "--help" || sample == "--version") return {};  // of itself the program would speak then
  if (const auto known = answers_.find(sample); known != answers_.end()) return known->second;
  if (!usable_) return {};
  if (answers_.size() >= kMostAnswers) answers_.clear();
  return answers_[sample] = ask(sample);
}

std::string EncodingDetector::ask(const std::string& sample) {
  Pipe pipe = make_pipe();
  if (!pipe.out) return {};
  const Clock::time_point deadline = Clock::now() + time_limit_;
  ChildProcess child(kProgram, sample.substr(0, sample.find('\0')), pipe.in.get(), deadline);
  pipe.in = Descriptor();
  std::string answer = read_answer(pipe.out.get(), child, deadline);
  pipe.out = Descriptor();
  if (child.is_missing()) usable_ = false;
  if (!child.end()) {
    usable_ = false;
    error_printf("%s does not end, and is not started again\n", kProgram);
  }
  return answer.substr(0, answer.find('\0'));
}

}  // namespace corvexal
