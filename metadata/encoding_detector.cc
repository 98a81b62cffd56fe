#include "metadata/encoding_detector.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdio>
#include <thread>
#include <utility>

namespace corvexal {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr char kProgram[] = "detect_char_encode";
constexpr std::size_t kAnswerLength = 18;

// The two ends of a pipe, closed with the object.
class Pipe {
 public:
  Pipe() {
    if (pipe2(ends_, O_CLOEXEC) != 0) ends_[0] = ends_[1] = -1;
  }
  ~Pipe() {
    close_end(ends_[0]);
    close_end(ends_[1]);
  }
  Pipe(const Pipe&) = delete;
  Pipe& operator=(const Pipe&) = delete;

  explicit operator bool() const { return ends_[0] >= 0; }
  [[nodiscard]] int out() const { return ends_[0]; }
  [[nodiscard]] int in() const { return ends_[1]; }
  void close_out() { close_end(ends_[0]); }
  void close_in() { close_end(ends_[1]); }

 private:
  static void close_end(int& end) {
    if (end >= 0) close(end);
    end = -1;
  }
  int ends_[2];
};

// How the program is started: its input empty, its output the pipe, SIGPIPE as by default, so that one that
// goes on printing ends with the pipe, and in a process group of its own, which can be killed whole.
class Surroundings {
 public:
  explicit Surroundings(int output) {
    posix_spawn_file_actions_init(&files_);
    posix_spawn_file_actions_adddup2(&files_, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&files_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawnattr_init(&attributes_);
    sigset_t signals;
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes_, &signals);
    sigaddset(&signals, SIGPIPE);
    posix_spawnattr_setsigdefault(&attributes_, &signals);
    posix_spawnattr_setpgroup(&attributes_, 0);
    posix_spawnattr_setflags(&attributes_,
                             POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
  }
  ~Surroundings() {
    posix_spawn_file_actions_destroy(&files_);
    posix_spawnattr_destroy(&attributes_);
  }
  Surroundings(const Surroundings&) = delete;
  Surroundings& operator=(const Surroundings&) = delete;

  [[nodiscard]] const posix_spawn_file_actions_t* files() const { return &files_; }
  [[nodiscard]] const posix_spawnattr_t* attributes() const { return &attributes_; }

 private:
  posix_spawn_file_actions_t files_;
  posix_spawnattr_t attributes_;
};

// The running program. It is waited for at the latest with the object, and killed with all that it started
// when it outlives the deadline.
class Child {
 public:
  Child(const std::string& argument, int output, Clock::time_point deadline) : deadline_(deadline) {
    const Surroundings surroundings(output);
    std::string program = kProgram;
    std::string sample = argument;
    char* const arguments[] = {program.data(), sample.data(), nullptr};
    const int failure =
        posix_spawnp(&id_, kProgram, surroundings.files(), surroundings.attributes(), arguments, environ);
    if (failure != 0) id_ = -1;
    is_missing_ = failure == ENOENT;
  }
  ~Child() { end(); }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  // True when there is no such program.
  [[nodiscard]] bool is_missing() const { return is_missing_; }

  // Waits for the program's end. False when it had to be killed.
  bool end() {
    const pid_t id = std::exchange(id_, -1);
    if (id < 0) return true;
    for (microseconds pause{50}; Clock::now() < deadline_;
         pause = std::min(2 * pause, microseconds{20'000})) {
      if (waitpid(id, nullptr, WNOHANG) != 0) return true;
      std::this_thread::sleep_for(pause);
    }
    kill(-id, SIGKILL);
    while (waitpid(id, nullptr, 0) < 0 && errno == EINTR) continue;
    return false;
  }

 private:
  pid_t id_ = -1;
  bool is_missing_ = false;
  Clock::time_point deadline_;
};

bool wait_for_bytes(int descriptor, Clock::time_point deadline) {
  while (true) {
    const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
    if (left.count() <= 0) return false;
    pollfd wanted{descriptor, POLLIN, 0};
    const int ready = poll(&wanted, 1, static_cast<int>(left.count()));
    if (ready > 0) return true;
    if (ready == 0 || errno != EINTR) return false;
  }
}

std::string read_answer(int descriptor, Clock::time_point deadline) {
  std::string answer(kAnswerLength, '\0');
  std::size_t count = 0;
  while (count < answer.size() && wait_for_bytes(descriptor, deadline)) {
    const ssize_t n = read(descriptor, answer.data() + count, answer.size() - count);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    count += static_cast<std::size_t>(n);
  }
  answer.resize(count);
  return answer;
}

}  // namespace

std::string EncodingDetector::detect(const std::string& sample) {
  if (last_ && last_->sample == sample) return last_->answer;
  last_ = Detection{sample, usable_ ? ask(sample) : ""};
  return last_->answer;
}

std::string EncodingDetector::ask(const std::string& sample) {
  Pipe pipe;
  if (!pipe) return {};
  const Clock::time_point deadline = Clock::now() + time_limit_;
  Child child(sample.substr(0, sample.find('\0')), pipe.in(), deadline);
  pipe.close_in();
  std::string answer = read_answer(pipe.out(), deadline);
  pipe.close_out();
  if (child.is_missing()) usable_ = false;
  if (!child.end()) {
    usable_ = false;
    std::fprintf(stderr, "%s does not end, and is not started again\n", kProgram);
  }
  return answer.substr(0, answer.find('\0'));
}

}  // namespace corvexal
