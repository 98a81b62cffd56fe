#include "base/config.h"

#include <gtest/gtest.h>

#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;
using testing::TestFolder;

int read(const std::string& content, ConfigRecord& record) {
  const TestFolder folder;
  const std::string file = folder.write("upnpav.conf", content);
  const char* arguments[] = {"Corvexal", "-RC", file.c_str()};
  return readconfig(3, arguments, record);
}

TEST(Readconfig, TakesEachLineAsItStands) {
  const struct {
    const char* content;
    const char* sharepath;
    const char* mntpath;
  } rows[] = {
      {"sharepath=/share\nmntpath=/mnt/disk1\n", "/share", "/mnt/disk1"},
      {"mntpath=/a\nmntpath=/b\n", "", "/b"},                   // a later line wins
      {"mntpath=/a\nmntpath=\n", "", ""},                       // and may empty a field
      {"mntpath=/a\r\n", "", "/a\r"},                           // no trimming
      {"mntpath = /a\n", "", "= /a"},                           // exactly one separator
      {"#mntpath=/x\n", "", "=/x"},                             // no comments
      {"sharepath=/s mntpath=/m\n", "/s mntpath=/m", "th=/m"},  // a value may name another key
      {"mntpath=/a\nmntpath=/b", "", "/a"},                     // the last line has no line end
      {"xmntpath\n", "", ""},                                   // the cursor lands on the line end
      {"", "", ""},
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
  EXPECT_EQ(read("mntpath=" + std::string(503, 'x') + "\nsd_status=0123456789\n", record), 0);
  EXPECT_EQ(record.mntpath, std::string(255, 'x'));
  EXPECT_EQ(record.sd_status, "012345678");

  CapturedOutput output;
  EXPECT_EQ(read("sharename=kept\nmntpath=" + std::string(504, 'x') + "\n", record), -1);
  EXPECT_EQ(output.text(), "error: singel line string too long\nerror happen: Corvexal\n");
  EXPECT_EQ(record.sharename, "kept");
}

TEST(Readconfig, RefusesWhatItCannotRead) {
  ConfigRecord record{.sharepath = "", .sharename = "", .mntpath = "before", .sd_status = ""};
  const char* missing[] = {"Corvexal", "-RC", "/nonexistent/conf"};
  const char* no_switch[] = {"Corvexal", "-C", "/nonexistent/conf"};
  CapturedOutput output;
  EXPECT_EQ(readconfig(3, missing, record), -1);
  EXPECT_EQ(readconfig(3, no_switch, record), -1);
  EXPECT_EQ(readconfig(3, {missing, 2}, record), -1);
  EXPECT_EQ(readconfig(2, missing, record), -1);
  const TestFolder folder;
  const char* no_file[] = {"Corvexal", "-RC", folder.path().c_str()};
  EXPECT_EQ(readconfig(3, no_file, record), -1);
  std::string expected;
  for (int i = 0; i < 5; ++i) expected += "error happen: Corvexal\n";
  EXPECT_EQ(output.text(), expected);
  EXPECT_EQ(record.mntpath, "before");
}

}  // namespace
}  // namespace corvexal
