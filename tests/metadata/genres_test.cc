// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/genres.h"

#include <gtest/gtest.h>

#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

TEST(Genres, AreNamedAsTheStoresHaveThem) {
  for (const testing::Row& row : testing::table("genres")) EXPECT_EQ(genre_of_text(row[0]), row[1]) << row[0];
  const testing::Row names = testing::table("genre_names")[0];
  for (int index = 0; index <= kOtherGenre; ++index)
    EXPECT_EQ(genre_name(index), names.at(static_cast<std::size_t>(index))) << index;
  for (const int other : {149, -1}) EXPECT_EQ(genre_name(other), "Others") << other;
}

}  // namespace
}  // namespace corvexal
