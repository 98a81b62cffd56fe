// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/object_ids.h"

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using ObjectIdsTest = testing::CatalogueTest;

TEST_F(ObjectIdsTest, SkipTakenPhotoIdentifiers) {
  for (const char* taken : {"...2", "...2", "...3x", "...3", "...5"})
    run("insert into photo_tbl (ObjID) values (replace('%s', '...', '100000000000'));", taken);
  EXPECT_EQ(printed([this] { EXPECT_EQ(get_objid(db, "photo_tbl", 1000000000002), 1000000000004U); }),
            "get_objid(): objID = [1000000000004]\n");
}

TEST_F(ObjectIdsTest, TakeTheFolderRowsOwnWhereThereIsOne) {
  run("insert into path_objid_tbl (path,ObjID) values ('/s/','4000000000009');");
  EXPECT_EQ(printed([this] { EXPECT_EQ(get_old_objid(db, session.ids, "/s/"), 4000000000009U); }),
            "get_old_objid(): init_objid.media_path_objid = [4000000000009]\n");
  EXPECT_EQ(printed([this] { get_old_objid(db, session.ids, "/t/"); }),
            "get_old_objid(): init_objid.media_path_objid = [4000000000009]\n");
  EXPECT_EQ(get_parid(db, session.ids, "/s/a.mp3"), 4000000000009U);
  EXPECT_EQ(get_parid(db, session.ids, "/t/a.mp3"), 4000000000002U);
  run("drop table path_objid_tbl;");
  EXPECT_EQ(printed([this] { get_old_objid(db, session.ids, "/s/"); }),
            "get_old_objid(): Exe SQL query Error = [no such table: path_objid_tbl]\n"
            "get_old_objid(): init_objid.media_path_objid = [4000000000009]\n");
  EXPECT_EQ(printed([this] { EXPECT_EQ(get_parid(db, session.ids, "/s/a.mp3"), 0U); }),
            "get_parid():1Exe SQL query Error[select ObjID from path_objid_tbl where path == '/s/';]\n");
}

}  // namespace
}  // namespace corvexal
