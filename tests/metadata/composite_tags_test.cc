#include "metadata/composite_tags.h"

#include <gtest/gtest.h>

namespace corvexal {
namespace {

TEST(MakeCompositeTags, ComposesAMissingArtist) {
  const struct {
    Text artist, orchestra, conductor, made;
  } rows[] = {{{}, {}, {}, {}},      {{}, "O", {}, "O"},   {{}, {}, "C", "C"}, {{}, "O", "C", "O - C"},
              {{}, "", "C", " - C"}, {"A", "O", "C", "A"}, {"", "O", {}, ""}};
  for (const auto& row : rows) {
    SongInfo song;
    song.artist = row.artist;
    song.orchestra = row.orchestra;
    song.conductor = row.conductor;
    make_composite_tags(song);
    EXPECT_EQ(song.artist, row.made) << row.orchestra.value_or("none") << '/'
                                     << row.conductor.value_or("none");
  }
}

TEST(MakeCompositeTags, DescribesFilesAndPlaylistEntries) {
  SongInfo song;
  song.fname = "a.OGG";
  song.type = "OGG";
  song.data_kind = 7;
  make_composite_tags(song);
  EXPECT_EQ(song.title, "a.OGG");
  EXPECT_EQ(song.description, "OGG audio file");
  EXPECT_EQ(song.data_kind, 0);
  EXPECT_EQ(song.item_kind, 2);

  song.url = "http://host/stream";
  make_composite_tags(song);
  EXPECT_EQ(song.description, "Playlist URL");
  EXPECT_EQ(song.data_kind, 1);
  EXPECT_EQ(song.type, "pls");
}

}  // namespace
}  // namespace corvexal
