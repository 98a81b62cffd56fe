// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/rename.h"

#include <random>

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using RenameTest = testing::CatalogueTest;

// The statements run for each row in turn, as one would by hand.
void rename_row_by_row(Database& db, const std::string& old_path, const std::string& new_path) {
  std::vector<std::string> paths;
  Rows rows = db.select("select UTF_Path,Real_Path from music_tbl where UTF_Path like '%s%%';", old_path);
  while (rows.next()) paths.emplace_back(rows.text(0));
  for (const std::string& path : paths) {
    const std::size_t at = path.find(old_path);
    if (at == std::string::npos) continue;
    const std::string renamed = new_path + path.substr(at + old_path.size());
    db.exec("update music_tbl set UTF_Path = '%s', Real_Path = '%s' where UTF_Path == '%s';", renamed,
            renamed, path);
  }
}

TEST_F(RenameTest, LeavesWhatRowByRowUpdatesWouldLeave) {
  std::mt19937 random(20260801);
  const auto text = [&random](std::size_t longest) {
    // Few letters, so that new paths often are old paths of other rows.
    std::string drawn;
    for (std::size_t left = random() % (longest + 1); left > 0; --left) drawn += "/aA_%"[random() % 5];
    return drawn;
  };
  constexpr const char* kPaths = "select No||Real_Path||' '||UTF_Path from music_tbl";
  int moved = 0;
  for (int round = 0; round < 300; ++round) {
    run("delete from music_tbl;");
    for (int row = 0; row < 40; ++row) add_row("music_tbl", text(6), "song.mp3");
    run("update music_tbl set Real_Path = '/raw/';");
    const std::string before = column(kPaths), old_path = text(3), new_path = text(4);

    run("savepoint start;");
    rename_row_by_row(db, old_path, new_path);
    const std::string expected = column(kPaths);
    run("rollback to start;");
    printed([&] { EXPECT_EQ(Update_File_Path(db, old_path, new_path), 0); });
    ASSERT_EQ(column(kPaths), expected) << old_path << " to " << new_path << " in " << before;
    if (expected != before) ++moved;
  }
  EXPECT_GT(moved, 50);
}

}  // namespace
}  // namespace corvexal
