#include "catalogue/rename.h"

#include <array>
#include <random>
#include <vector>

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;

constexpr const char* kTableLines = "photo_tbl:\nvideo_tbl:\nmusic_tbl:\n";

class RenameTest : public testing::CatalogueTest {
 protected:
  static std::string rename(const char* old_path, const char* new_path) {
    CapturedOutput output;
    EXPECT_EQ(Update_File_Path(old_path, new_path), 0);
    return output.text();
  }
};

TEST_F(RenameTest, RewritesFolderAndMediaRowsAndNothingElse) {
  add_folder("/s/Old/", "4000000000002");
  add_folder("/s/Old/x/", "4000000000003");
  add_folder("/s/Other/", "4000000000004");
  run("insert into music_tbl values ('1','/raw/Old/','a.mp3','/s/Old/','a.mp3','mp3','0','0','0','0','0','0',"
      "'0','0','0','0','0','0','3000000000001','0','0','0','0');");
  add_music("/s/Old/", "b.mp3");
  add_video("/s/Old/x/", "c.avi");
  add_photo("/s/Old/", "d.jpg");
  add_photo("/s/Other/", "e.jpg");

  EXPECT_EQ(rename("/s/Old", "/s/New"), kTableLines);
  EXPECT_EQ(column("select path||ObjID from path_objid_tbl"),
            "/s/New/4000000000002|/s/New/x/4000000000003|/s/Other/4000000000004");
  EXPECT_EQ(column("select UTF_Path||UTF_fname from music_tbl"), "/s/New/a.mp3|/s/New/b.mp3");
  EXPECT_EQ(column("select Real_Path||Real_fname from music_tbl"), "/s/New/a.mp3|/s/New/b.mp3");
  EXPECT_EQ(column("select UTF_Path||UTF_fname||Real_Path from video_tbl"), "/s/New/x/c.avi/s/New/x/");
  EXPECT_EQ(column("select UTF_Path||UTF_fname from photo_tbl"), "/s/New/d.jpg|/s/Other/e.jpg");
}

TEST_F(RenameTest, SelectsByLikeAndSplicesLetterByLetter) {
  const std::string deep(300, 'd');
  const struct {
    const char* stored;
    const char* old_path;
    const char* new_path;
    std::string expected;
  } rows[] = {
      {"/s/AB/", "/s/A", "/s/N", "/s/NB/"},            // a sibling begins with the same text
      {"/s/a/", "/s/A", "/s/N", "/s/a/"},              // selected, but does not hold the old path
      {"/s/a/s/A/x/", "/s/A", "/n", "/n/x/"},          // what stands before the first occurrence goes
      {"/s/A/s/A/x/", "/s/A", "/n", "/n/s/A/x/"},      // the first occurrence only
      {"/s/AxB/", "/s/A_B", "/n", "/s/AxB/"},          // a wildcard selects, the splice finds nothing
      {"/s/1/s/%/x/", "/s/%", "/n", "/n/x/"},          // ... or finds it further on
      {"/t/s/A/", "/s/A", "/n", "/t/s/A/"},            // not selected
      {"/s/A/", "/s/A", deep.c_str(), deep + "/"},     // no limit of length
      {"/s/A/Bob's/", "/s/A", "/n", "/s/A/Bob's/"},    // a quote fails the update
      {"/s/A/\xE4/", "/s/A", "/\xFC", "/\xFC/\xE4/"},  // any encoding
      {"/s/A/", "", "/n", "/n/s/A/"},
  };
  for (const auto& row : rows) {
    add_folder(row.stored);
    add_photo(row.stored, "p.jpg");
    rename(row.old_path, row.new_path);
    EXPECT_EQ(column("select path from path_objid_tbl"), row.expected) << row.stored << " " << row.old_path;
    EXPECT_EQ(column("select UTF_Path from photo_tbl"), row.expected) << row.stored << " " << row.old_path;
    run("delete from path_objid_tbl;");
    run("delete from photo_tbl;");
  }
}

