// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "catalogue/session.h"
#include "tests/support/test_files.h"

namespace corvexal::testing {

// The texts between the spaces, for tables of short words.
[[nodiscard]] std::vector<std::string> words(const std::string& text);

// An empty catalogue in a folder of its own, open in a session of its own. Folders are given with their
// trailing "/" and, like names, may hold anything but double quotes.
class CatalogueTest : public ::testing::Test {
 protected:
  CatalogueTest();

  // A path in the test's own folder, which is also the configured mount path; "" is the folder with its "/".
  [[nodiscard]] std::string path(std::string_view name) const {
    return folder_.path() + '/' + std::string(name);
  }
  std::string write_file(std::string_view name, std::string_view content = "") const {
    return folder_.write(name, content);
  }

  // Adds a row for a file, numbered as the updater does; its other columns are null.
  void add_row(const char* table, std::string_view folder, std::string_view name);
  void add_folder(std::string_view path, std::string_view objid = "0");

  // Runs a statement that must succeed.
  template <class... Values>
  void run(std::string_view sql, const Values&... values) {
    ASSERT_EQ(db.exec(sql, values...), SQLITE_OK) << composed(sql, values...) << ": " << db.error_text();
  }

  // The first column of every row, joined with "|"; of the session's catalogue, which is opened again when a
  // rebuild has closed it, or as another connection sees it.
  std::string column(std::string_view sql);
  [[nodiscard]] std::string committed(std::string_view sql) const;

  // What `work` prints on standard output.
  template <class Work>
  static std::string printed(Work work) {
    CapturedOutput output;
    work();
    return output.text();
  }

  Session session;
  Database& db = session.db;

 private:
  TestFolder folder_;
};

}  // namespace corvexal::testing
