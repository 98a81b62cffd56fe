#include "metadata/encoding_detector.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <poll.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "tests/support/fake_detector.h"

namespace corvexal {
namespace {

using namespace std::chrono_literals;
using namespace std::string_literals;
using testing::FakeDetector;
using Arguments = std::vector<std::string>;

std::ptrdiff_t open_descriptors() {
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"),
                       std::filesystem::directory_iterator());
}

bool has_children() {
  return waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
}

TEST(EncodingDetector, UsesTheAnswerAsPrinted) {
  const FakeDetector detector;
  const struct {
    const char* commands;
    std::string answer;
  } rows[] = {{"printf gb18030", "gb18030"},
              {"echo gb18030", "gb18030\n"},
              {"printf gb; sleep 0.1; printf 18030", "gb18030"},
              {"printf '%s' 0123456789abcdefghijk", "0123456789abcdefgh"},
              {"yes 0123456789", "0123456789\n0123456"},
              {"printf 'UTF-8\\0rest'", "UTF-8"},
              {"printf '\\0'", ""},
              {"printf KOI8-R; exit 3", "KOI8-R"},
              {"printf KOI8-R; kill -9 $$", "KOI8-R"},
              {"exec >&-; exit", ""},
              {"true", ""},
              {"cat", ""}};  // nothing comes from standard input
  const std::ptrdiff_t before = open_descriptors();
  for (const auto& row : rows) {
    detector.runs(row.commands);
    EXPECT_EQ(EncodingDetector().detect("sample"), row.answer) << row.commands;
    EXPECT_FALSE(has_children()) << row.commands;
  }
  EXPECT_EQ(open_descriptors(), before);
}

TEST(EncodingDetector, MayBeMissing) {
  const FakeDetector detector;
  const std::ptrdiff_t before = open_descriptors();
  EXPECT_EQ(EncodingDetector().detect("sample"), "");
  EXPECT_EQ(open_descriptors(), before);
  EXPECT_FALSE(has_children());
}

TEST(EncodingDetector, GetsTheSampleAsOneArgumentThatNoShellSees) {
  const FakeDetector detector;
  detector.answers("UTF-8");
  const std::string victim = detector.folder() + "/victim";
  const std::string samples[] = {"$(touch " + victim + ")",
                                 "`touch " + victim + "`",
                                 "\"; touch " + victim + "; \"",
                                 "'; touch " + victim + " #",
                                 "| touch " + victim + " &",
                                 "\ntouch " + victim + "\n",
                                 "a  b\\n $HOME *",
                                 "--help",
                                 "\xFF\x80\x01",
                                 ""};
  for (const std::string& sample : samples) {
    EXPECT_EQ(EncodingDetector().detect(sample), "UTF-8") << sample;
    EXPECT_EQ(detector.arguments(), Arguments{sample});
  }
  EXPECT_FALSE(std::filesystem::exists(victim));
  EXPECT_EQ(EncodingDetector().detect("front\0behind"s), "UTF-8");
  EXPECT_EQ(detector.arguments(), Arguments{"front"});
}

TEST(EncodingDetector, DoesNotHangWithItsProgram) {
  const FakeDetector detector;
  const struct {
    const char* commands;
    const char* answer;
  } rows[] = {{"sleep 60", ""},
              {"printf KOI8-R; sleep 60", "KOI8-R"},
              {"printf KOI8-R; exec >&-; sleep 60", "KOI8-R"},
              {"trap '' TERM PIPE; while :; do printf x; done 2>/dev/null", "xxxxxxxxxxxxxxxxxx"}};
  for (const auto& row : rows) {
    detector.runs(row.commands);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(EncodingDetector(300ms).detect("sample"), row.answer) << row.commands;
    EXPECT_LT(std::chrono::steady_clock::now() - start, 10s) << row.commands;
    EXPECT_FALSE(has_children()) << row.commands;
  }
}

TEST(EncodingDetector, IsNotStartedAgainOnceItHangs) {
  const FakeDetector detector;
  EncodingDetector encodings(300ms);
  testing::CapturedOutput error(2);
  detector.runs("printf KOI8-R; sleep 60");
  EXPECT_EQ(encodings.detect("first"), "KOI8-R");
  detector.answers("UTF-8");
  EXPECT_EQ(encodings.detect("second"), "");
  EXPECT_EQ(encodings.detect("third"), "");
  EXPECT_EQ(detector.arguments(), Arguments{"first"});
  EXPECT_EQ(error.text(), "detect_char_encode does not end, and is not started again\n");
}

TEST(EncodingDetector, IsNotAskedTwiceInARow) {
  const FakeDetector detector;
  EncodingDetector encodings;
  detector.answers("KOI8-R");
  EXPECT_EQ(encodings.detect(""), "KOI8-R");
  EXPECT_EQ(encodings.detect("a"), "KOI8-R");
  detector.answers("UTF-8");
  EXPECT_EQ(encodings.detect("a"), "KOI8-R");
  EXPECT_EQ(encodings.detect("b"), "UTF-8");
  EXPECT_EQ(encodings.detect("a"), "UTF-8");
}

TEST(EncodingDetector, LeavesNothingBehindThatHoldsItsOutput) {
  const FakeDetector detector;
  const std::string fifo = detector.folder() + "/fifo";
  ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
  const int reader = open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
  detector.runs("sleep 60 3>'" + fifo + "' & printf KOI8-R");
  EXPECT_EQ(EncodingDetector(300ms).detect("sample"), "KOI8-R");
  pollfd hung_up{reader, 0, 0};
  EXPECT_EQ(poll(&hung_up, 1, 10'000), 1) << "the fifo's writer lives on";
  close(reader);
}

TEST(EncodingDetector, EndsWithItsPipeWhateverTheRunIgnores) {
  const FakeDetector detector;
  detector.runs("kill -PIPE $$; printf alive");
  const auto before = std::signal(SIGPIPE, SIG_IGN);
  EXPECT_EQ(EncodingDetector().detect("sample"), "");
  std::signal(SIGPIPE, before);
}

}  // namespace
}  // namespace corvexal
