#include "metadata/encoding_detector.h"

#include <gtest/gtest.h>
#include <sys/wait.h>

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
using testing::FakeDetector;
using Arguments = std::vector<std::string>;

// Children that are still there, and open descriptors.
std::ptrdiff_t left_behind() {
  const bool child = waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}) + (child ? 1000 : 0);
}

TEST(EncodingDetector, TakesTheAnswerInTimeAndLeavesNothingBehind) {
  const FakeDetector detector;
  const std::ptrdiff_t before = left_behind();
  EXPECT_EQ(EncodingDetector().detect("sample"), "") << "there is no program yet";
  const struct {
    const char* commands;
    const char* answer;
  } rows[] = {{"echo gb18030", "gb18030\n"},
              {"printf gb; sleep 0.1; printf 18030", "gb18030"},
              {"yes 0123456789", "0123456789\n0123456"},
              {"printf 'UTF-8\\0rest'", "UTF-8"},
              {"printf KOI8-R; kill -9 $$", "KOI8-R"},
              {"cat", ""},  // nothing comes from standard input
              {"printf KOI8-R; exec >&-; sleep 60", "KOI8-R"},
              {"sleep 60 & printf KOI8-R", "KOI8-R"},
              {"trap '' TERM PIPE; while :; do printf x; done 2>/dev/null", "xxxxxxxxxxxxxxxxxx"},
              {"kill -PIPE $$; printf alive", ""}};
  const auto signal_before = std::signal(SIGPIPE, SIG_IGN);
  for (const auto& row : rows) {
    detector.runs(row.commands);
    EXPECT_EQ(EncodingDetector(500ms).detect("sample"), row.answer) << row.commands;
    EXPECT_EQ(left_behind(), before) << row.commands;
  }
  std::signal(SIGPIPE, signal_before);
}

TEST(EncodingDetector, GetsTheSampleAsOneArgumentThatNoShellSees) {
  const FakeDetector detector;
  detector.answers("UTF-8");
  const std::string victim = detector.folder() + "/victim";
  for (const std::string& sample : {"$(touch " + victim + ")", "\"; touch " + victim + "; '",
                                    "\ntouch " + victim + "\n", std::string("--help")}) {
    EXPECT_EQ(EncodingDetector().detect(sample), "UTF-8") << sample;
    EXPECT_EQ(detector.arguments(), Arguments{sample});
  }
  EXPECT_FALSE(std::filesystem::exists(victim));
}

TEST(EncodingDetector, IsNotStartedAgainOnceItHangsNorAskedTwice) {
  const FakeDetector detector;
  EncodingDetector encodings(500ms);
  testing::CapturedOutput error(2);
  detector.answers("UTF-8");
  EXPECT_EQ(encodings.detect("first"), "UTF-8");
  detector.runs("printf KOI8-R; sleep 60");
  EXPECT_EQ(encodings.detect("first"), "UTF-8");
  EXPECT_EQ(encodings.detect("second"), "KOI8-R");
  EXPECT_EQ(encodings.detect("third"), "");
  EXPECT_EQ(detector.arguments(), Arguments{"second"});
  EXPECT_EQ(error.text(), "detect_char_encode does not end, and is not started again\n");
}

}  // namespace
}  // namespace corvexal
