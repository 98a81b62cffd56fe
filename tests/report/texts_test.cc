// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include "report/decoding.h"
#include "report/tongues.h"
#include "tests/metadata/tables.h"

namespace corvexal::report {
namespace {

using testing::table;

TEST(Texts, ThatAreRightPassAndShowTheirTongue) {
  DecodingJudge judge;
  for (const auto& row : table("../../report/tables/right_texts")) {
    EXPECT_EQ(tongue_of(row[1]), row[0]) << row[1];
    // As the catalogue cuts them.
    for (std::size_t size = 0; size <= row[1].size(); ++size)
      EXPECT_FALSE(judge.looks_wrong(row[1].substr(0, size))) << row[1] << " cut to " << size;
  }
  EXPECT_EQ(tongue_of("\xFF\xFE"), "none");
}

TEST(Texts, ThatAreWronglyDecodedShow) {
  DecodingJudge judge;
  for (const auto& row : table("../../report/tables/wrong_texts"))
    EXPECT_TRUE(judge.looks_wrong(row[1])) << row[0];
}

}  // namespace
}  // namespace corvexal::report
