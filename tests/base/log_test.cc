#include "base/log.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <regex>
#include <string>

#include "base/locations.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;
using testing::TestFolder;

// The fixed locations are rooted in the working folder, so these tests move into one of their own.
class LogPrintf : public ::testing::Test {
 protected:
  LogPrintf() {
    std::filesystem::current_path(folder_.path());
    std::filesystem::create_directories("var/log");
  }
  ~LogPrintf() override { std::filesystem::current_path(before_); }

  std::filesystem::path before_ = std::filesystem::current_path();
  TestFolder folder_;
};

TEST_F(LogPrintf, AppendsADateLineThenTheMessage) {
  log_printf("first %d", 1);
  log_printf("%s", std::string(2000, 'x').c_str());
  const std::string date = "[A-Z][a-z]{2} [A-Z][a-z]{2} [ 0-9]{2} [0-9:]{8} [0-9]{4}\n";
  EXPECT_TRUE(std::regex_match(testing::read_file(kLogFile),
                               std::regex(date + ":first 1\n" + date + ":x{2000}\n", std::regex::optimize)));
}

TEST_F(LogPrintf, IsSilentWithoutALogFolder) {
  std::filesystem::remove_all("var");
  log_printf("lost");
  EXPECT_FALSE(std::filesystem::exists("var"));
}

TEST(ErrLog, WritesWhatPassesBothFilters) {
  const int level_before = log_level;
  const struct {
    int threshold, level;
    std::uint32_t category;
    bool written;
  } rows[] = {{0, 1, 8, false}, {0, 9, 8, false}, {2, 2, 8, true}, {2, 3, 8, false}, {2, 1, 0, false}};
  for (const auto& row : rows) {
    log_level = row.threshold;
    CapturedOutput errors(2);
    err_log(row.level, row.category, "text\n");
    EXPECT_EQ(errors.text(), row.written ? "text\n" : "") << row.threshold << ' ' << row.level;
  }
  log_level = 1;
  CapturedOutput errors(2);
  err_log(1, 8, "%s", std::string(2000, 'x').c_str());
  EXPECT_EQ(errors.text(), std::string(1023, 'x'));
  log_level = level_before;
}

TEST(ErrLog, WritesToALogFileWithTheTime) {
  const TestFolder folder;
  const std::string name = folder.path() + "/own.log";
  const std::unique_ptr<std::FILE, int (*)(std::FILE*)> file(std::fopen(name.c_str(), "w"), std::fclose);
  log_file = file.get();
  log_destination = 2;
  log_level = 9;
  err_log(9, 8, "%s\n", "first");
  err_log(2, 8, "second\n");
  log_file = nullptr;
  log_destination = log_level = 0;
  const std::string stamp = "[0-9]{4}-[0-9]{2}-[0-9]{2} [0-9:]{8}: ";
  EXPECT_TRUE(std::regex_match(testing::read_file(name), std::regex(stamp + "first\n" + stamp + "second\n")));
}

TEST(ErrLogDeathTest, ExitsOnAFatalMessage) {
  EXPECT_EXIT(err_log(0, 0, "gone\n"), ::testing::ExitedWithCode(1), "^gone\nAborting\n$");
  EXPECT_EXIT(
      {
        log_destination = 2;  // no file: the copy on standard error is all there is
        err_log(0, 8, "gone\n");
      },
      ::testing::ExitedWithCode(1), "^gone\nAborting\n$");
}

}  // namespace
}  // namespace corvexal
