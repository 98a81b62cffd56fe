// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/sync.h"

#include <climits>

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
  EXPECT_EQ(printed([this] { EXPECT_EQ(DeleteFolderRow(session, "/s/", "path_objid_tbl"), 0); }),
            " success!\n");
}

TEST_F(SyncTest, LooksForPathAndNamePutTogether) {
  write_file("t/a.iso");
  session.config.mntpath = path("none");
  const std::pair<std::string, std::string> rows[] = {
      {path("t"), "a.iso"},  {path("none/"), "a.iso"}, {path("t/"), path("t/a.iso")}, {path("t/"), "b.iso"},
      {path("t/"), "a.iso"}, {path("t/a"), ".iso"},    {path(""), "t/a.iso"},         {path("t/a.iso"), ""}};
  for (const auto& [folder, name] : rows) add_row("video_tbl", folder, name);
  for (std::string folder = path("t/"); folder.size() + 5 <= PATH_MAX; folder += '/')  // the last is too long
    if (folder.size() + 6 >= PATH_MAX) add_row("video_tbl", folder, "a.iso");
  testing::CapturedOutput errors(2);
  EXPECT_EQ(sync_mms_db(session), 1);
  EXPECT_TRUE(errors.text().ends_with(" video_tbl 5\n"));  // the first four and the last
}

TEST_F(SyncTest, LocksOtherClientsOutForSomeRowsAtATime) {
  for (int i = 0; i < 501; ++i) add_row("photo_tbl", path(""), std::to_string(i) + ".jpg");
  EXPECT_EQ(sync_mms_db(session), 1);
  EXPECT_EQ(committed("select count(*) from photo_tbl"), "1");
}

}  // namespace
}  // namespace corvexal
