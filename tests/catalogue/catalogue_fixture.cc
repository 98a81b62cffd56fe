#include "tests/catalogue/catalogue_fixture.h"

#include <sstream>

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

std::string first_column(Database& database, std::string_view sql) {
  std::string joined;
  Rows rows = database.select(sql);
  for (const char* divider = ""; rows.next(); divider = "|") joined.append(divider).append(rows.text(0));
  EXPECT_FALSE(rows.failed()) << sql << ": " << error_text();
  return joined;
}

}  // namespace

std::vector<std::string> words(const std::string& text) {
  std::vector<std::string> list;
  std::istringstream stream(text);
  for (std::string word; std::getline(stream, word, ' ');) list.push_back(word);
  return list;
}

CatalogueTest::CatalogueTest() {
  InitObjectIds();
  playlist_pending = 0;
  commit_after_remove = 1;
  from_codepage = "autodetect_utf8";
  global_cdata = {.sharepath = folder_.path(), .sharename = "", .mntpath = folder_.path(), .sd_status = ""};
  EXPECT_EQ(g_db.open(path("catalogue.db")), SQLITE_OK);
  EXPECT_EQ(create_tables(g_db), SQLITE_OK) << error_text();
  g_db.exec("COMMIT;");
}

CatalogueTest::~CatalogueTest() {
  g_db.close();
  global_cdata = {};
}

void CatalogueTest::add_row(const char* table, std::string_view folder, std::string_view name) {
  std::string extension(GetFileExtension(name, ".").substr(1));
  StringToLower(extension);
  run("insert into %s (No,Real_Path,Real_fname,UTF_Path,UTF_fname,EXT_fname) values "
      "(\"%d\",\"%s\",\"%s\",\"%s\",\"%s\",\"%s\");",
      table, LastRowNo(g_db, table) + 1, folder, name, folder, name, extension);
}

void CatalogueTest::add_folder(std::string_view path, std::string_view objid) {
  run("insert into path_objid_tbl values (\"%s\",\"%s\",'0','1','0','0','0');", path, objid);
}

std::string CatalogueTest::column(std::string_view sql) const {
  if (!g_db.is_open()) g_db.open(path("catalogue.db"));
  return first_column(g_db, sql);
}

std::string CatalogueTest::committed(std::string_view sql) const {
  Database reader;
  EXPECT_EQ(reader.open(path("catalogue.db")), SQLITE_OK);
  return first_column(reader, sql);
}

}  // namespace corvexal::testing
