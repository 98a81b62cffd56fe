#include "metadata/genres.h"

#include <gtest/gtest.h>

#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

TEST(Genres, AreNamedAsTheStoresHaveThem) {
  for (const testing::Row& row : testing::table("genres")) EXPECT_EQ(genre_of_text(row[0]), row[1]) << row[0];
  for (const int other : {148, 149, -1}) EXPECT_EQ(genre_name(other), "Others") << other;
}

}  // namespace
}  // namespace corvexal
