#include "metadata/composite_tags.h"

#include <gtest/gtest.h>

#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

TEST(MakeCompositeTags, FillsWhatTheTagsLeft) {
  SongInfo song;
  song.fname = song.type = "a.OGG";
  song.conductor = "C";
  const auto artist_of = [&](const Text& orchestra, const Text& artist) {
    song.orchestra = orchestra;
    song.artist = artist;
    make_composite_tags(song);
    song.fname = "b.OGG";
    return song.artist;
  };
  EXPECT_EQ(testing::row_of(artist_of({}, {}), artist_of("", {}), artist_of("O", "A")),
            (testing::Row{"C", " - C", "A"}));
  EXPECT_EQ(testing::row_of(song.title, song.description), (testing::Row{"a.OGG", "a.OGG audio file"}));
}

}  // namespace
}  // namespace corvexal
