#include "base/log.h"

#include <gtest/gtest.h>

#include <string>

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
  log_level = 0;
  EXPECT_EXIT(err_log(0, 0, "gone\n"), ::testing::ExitedWithCode(1), "^gone\nAborting\n$");
}

}  // namespace
}  // namespace corvexal
