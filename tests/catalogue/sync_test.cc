// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/sync.h"

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using SyncTest = testing::CatalogueTest;

TEST_F(SyncTest, EndsAtATableThatCannotBeReadAndSaysWhatWentWithTheMountPath) {
  for (const char* table : {"photo_tbl", "music_tbl", "music_tbl"}) add_row(table, "/s/", "gone.mp3");
  add_row("music_tbl", "/s/", "undeletable.mp3");
  run("update music_tbl set UTF_fname = '\"' where UTF_fname == 'undeletable.mp3';");
  run("drop table video_tbl;");
  session.config.mntpath = path("none");
  testing::CapturedOutput errors(2);
  EXPECT_EQ(printed([this] { EXPECT_EQ(sync_mms_db(session), 0); }), "4Execute SQL query Error\n");
  EXPECT_EQ(errors.text(),
            "Corvexal: the mount path " + session.config.mntpath +
                " cannot be found; rows removed from the catalogue: photo_tbl 1 music_tbl 2\n");
}

TEST_F(SyncTest, LooksForPathAndNamePutTogether) {
  write_file("t/a.iso");
  session.config.mntpath = path("none");
  const std::pair<std::string, std::string> rows[] = {
      {path("t"), "a.iso"},  {path("none/"), "a.iso"}, {path("t/"), path("t/a.iso")}, {path("t/"), "b.iso"},
      {path("t/"), "a.iso"}, {path("t/a"), ".iso"},    {path(""), "t/a.iso"},         {path("t/a.iso"), ""}};
  for (const auto& [folder, name] : rows) add_row("video_tbl", folder, name);
  testing::CapturedOutput errors(2);
  EXPECT_EQ(sync_mms_db(session), 1);
  EXPECT_TRUE(errors.text().ends_with(" video_tbl 4\n"));  // the first four
}

}  // namespace
}  // namespace corvexal