TEST_F(RenameTest, SaysOnceARowWhatCouldNotBeUpdated) {
  add_folder("/s/A/");
  add_music("/s/A/it's/", "a.mp3");
  add_music("/s/A/it's/", "b.mp3");
  add_music("/s/A/", "c.mp3");
  const std::string failure =
      " update sql_query1 error[a value holds the quote character of its literal: syntax error]\n";
  EXPECT_EQ(rename("/s/A", "/s/B"), kTableLines + ("Update_File_Path(): music_tbl" + failure) +
                                        "Update_File_Path(): music_tbl" + failure);
  EXPECT_EQ(column("select UTF_Path from music_tbl"), "/s/A/it's/|/s/A/it's/|/s/B/");
  EXPECT_EQ(rename("/s/B", "/s/it's"), "Update_File_Path(): path_objid_tbl" + failure + kTableLines +
                                           "Update_File_Path(): music_tbl" + failure)
      << "the folder row was renamed before";
}

TEST_F(RenameTest, EndsAtTheFirstTableThatCannotBeRead) {
  const struct {
    const char* table;
    const char* column;
    const char* output;
  } rows[] = {
      {"music_tbl", "UTF_Path,Real_Path",
       "photo_tbl:\nvideo_tbl:\nUpdate_File_Path(): music_tbl Execute SQL query Error = "},
      {"video_tbl", "UTF_Path,Real_Path",
       "photo_tbl:\nUpdate_File_Path(): music_tbl Execute SQL query Error = "},  // as for the music table
      {"photo_tbl", "UTF_Path,Real_Path", "Update_File_Path(): photo_tbl Execute SQL query Error = "},
      {"path_objid_tbl", "path,ObjID,Dir_ParentID",
       "Update_File_Path(): path_objid_tbl Execute SQL query Error = "},
  };
  for (const auto& row : rows) {
    run("drop table " + std::string(row.table));
    const std::string key = row.column == std::string("UTF_Path,Real_Path") ? "UTF_Path" : "path";
    EXPECT_EQ(rename("/s/A", "/s/B"), row.output + ("[select " + std::string(row.column) + " from ") +
                                          row.table + " where " + key +
                                          " like '/s/A%';]-[no such table: " + row.table + "]\n");
  }
  g_db.close();
  EXPECT_EQ(
      rename("/s/A", "/s/B"),
      "Update_File_Path(): path_objid_tbl Execute SQL query Error = [select path,ObjID,Dir_ParentID from "
      "path_objid_tbl where path like '/s/A%';]-[bad parameter or other API misuse]\n");
}

// The statements run for each row in turn, as one would by hand.
void rename_row_by_row(const std::string& old_path, const std::string& new_path) {
  std::vector<std::string> paths;
  Rows rows = g_db.select("select UTF_Path,Real_Path from music_tbl where UTF_Path like '%s%%';", old_path);
  while (rows.next()) paths.emplace_back(rows.text(0));
  for (const std::string& path : paths) {
    const std::size_t at = path.find(old_path);
    if (at == std::string::npos) continue;
    const std::string renamed = new_path + path.substr(at + old_path.size());
    g_db.exec("update music_tbl set UTF_Path = '%s', Real_Path = '%s' where UTF_Path == '%s';", renamed,
              renamed, path);
  }
}

TEST_F(RenameTest, LeavesWhatRowByRowUpdatesWouldLeave) {
  constexpr unsigned kSeed = 20260801;
  std::mt19937 random(kSeed);
  const auto text = [&random](std::size_t longest) {
    // Few letters, so that new paths often are old paths of other rows.
    constexpr std::string_view kLetters = "/aA_%";
    std::string drawn;
    for (std::size_t left = random() % (longest + 1); left > 0; --left)
      drawn += kLetters[random() % kLetters.size()];
    return drawn;
  };
  int moved = 0;
  for (int round = 0; round < 300; ++round) {
    run("delete from music_tbl;");
    for (int row = 0; row < 40; ++row) add_music(text(6), "song.mp3");
    const std::string before = column("select UTF_Path from music_tbl");
    const std::string old_path = text(3), new_path = text(4);

    run("savepoint start;");
    rename_row_by_row(old_path, new_path);
    const std::string expected = column("select No||Real_Path||' '||UTF_Path from music_tbl");
    run("rollback to start;");
    rename(old_path.c_str(), new_path.c_str());
    ASSERT_EQ(column("select No||Real_Path||' '||UTF_Path from music_tbl"), expected)
        << "round " << round << ": " << old_path << " to " << new_path << " in " << before;
    if (column("select UTF_Path from music_tbl") != before) ++moved;
  }
  EXPECT_GT(moved, 50);
}

}  // namespace
}  // namespace corvexal
