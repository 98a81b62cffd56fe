// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/session.h"

#include <gtest/gtest.h>

#include "catalogue/scan.h"
#include "catalogue/schema.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

// A device of its own with a song whose name is "中.mp3" in BIG5, and a run on it.
struct Device {
  explicit Device(const char* charset) {
    mount.write("share/\xA4\xA4.mp3", testing::read_file(testing::sample("music/cbr-128.mp3")));
    create_catalogue(mount.path());
    session.names = NameCharset(charset);
    EXPECT_EQ(session.db.open(catalogue_path(mount.path())), SQLITE_OK);
    EXPECT_TRUE(session.songs.open(mount.path()));
  }
  std::string song() {
    Rows rows = session.db.select("select UTF_fname||' '||ObjID||' '||No from music_tbl;");
    return rows.next() ? std::string(rows.text(0)) : rows.failed() ? "failed" : "none";
  }

  testing::TestFolder mount;
  Session session;
};

TEST(Session, DoesNotKnowOfAnotherInTheSameProcess) {
  const testing::CapturedOutput quiet;
  Device one("BIG5"), other("no such set");
  EXPECT_NE(one.session.db.exec("no statement;"), SQLITE_OK);
  EXPECT_STREQ(other.session.db.error_text(), "");
  ScanMediaDirectory(one.session, one.mount.path() + "/share", ScanMode::kBothStores);
  EXPECT_EQ(other.song(), "none");
  EXPECT_FALSE(other.session.playlist_pending);
  EXPECT_EQ(other.session.songs.songs_added(), 0U);
  ScanMediaDirectory(other.session, other.mount.path() + "/share", ScanMode::kBothStores);
  other.session.db.close();
  other.session.songs.close();
  EXPECT_EQ(one.song(), "中.mp3 3000000000001 1");
  ScanMediaDirectory(one.session, one.mount.path() + "/share", ScanMode::kSongStore);
  EXPECT_EQ(one.session.songs.songs_added(), 2U);
  EXPECT_EQ(other.session.songs.songs_added(), 1U);
  EXPECT_EQ(other.session.db.open(catalogue_path(other.mount.path())), SQLITE_OK);
  EXPECT_EQ(other.song(), "\xA4\xA4.mp3 3000000000001 1");
}

}  // namespace
}  // namespace corvexal
