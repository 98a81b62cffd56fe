// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/encoding_detector.h"

#include <gtest/gtest.h>
#include <sys/prctl.h>
#include <sys/wait.h>

#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <string>
#include <vector>

#include "tests/metadata/tables.h"
#include "tests/support/fake_detector.h"

namespace corvexal {
namespace {

using namespace std::chrono_literals;

// Children that are still there, and open descriptors.
std::ptrdiff_t leftovers() {
  const bool child = waitpid(-1, nullptr, WNOHANG) != -1 || errno != ECHILD;
  return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}) + (child ? 1000 : 0);
}

TEST(EncodingDetector, TakesTheAnswerInTimeAndLeavesNothingBehind) {
  const testing::FakeDetector detector;
  ASSERT_NE(std::freopen(testing::sample("README.md").c_str(), "r", stdin), nullptr) << "not for programs";
  const std::ptrdiff_t before = leftovers();
  EncodingDetector first;
  {
    testing::CapturedOutput error(2);
    EXPECT_EQ(first.detect("sample"), "") << "there is no program yet";
    EXPECT_EQ(error.text(), "");
  }
  const auto signal_before = std::signal(SIGPIPE, SIG_IGN);  // of which the program sees nothing
  sigset_t pipe, mask_before;
  sigemptyset(&pipe);
  sigaddset(&pipe, SIGPIPE);
  pthread_sigmask(SIG_BLOCK, &pipe, &mask_before);
  for (const testing::Row& row : testing::table("detector_answers")) {
    detector.runs(row[0]);
    EXPECT_EQ(EncodingDetector(500ms).detect("sample"), row[1]) << row[0];
    EXPECT_EQ(leftovers(), before) << row[0];
  }
  for (const char* command :
       {"printf KOI8-R", "yes KOI8-R"}) {  // which end by themselves, and at a closed pipe
    detector.runs(command);
    EXPECT_EQ(EncodingDetector(1h).detect("sample").substr(0, 6), "KOI8-R") << command;
  }
  detector.answers("UTF-8");
  EXPECT_EQ(first.detect("another"), "") << "it is looked for once";
  pthread_sigmask(SIG_SETMASK, &mask_before, nullptr);
  std::signal(SIGPIPE, signal_before);
}

TEST(EncodingDetector, KeepsSamplesThatAreSwitchesToItself) {
  const testing::FakeDetector detector;
  detector.answers("Usage:");
  for (const char* sample : {"--help", "--version"})
    EXPECT_EQ(EncodingDetector().detect(sample), "") << sample;
  EXPECT_EQ(detector.arguments(), std::vector<std::string>{});
}

TEST(EncodingDetector, GivesAScriptThatNamesNoInterpreterToTheShell) {
  if (CORVEXAL_EMULATED) GTEST_SKIP() << "an emulator's posix_spawn does not say that a program cannot start";
  const testing::FakeDetector detector;
  detector.runs("printf %s \"${0##*/}\"", "");
  const testing::TestFolder folder;  // of what is no program, earlier in PATH
  folder.write("a/detect_char_encode", "");
  folder.write("b/detect_char_encode/file", "");
  setenv("PATH", (folder.path() + "/a:" + folder.path() + "/b:" + std::getenv("PATH")).c_str(), 1);
  EXPECT_EQ(EncodingDetector(500ms).detect("-c $0 it's"), "detect_char_encode");
  EXPECT_EQ(detector.arguments(), std::vector<std::string>{"-c $0 it's"});
}

TEST(EncodingDetector, EndsWhatTheProgramLeavesRunning) {
  if (prctl(PR_SET_CHILD_SUBREAPER, 1) != 0)
    GTEST_SKIP() << "no emulator's process can wait for a grandchild";
  const testing::FakeDetector detector;
  detector.runs("sleep 600 2>&1 & printf KOI8-R");
  EXPECT_EQ(EncodingDetector(1h).detect("sample"), "KOI8-R") << "nothing that is left running is waited for";
  int ending = 0;
  EXPECT_TRUE(wait(&ending) > 0 && WIFSIGNALED(ending)) << "it runs to its end";
}

TEST(EncodingDetector, IsAskedOnceAndNotAgainOnceItHangs) {
  const testing::FakeDetector detector;
  EncodingDetector encodings(500ms);
  testing::CapturedOutput error(2);
  detector.answers("UTF-8");
  const std::string victim = detector.folder() + "/victim";
  const std::string hostile =
      "$(touch " + victim + ")`touch " + victim + "`'\"; touch " + victim + "\n* a  b";
  EXPECT_EQ(encodings.detect(hostile), "UTF-8");
  EXPECT_EQ(detector.arguments(), std::vector{hostile}) << "one argument, which no shell sees";
  EXPECT_FALSE(std::filesystem::exists(victim));

  detector.runs("printf KOI8-R; sleep 60");
  EXPECT_EQ(encodings.detect(hostile), "UTF-8");
  EXPECT_EQ(encodings.detect("second"), "KOI8-R");
  EXPECT_EQ(encodings.detect(hostile), "UTF-8") << "not only the last answer is remembered";
  EXPECT_EQ(encodings.detect("third"), "");
  EXPECT_EQ(detector.arguments(), std::vector<std::string>{"second"});
  EXPECT_EQ(error.text(), "detect_char_encode does not end, and is not started again\n");
}

}  // namespace
}  // namespace corvexal
