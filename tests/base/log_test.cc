// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/log.h"

#include <gtest/gtest.h>
#include <syslog.h>

#include <regex>
#include <string>

#include "base/stream.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

TEST(ErrLog, WritesWhatPassesBothFilters) {
  const struct {
    int threshold, level;
    std::uint32_t category;
    bool written;
  } rows[] = {{0, 1, 8, false}, {2, 2, 8, true}, {2, 3, 8, false}, {2, 1, 0, false}};
  for (const auto& row : rows) {
    log_level = row.threshold;
    testing::CapturedOutput errors(2);
    err_log(row.level, row.category, "%s", std::string(2000, 'x').c_str());
    EXPECT_EQ(errors.text(), std::string(row.written ? 1023 : 0, 'x')) << row.threshold << ' ' << row.level;
  }
  {
    log_level = 1;
    testing::CapturedOutput errors(2);  // what a text holds is no line end and moves no terminal
    err_log(1, 8, "%s\n", "a \x7F\xC2\x80\xC2\x9F\xC2\xA0\n");
    EXPECT_EQ(errors.text(), "a \\x7f\\xc2\\x80\\xc2\\x9f\xC2\xA0\\x0a\n");
  }
  log_level = 0;
  EXPECT_EXIT(err_log(0, 0, "gone\n"), ::testing::ExitedWithCode(1), "^gone\nAborting\n$");
}

TEST(ErrLog, WritesToSyslogOrAFileAndAFatalMessageToStandardErrorAsWell) {
  constexpr std::uint32_t kNoExtraCopy = 0x800;
  const auto exits = ::testing::ExitedWithCode(1);
  openlog("run", LOG_PERROR, LOG_USER);  // shows on standard error what syslog is given
  log_destination = 1;
  EXPECT_EXIT(err_log(0, kNoExtraCopy, "gone\n"), exits, "^run: gone\nrun: Aborting\n$");

  const testing::TestFolder folder;
  const std::string name = folder.write("log", "");
  const Stream file(std::fopen(name.c_str(), "w"));
  log_file = file.get();
  log_destination = 2;
  log_level = 9;
  err_log(9, 8, "plain\n");
  EXPECT_EXIT(err_log(0, 8, "gone\n"), exits, "^gone\nAborting\n$");
  EXPECT_EXIT(err_log(0, kNoExtraCopy, "quiet\n"), exits, "^$");
  const std::string stamp = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2}: ";
  std::string expected;
  for (const char* text : {"plain", "gone", "Aborting", "quiet", "Aborting"}) expected += stamp + text + "\n";
  EXPECT_TRUE(std::regex_match(testing::read_file(name), std::regex(expected))) << testing::read_file(name);
  log_destination = log_level = 0;
  log_file = nullptr;
}

}  // namespace
}  // namespace corvexal
