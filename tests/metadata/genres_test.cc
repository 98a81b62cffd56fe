#include "metadata/genres.h"

#include <gtest/gtest.h>

#include <climits>

namespace corvexal {
namespace {

TEST(Genres, AreNamedAsTheStoresHaveThem) {
  for (const int other : {148, 149, -1, INT_MAX, INT_MIN}) EXPECT_EQ(genre_name(other), "Others") << other;
  const struct {
    const char* text;
    const char* name;
  } rows[] = {{"(17)Rock", "Rock"}, {"(13", "Pop"},      {"84x", "Fast-fusion"},
              {"133", "NegerPunk"}, {"147", "SynthPop"}, {"Rock", "Others"},
              {"", "Others"},       {"(", "Others"},     {"-1", "Others"},
              {" 13", "Others"},    {"((13)", "Others"}, {"99999999999999999999", "Others"}};
  for (const auto& row : rows) EXPECT_EQ(genre_of_text(row.text), row.name) << row.text;
}

}  // namespace
}  // namespace corvexal
