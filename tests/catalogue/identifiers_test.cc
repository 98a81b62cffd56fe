// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/identifiers.h"

#include <gtest/gtest.h>

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using IdentifiersTest = testing::CatalogueTest;

TEST_F(IdentifiersTest, AreWrongOutsideTheirRangeAndWhenAnEarlierRowHoldsThem) {
  const struct {
    std::vector<std::pair<std::string, std::string>> rows;  // No and ObjID
    const char* wrong;                                      // the row's place, n for No and o for ObjID
  } cases[] = {
      {{{"1", "3000000000001"}, {"2147483647", "3029999999999"}}, ""},
      {{{"2147483647", "3029999999999"}, {"1", "3000000000001"}}, ""},
      {{{"1", "3000000000001"}, {"2", "3000000000001"}}, "2o"},
      {{{"1", "3000000000001"}, {"1", "3000000000002"}}, "2n"},
      {{{"1", "3030000000000"}, {"2", "3000000000000"}}, "1o2o"},
      {{{"1", "3000000000000"}}, "1o"},
      {{{"0", "3000000000002"}, {"2147483648", "3000000000003"}}, "1n2n"},
      {{{"01", "03000000000002"}, {" 2", "3000000000003 "}, {"3x", ""}, {"-4", "x"}}, "1no2no3no4no"},
  };
  for (const auto& [rows, wrong] : cases) {
    run("delete from music_tbl;");
    for (const auto& [number, objid] : rows)
      run(R"(insert into music_tbl (No,ObjID) values ("%s","%s");)", number, objid);
    const auto found = wrong_identifiers(db, kMusicIds);
    ASSERT_TRUE(found);
    std::string seen;
    for (const auto& [rowid, which] : *found)
      seen += std::to_string(rowid) + (which.number ? "n" : "") + (which.objid ? "o" : "");
    EXPECT_EQ(seen, wrong) << rows[0].first << ' ' << rows[0].second;
  }
  run("alter table music_tbl rename ObjID to x;");
  EXPECT_FALSE(wrong_identifiers(db, kMusicIds));
}

TEST_F(IdentifiersTest, GoOnAboveTheHighest) {
  for (const char* values :
       {"('7','2000000000005')", "('9223372036854775807','')", "('x','3000000000001')", "('2147483647','')"})
    run(std::string("insert into video_tbl (No,ObjID) values ") + values + ";");
  IdentifierSource videos(kVideoIds), photos(kPhotoIds);
  EXPECT_EQ(videos.objid(db)++, 2000000000006U);
  EXPECT_EQ(videos.objid(db), 2000000000007U);
  EXPECT_EQ(videos.number(db), 8);
  EXPECT_EQ(photos.objid(db), 1000000000001U);
  EXPECT_EQ(photos.number(db), 1);
}

}  // namespace
}  // namespace corvexal
