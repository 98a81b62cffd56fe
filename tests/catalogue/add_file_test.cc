// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/add_file.h"

#include "catalogue/remove.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using AddFileTest = testing::CatalogueTest;

TEST_F(AddFileTest, NumbersEachKindInItsOwnWay) {
  for (const char* name : {"x.mp3", "y.mp3"}) add_row("music_tbl", "/s/", name);
  for (const char* name : {"x.jpg", "y.jpg"}) add_row("photo_tbl", "/s/", name);
  run("update photo_tbl set ObjID = '1000000000003';");
  add_folder(path("in/"), "4000000000009");
  for (const char* name : {"list.m3u", "a.mp3", "a.gif", "in/b.gif"}) {
    const std::string file = write_file(name, "GIF89a\x05");
    printed([&] { EXPECT_EQ(MmsAddMediaFile(session, file), 1) << file; });
    static_cast<void>(column("select 1"));  // the rebuild closed the catalogue
  }
  // Playlists are not counted up, photos probed for a free identifier.
  EXPECT_EQ(column("select No||' '||ObjID||' '||ParentID from music_tbl where ParentID != ''"),
            "3 3000000000001 4000000000001|4 3000000000005 4000000000001");
  // A folder without a row of its own takes a fresh parent identifier each time, but only a photo shows it.
  EXPECT_EQ(column("select No||' '||ObjID||' '||ParentID from photo_tbl where ParentID != ''"),
            "3 1000000000004 4000000000004|4 1000000000008 4000000000009");
}

TEST_F(AddFileTest, KeepsTheBytesOfANameThatCannotBeConverted) {
  const struct {
    const char *name, *table, *reported;
  } rows[] = {{"\xFC.gif", "photo_tbl", "MmsAddMediaFile(): ret = [-1]\n"},
              {"\xFC.mp3", "music_tbl", "1ret = -1\n2ret = -1\n"},
              {"\xFC.pls", "music_tbl", "5ret = -1\n"},
              {"\xFC.mpg", "video_tbl", "4ret = -1\n"},
              {"\xFC.srt", "video_tbl", "5ret = -1\n"}};
  session.names = NameCharset("no such set");
  for (const auto& [name, table, reported] : rows) {
    const std::string file = write_file(std::string("\xFC/") + name, "GIF89a\x05");
    const std::string said = printed([&] { EXPECT_EQ(MmsAddMediaFile(session, file), 1); });
    EXPECT_NE(said.find(reported), std::string::npos) << name << ": " << said;
    EXPECT_EQ(said.find("1ret"), std::string_view(reported).find("1ret")) << name << ": " << said;
    EXPECT_EQ(column(std::string("select UTF_fname from ") + table), name);
    const int removal = std::string_view(name).ends_with(".srt") ? -1 : 0;
    printed([&] { EXPECT_EQ(RemoveMediaFile(session, file), removal) << file; });
    EXPECT_EQ(column(std::string("select UTF_fname from ") + table), removal == 0 ? "" : name);
  }
}

TEST_F(AddFileTest, TellsWhatItPassesOver) {
  EXPECT_EQ(MmsAddMediaFile(session, path("no extension")), 0);
  EXPECT_EQ(MmsAddMediaFile(session, path("too.long22")), 0);
  EXPECT_EQ(MmsAddMediaFile(session, path("unknown.xyzab")), 1);
  const std::string file = write_file("list.m3u");
  for (int i = 0; i < 2; ++i) EXPECT_EQ(MmsAddMediaFile(session, file), 1);
  EXPECT_EQ(column("select count(*) from music_tbl"), "1");
  printed([&] { EXPECT_EQ(MmsAddMediaFile(session, write_file("no.jpg", "picture")), 1); });
  EXPECT_EQ(column("select count(*) from photo_tbl"), "0");
}

}  // namespace
}  // namespace corvexal
