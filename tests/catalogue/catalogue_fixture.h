#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "catalogue/database.h"
#include "tests/support/test_files.h"

namespace corvexal::testing {

// The texts of a music row that a test may care about.
struct SongTexts {
  std::string title = "0";
  std::string genre = "Others";
  std::string artist = "Others";
  std::string album = "Others";
};

// An empty catalogue in a folder of its own, open as g_db, with every process-wide value as at the start of a
// run. Rows are numbered as the updater does; folders are given with their trailing "/" and, like names, may
// hold anything but double quotes.
class CatalogueTest : public ::testing::Test {
 protected:
  CatalogueTest();
  ~CatalogueTest() override;

  // A path in the test's own folder, which is also the configured mount path; "" is the folder with its "/".
  [[nodiscard]] std::string path(std::string_view name) const {
    return folder_.path() + '/' + std::string(name);
  }
  std::string write_file(std::string_view name, std::string_view content = "") const {
    return folder_.write(name, content);
  }

  static void add_music(std::string_view folder, std::string_view name, const SongTexts& texts = {});
  static void add_video(std::string_view folder, std::string_view name);
  static void add_photo(std::string_view folder, std::string_view name);
  static void add_folder(std::string_view path, std::string_view objid = "0");

  // Runs a statement that must succeed.
  static void run(std::string_view sql);

  // The first column of every row, joined with "|". Opens the catalogue again when a rebuild has closed it.
  [[nodiscard]] std::string column(std::string_view sql);

 private:
  void open();

  TestFolder folder_;
};

}  // namespace corvexal::testing
