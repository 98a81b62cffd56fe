#include "metadata/genres.h"

#include <gtest/gtest.h>

#include <climits>

namespace corvexal {
namespace {

TEST(GenreName, KnowsTheListAndCallsTheRestOthers) {
  const struct {
    int index;
    const char* name;
  } rows[] = {{0, "Blues"},
              {13, "Pop"},
              {82, "National folk"},
              {84, "Fast-fusion"},
              {117, "Powder Ballad"},
              {123, "A Capella"},
              {128, "Club House"},
              {133, "NegerPunk"},
              {136, "Christian Gangsta"},
              {140, "Contemporary C"},
              {147, "SynthPop"},
              {148, "Others"},
              {149, "Others"},
              {-1, "Others"},
              {INT_MAX, "Others"},
              {INT_MIN, "Others"}};
  for (const auto& row : rows) EXPECT_EQ(genre_name(row.index), row.name) << row.index;
}

TEST(GenreOfText, TakesNumbersAlone) {
  const struct {
    const char* text;
    const char* name;
  } rows[] = {{"13", "Pop"},     {"(13)", "Pop"},   {"(17)Rock", "Rock"}, {"(17", "Rock"},
              {"13x", "Pop"},    {"0", "Blues"},    {"Rock", "Others"},   {"(RX)", "Others"},
              {"200", "Others"}, {"", "Others"},    {"(", "Others"},      {"((13)", "Others"},
              {"-1", "Others"},  {" 13", "Others"}, {"(-1)", "Others"},   {"99999999999999999999", "Others"}};
  for (const auto& row : rows) EXPECT_EQ(genre_of_text(row.text), row.name) << row.text;
}

}  // namespace
}  // namespace corvexal
