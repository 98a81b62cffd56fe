// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/config.h"

#include <gtest/gtest.h>

#include <cerrno>

#include "base/locations.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using namespace std::string_literals;

int read(const std::string& content, ConfigRecord& record) {
  const testing::TestFolder folder;
  const std::string file = folder.write("upnpav.conf", content);
  const char* arguments[] = {"Corvexal", "-RC", file.c_str()};
  return readconfig(3, arguments, record);
}

TEST(Readconfig, TakesEachLineAsItStands) {
  const struct {
    const char *content, *sharepath, *mntpath;
  } rows[] = {
      {"sharepath=/share\nmntpath=/a\nmntpath=/b\n", "/share", "/b"},  // a later line wins
      {"mntpath=/a\nmntpath=\n", "", ""},                              // and may empty a field
      {"mntpath = /a\r\n", "", "= /a\r"},                              // one separator, no trimming
      {"#mntpath=/x\n", "", "=/x"},                                    // no comments
      {"sharepath=/s mntpath=/m\n", "/s mntpath=/m", "th=/m"},         // a value may name another key
      {"mntpath=/a\nmntpath=/b", "", "/a"},                            // the last line has no line end
      {"xmntpath\n", "", ""},                                          // the cursor lands on the line end
  };
  for (const auto& row : rows) {
    ConfigRecord record;
    EXPECT_EQ(read(row.content, record), 0) << row.content;
    EXPECT_EQ(record.sharepath, row.sharepath) << row.content;
    EXPECT_EQ(record.mntpath, row.mntpath) << row.content;
  }
}

TEST(Readconfig, HoldsLinesOfUpTo511CharactersAndFieldsOfTheirSize) {
  ConfigRecord record;
  const std::string longest = std::string(503, 'x') + "\n";
  EXPECT_EQ(read("mntpath=" + longest + "sharepath=" + longest.substr(200) +
                     "sharename=" + longest.substr(200) + "sd_status=0123456789\n",
                 record),
            0);
  for (const std::string& path : {record.mntpath, record.sharepath, record.sharename})
    EXPECT_EQ(path, std::string(255, 'x'));
  EXPECT_EQ(record.sd_status, "012345678");
  EXPECT_EQ(read("sharename=kept\nmntpath=" + std::string(504, 'x') + "\n", record), -1);
  EXPECT_EQ(record.sharename, "kept");
}

TEST(Readconfig, ReadsTheDevicesFileInModeOneAndTheNamedOneInModeThree) {
  const testing::WorkingFolder folder;
  folder.write(kConfigFile, "mntpath=/device\n");
  folder.write("named", "mntpath=/named\n");
  folder.write("long", std::string(512, 'x'));
  const struct {
    int mode;
    const char* arguments[3];
    std::size_t count;
    const char* mount_path;
    int error = 0;
  } rows[] = {
      {1, {"Corvexal", "-C", "/a"}, 3, "/device"},    {1, {"Corvexal"}, 1, "/device"},
      {3, {"Corvexal", "-RC", "named"}, 3, "/named"}, {3, {"Corvexal", "-R", "named"}, 3, ""},
      {3, {"Corvexal", "-RC", "named"}, 2, ""},       {3, {"Corvexal", "-RC", "missing"}, 3, "", ENOENT},
      {3, {"Corvexal", "-RC", "long"}, 3, ""},        {2, {"Corvexal", "-RC", "named"}, 3, ""}};
  for (const auto& row : rows) {
    testing::CapturedOutput output;
    ConfigRecord record;
    errno = EIO;
    const int result = readconfig(row.mode, {row.arguments, row.count}, record);
    EXPECT_TRUE(result == 0 || errno == row.error) << row.mode << row.arguments[1];
    EXPECT_EQ(record.mntpath, row.mount_path);
    EXPECT_EQ(result, record.mntpath.empty() ? -1 : 0) << row.mode << row.arguments[1];
    EXPECT_TRUE(result == 0 ? output.text().empty() : output.text().ends_with("error happen: Corvexal\n"))
        << row.mode << row.arguments[1];
  }
}

}  // namespace
}  // namespace corvexal
