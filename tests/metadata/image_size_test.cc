// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/image_size.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "metadata/file_window.h"
#include "tests/metadata/tables.h"

namespace corvexal {
namespace {

using namespace std::string_literals;

using Fields = std::array<std::int32_t, 3>;                 // width, height, depth
constexpr std::int32_t kKept = 7777;                        // what stands in a field before the file is read
const std::string kStart = "\xFF\xD8";                      // of a JPEG
const std::string kFrame = "\xFF\xC0\0\x11\x8\0\6\0\5\3"s;  // baseline, three components, 5 x 6

class ImageSize : public ::testing::Test {
 protected:
  Fields read_file(const std::string& path) {
    probe = {path, 0, -1, kKept, kKept, kKept};
    result = get_img_size(probe);
    return {probe.width, probe.height, probe.color_depth};
  }
  Fields read(const std::string& content) { return read_file(folder.write("image", content)); }

  ImageProbe probe;
  int result = 0;
  testing::TestFolder folder;
};

TEST_F(ImageSize, RecognisesTheTypeByTheFirstTenBytes) {
  for (const testing::Row& row : testing::table("image_types")) {
    testing::CapturedOutput output;
    read(row[0]);
    EXPECT_EQ(testing::row_of(row[0], result, probe.image_type), row);
    const std::string message = "Can't verify image file of type!!filename: " + probe.path + "\n";
    EXPECT_EQ(output.text(), result == 1 ? "" : message) << row[0];
  }
  testing::CapturedOutput output;
  read_file("/nowhere/image.bmp");
  EXPECT_EQ(output.text(), "get_img_size(): open file error\n");
  EXPECT_EQ(result, 0);
}

TEST_F(ImageSize, ReadsTheHeaders) {
  for (const testing::Row& row : testing::table("image_size")) {
    ImageProbe image{testing::file_of(row, folder)};
    EXPECT_EQ(get_img_size(image), 1) << row[0];
    EXPECT_EQ(testing::row_of(row[0], row[1], image.image_type, image.width, image.height, image.color_depth),
              row);
  }
}

TEST_F(ImageSize, TakesFromADamagedFileWhatIsWhole) {
  const testing::CapturedOutput unwanted;
  for (const testing::Row& row : testing::table("image_cuts")) {
    const std::string whole = testing::read_file(testing::file_of(row, folder));
    const Fields fields = read(whole);
    for (const std::string& copy : testing::damaged_copies(whole)) {
      const Fields found = read(copy);
      EXPECT_EQ(probe.file_size, result == 1 ? copy.size() : 0) << row[0];
      for (std::size_t i = 0; i < 3 && copy == whole.substr(0, copy.size()); ++i)
        EXPECT_EQ(found[i], copy.size() < std::stoul(row[i + 2]) ? kKept : fields[i])
            << row[0] << copy.size();
    }
  }
}

TEST_F(ImageSize, FindsAFrameAcrossTheWindowsBorder) {
  std::string head = kStart + std::string(FileWindow::kSize - 14, '\0');
  for (; head.size() < FileWindow::kSize + 12; head += '\0') {
    EXPECT_EQ(read(head + kFrame), (Fields{5, 6, 24})) << head.size();
    EXPECT_EQ(read(head + kFrame.substr(0, 9))[0], kKept) << head.size();
  }
}

// Zeros are empty chunks: where the hole ends decides whether IHDR is found.
TEST_F(ImageSize, PassesOverAHoleInAPngAsOverItsZeros) {
  const std::string start = "\x89PNG\r\n\x1A\n";
  const std::string ihdr = "\0\0\0\x0DIHDR\0\0\0\5\0\0\0\6\x8\6\0\0\0"s;
  for (std::size_t shift = 0; shift < 12; ++shift) {
    const std::uintmax_t far =
        (std::uintmax_t{1} << 40) + 4096 * shift;  // 4096 is 4 more than a multiple of 12
    const bool found = (far - start.size()) % 12 == 0;
    EXPECT_EQ(read_file(folder.write_sparse("image", start, far, ihdr))[0], found ? 5 : kKept) << shift;
    const std::size_t near = 409600 + 4096 * shift;
    const Fields zeros = read(start + std::string(near - start.size(), '\0') + ihdr);
    EXPECT_EQ(read_file(folder.write_sparse("image", start, near, ihdr)), zeros) << shift;
  }
}

TEST_F(ImageSize, PassesOverAHoleInAJpeg) {
  const std::uintmax_t end = std::uintmax_t{256} << 32;
  EXPECT_EQ(read_file(folder.write_sparse("image", kStart, end, kFrame)), (Fields{5, 6, 24}));
  EXPECT_EQ(probe.file_size, kFrame.size()) << "the size's low half";
}

}  // namespace
}  // namespace corvexal
