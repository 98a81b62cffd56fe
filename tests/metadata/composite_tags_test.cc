// SPDX-License-Identifier: GPL-3.0-or-later
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
  const auto derived = [&] {
    return testing::row_of(song.title, song.type, song.description, song.data_kind, song.item_kind);
  };
  EXPECT_EQ(derived(), (testing::Row{"a.OGG", "a.OGG", "a.OGG audio file", "0", "2"}));
  song.url = "http://radio";
  make_composite_tags(song);
  EXPECT_EQ(derived(), (testing::Row{"a.OGG", "pls", "Playlist URL", "1", "2"}));
}

}  // namespace
}  // namespace corvexal
