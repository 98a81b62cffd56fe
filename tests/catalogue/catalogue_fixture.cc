#include "tests/catalogue/catalogue_fixture.h"

#include "base/config.h"
#include "base/paths.h"
#include "base/text.h"
#include "catalogue/object_ids.h"
#include "catalogue/playlists.h"
#include "catalogue/remove.h"
#include "catalogue/row_counts.h"
#include "catalogue/schema.h"
#include "metadata/charset.h"

namespace corvexal::testing {
namespace {

constexpr const char* kMusicRow =
    "insert into music_tbl values (\"%d\",\"%s\",\"%s\",\"%s\",\"%s\",\"%s\",\"2010-01-01T00:00:00\",\"1\","
    "\"%s\",\"%s\",\"%s\",\"%s\",\"128\",\"0\",\"0\",\"0\",\"1\",\"0\",\"%llu\",\"0\",\"0\",\"0\",\"0\");";
constexpr const char* kVideoRow =
    "insert into video_tbl values (\"%d\",\"%s\",\"%s\",\"%s\",\"%s\",\"%s\",\"2010-01-01T00:00:00\",\"1\","
    "\"0\",\"0\",\"0\",\"0\",\"0\",\"0\",\"0\",\"0\",\"1\",\"%llu\",\"0\",\"0\",\"0\",\"0\");";
constexpr const char* kPhotoRow =
    "insert into photo_tbl values (\"%d\",\"%s\",\"%s\",\"%s\",\"%s\",\"%s\",\"2010-01-01T00:00:00\",\"1\","
    "\"1\",\"1\",\"24\",\"0\",\"0\",\"0\",\"1\",\"%llu\",\"0\",\"0\",\"0\",\"0\");";
constexpr const char* kFolderRow =
    "insert into path_objid_tbl values (\"%s\",\"%s\",\"0\",\"1\",\"0\",\"0\",\"0\");";

template <class... Values>
void must_run(std::string_view sql, const Values&... values) {
  ASSERT_EQ(g_db.exec(sql, values...), SQLITE_OK) << composed(sql, values...) << ": " << error_text();
}

std::string extension(std::string_view name) {
  std::string text(GetFileExtension(name, ".").substr(1));
  StringToLower(text);
  return text;
}

}  // namespace

CatalogueTest::CatalogueTest() {
  InitObjectIds();
  playlist_pending = 0;
  commit_after_remove = 1;
  from_codepage = "autodetect_utf8";
  global_cdata = {.sharepath = folder_.path(), .sharename = "", .mntpath = folder_.path(), .sd_status = ""};
  open();
  EXPECT_EQ(create_tables(g_db), SQLITE_OK) << error_text();
}

CatalogueTest::~CatalogueTest() {
  g_db.close();
  global_cdata = {};
}

void CatalogueTest::open() {
  EXPECT_EQ(g_db.open(path("catalogue.db")), SQLITE_OK);
}

void CatalogueTest::add_music(std::string_view folder, std::string_view name, const SongTexts& texts) {
  const std::int64_t number = LastRowNo(g_db, "music_tbl") + 1;
  must_run(kMusicRow, number, folder, name, folder, name, extension(name), texts.genre, texts.artist,
           texts.album, texts.title, kFirstObjectIds.music_file_objid + static_cast<std::uint64_t>(number));
}

void CatalogueTest::add_video(std::string_view folder, std::string_view name) {
  const std::int64_t number = LastRowNo(g_db, "video_tbl") + 1;
  must_run(kVideoRow, number, folder, name, folder, name, extension(name),
           kFirstObjectIds.video_file_objid + static_cast<std::uint64_t>(number));
}

void CatalogueTest::add_photo(std::string_view folder, std::string_view name) {
  const std::int64_t number = LastRowNo(g_db, "photo_tbl") + 1;
  must_run(kPhotoRow, number, folder, name, folder, name, extension(name),
           kFirstObjectIds.photo_file_objid + static_cast<std::uint64_t>(number));
}

void CatalogueTest::add_folder(std::string_view path, std::string_view objid) {
  must_run(kFolderRow, path, objid);
}

void CatalogueTest::run(std::string_view sql) {
  must_run(sql);
}

std::string CatalogueTest::column(std::string_view sql) {
  if (!g_db.is_open()) open();
  std::string joined;
  Rows rows = g_db.select(sql);
  for (bool first = true; rows.next(); first = false) {
    if (!first) joined += '|';
    joined += rows.text(0);
  }
  EXPECT_FALSE(rows.failed()) << sql << ": " << error_text();
  return joined;
}

}  // namespace corvexal::testing
