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
  session.names = NameCharset("no such set");
  const std::string file = write_file("\xFC.gif", "GIF89a\x05");
  printed([&] { EXPECT_EQ(MmsAddMediaFile(session, file), 1); });
  EXPECT_EQ(column("select UTF_fname from photo_tbl"), "\xFC.gif");
  printed([&] { EXPECT_EQ(RemoveMediaFile(session, file), 0); });
  EXPECT_EQ(column("select UTF_fname from photo_tbl"), "");
}

}  // namespace
}  // namespace corvexal
