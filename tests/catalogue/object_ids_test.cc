#include "catalogue/object_ids.h"

#include "catalogue/row_counts.h"
#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;
using ObjectIdsTest = testing::CatalogueTest;

TEST_F(ObjectIdsTest, NumberARowAfterTheLastOne) {
  EXPECT_EQ(LastRowNo(g_db, "music_tbl"), 0);
  for (const char* name : {"a.mp3", "b.mp3", "c.mp3"}) add_music("/s/", name);
  run("delete from music_tbl where No == '1';");
  EXPECT_EQ(LastRowNo(g_db, "music_tbl"), 3);  // a gap is not filled
  run("delete from music_tbl where No == '3';");
  EXPECT_EQ(LastRowNo(g_db, "music_tbl"), 2);  // the last number is free again
  EXPECT_EQ(LastRowNo(g_db, "nowhere"), -1);
}

TEST_F(ObjectIdsTest, AdvanceByTheRowsThereAre) {
  add_music("/s/", "a.mp3");
  add_music("/s/", "");  // nameless rows do not count
  advance_by_row_count("music_tbl", init_objid.music_file_objid);
  EXPECT_EQ(init_objid.music_file_objid, 3000000000002U);
  run("drop table music_tbl;");
  CapturedOutput output;
  advance_by_row_count("music_tbl", init_objid.music_file_objid);
  EXPECT_EQ(output.text(),
            "Total_Match_count(): Execute SQL query Error = [select COUNT(*) from music_tbl where UTF_fname "
            "!= '';]-"
            "[no such table: music_tbl]\nNo media file found\n");
  EXPECT_EQ(init_objid.music_file_objid, 3000000000002U);
}

TEST_F(ObjectIdsTest, SkipTakenPhotoIdentifiers) {
  for (const char* name : {"a.jpg", "b.jpg", "c.jpg"}) add_photo("/s/", name);  // ...002 to ...004
  run("insert into photo_tbl (ObjID) values ('1000000000002');");               // twice
  run("insert into photo_tbl (ObjID) values ('1000000000003x');");
  run("insert into photo_tbl (ObjID) values ('1000000000006');");
  const struct {
    std::uint64_t start, free;
  } rows[] = {{1000000000001, 1000000000001}, {1000000000002, 1000000000005}, {1000000000006, 1000000000007}};
  for (const auto& row : rows) {
    CapturedOutput output;
    EXPECT_EQ(get_objid("photo_tbl", row.start), row.free);
    EXPECT_EQ(output.text(), "get_objid(): objID = [" + std::to_string(row.free) + "]\n");
  }
}

TEST_F(ObjectIdsTest, ParentIsTheFolderRowsOrAFreshOne) {
  add_folder("/s/Music/", "4000000000077");
  EXPECT_EQ(get_parid("/s/Music/a.mp3"), 4000000000077U);
  EXPECT_EQ(get_parid("/s/Music/Sub"), 4000000000077U);
  EXPECT_EQ(get_parid("/s/Other/a.mp3"), 4000000000002U);
  EXPECT_EQ(get_parid("/s/Other/b.mp3"), 4000000000003U);
  CapturedOutput output;
  EXPECT_EQ(get_parid("/s/it's/a.mp3"), 0U);
  EXPECT_EQ(output.text(),
            "get_parid():1Exe SQL query Error[select ObjID from path_objid_tbl where path == '/s/it's/';]\n");
}

TEST_F(ObjectIdsTest, OldIdentifierOfAFolderBecomesTheCurrentOne) {
  add_folder("/s/Music/", "4000000000077");
  CapturedOutput output;
  EXPECT_EQ(get_old_objid("/s/None/"), 4000000000001U);
  EXPECT_EQ(get_old_objid("/s/Music/"), 4000000000077U);
  EXPECT_EQ(output.text(),
            "get_old_objid(): init_objid.media_path_objid = [4000000000001]\n"
            "get_old_objid(): init_objid.media_path_objid = [4000000000077]\n");
}

}  // namespace
}  // namespace corvexal
