#include "metadata/composite_tags.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(MakeCompositeTags, FillsWhatTheTagsLeft) {
  const struct {
    Text artist, orchestra, conductor, made;
  } rows[] = {{{}, {}, {}, {}}, {{}, "O", {}, "O"}, {{}, "", "C", " - C"}, {"", "O", {}, ""}};
  SongInfo song;
  for (const auto& row : rows) {
    song.artist = row.artist;
    song.orchestra = row.orchestra;
    song.conductor = row.conductor;
    song.fname = song.type = "a.OGG";
    make_composite_tags(song);
    EXPECT_EQ(song.artist, row.made) << row.orchestra.value_or("none");
  }
  EXPECT_EQ(song.title, "a.OGG");
  EXPECT_EQ(song.description, "a.OGG audio file");
}

}  // namespace
}  // namespace corvexal
