// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/catalogue/catalogue_fixture.h"

#include <sstream>

#include "base/paths.h"
#include "base/text.h"
#include "catalogue/row_counts.h"
#include "catalogue/schema.h"

namespace corvexal::testing {
namespace {

std::string first_column(Database& db, std::string_view sql) {
  std::string joined;
  Rows rows = db.select(sql);
  for (const char* divider = ""; rows.next(); divider = "|") joined.append(divider).append(rows.text(0));
  EXPECT_FALSE(rows.failed()) << sql << ": " << db.error_text();
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
  session.config = {.sharepath = folder_.path(), .sharename = "", .mntpath = folder_.path(), .sd_status = ""};
  EXPECT_EQ(db.open(path("catalogue.db")), SQLITE_OK);
  EXPECT_EQ(create_tables(db), SQLITE_OK) << db.error_text();
  db.exec("COMMIT;");
}

void CatalogueTest::add_row(const char* table, std::string_view folder, std::string_view name) {
  std::string extension(GetFileExtension(name, ".").substr(1));
  StringToLower(extension);
  run("insert into %s (No,Real_Path,Real_fname,UTF_Path,UTF_fname,EXT_fname) values "
      R"(("%d","%s","%s","%s","%s","%s");)",
      table, LastRowNo(db, table) + 1, folder, name, folder, name, extension);
}

void CatalogueTest::add_folder(std::string_view path, std::string_view objid) {
  run(R"(insert into path_objid_tbl values ("%s","%s",'0','1','0','0','0');)", path, objid);
}

std::string CatalogueTest::column(std::string_view sql) {
  if (!db.is_open()) db.open(path("catalogue.db"));
  return first_column(db, sql);
}

std::string CatalogueTest::committed(std::string_view sql) const {
  Database other;
  EXPECT_EQ(other.open(path("catalogue.db")), SQLITE_OK);
  return first_column(other, sql);
}

}  // namespace corvexal::testing
