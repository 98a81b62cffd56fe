#include "metadata/image_size.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "metadata/file_window.h"
#include "tests/metadata/damaged_copies.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using testing::CapturedOutput;
using testing::sample;

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
  const std::string png = "\x89PNG\r\n\x1A\n";
  const struct {
    std::string head;
    int result;
    std::int32_t type;
  } rows[] = {{"12345678BM", 1, kBmp},  {"123456789BM", 0, kJpeg},    {"\0BM"s, 0, kJpeg},
              {kStart + "BM", 1, kBmp}, {kStart, 1, kJpeg},           {"1" + kStart, 0, kJpeg},
              {"IIGIF", 1, kGif},       {"12II", 1, kTiff},           {"12MM", 1, kTiff},
              {"12" + png, 1, kPng},    {png.substr(0, 7), 0, kJpeg}, {"", 0, kJpeg}};
  for (const auto& row : rows) {
    CapturedOutput output;
    read(row.head);
    EXPECT_EQ(result, row.result) << row.head;
    EXPECT_EQ(probe.image_type, row.type) << row.head;
    const std::string message = "Can't verify image file of type!!filename: " + probe.path + "\n";
    EXPECT_EQ(output.text(), row.result == 1 ? "" : message) << row.head;
  }
  CapturedOutput output;
  read_file("/nowhere/image.bmp");
  EXPECT_EQ(output.text(), "get_img_size(): open file error\n");
  EXPECT_EQ(result, 0);
}

TEST_F(ImageSize, ReadsWhatEncodersWrite) {
  const struct {
    const char* name;
    std::int32_t depth;
  } rows[] = {{"bmp-24.bmp", 24},
              {"bmp-4.bmp", 4},
              {"gif-4.gif", 4},
              {"jpeg-baseline.jpg", 24},
              {"jpeg-progressive.jpg", 24},
              {"png-grey-2.png", 2},
              {"png-grey-16.png", 16},
              {"png-rgb-16.png", 48},
              {"png-palette-4.png", 4},
              {"png-grey-alpha-8.png", 16},
              {"png-grey-alpha-16.png", 32},
              {"png-rgb-alpha-8.png", 32},
              {"png-rgb-alpha-16.png", 48},
              {"tiff-grey-8-msb.tif", 8},
              {"tiff-rgb-8-lsb.tif", kKept + 24},
              {"tiff-rgb-16-lsb.tif", kKept + 48},
              {"tiff-rgb-16-msb.tif", kKept + 48}};
  for (const auto& row : rows)
    EXPECT_EQ(read_file(sample("photos/") + row.name), (Fields{5, 3, row.depth})) << row.name;
}

TEST_F(ImageSize, ReadsOddHeaders) {
  constexpr std::int32_t kMost = INT32_MAX;
  const Fields kNone = {kKept, kKept, kKept};
  const struct {
    const char* name;
    Fields fields;
  } rows[] = {{"low-halves.bmp", {640, 65056, 32}},
              {"odd-depth.png", {3, 4, 255}},
              {"rgb-of-another-depth.png", {3, 4, kKept}},
              {"sizes-above-31-bits.png", {kMost, kMost, 24}},
              {"ihdr-behind-text.png", {3, 4, 24}},
              {"ihdr-behind-iend.png", kNone},
              {"grey.jpg", kNone},
              {"extended-sequential.jpg", kNone},
              {"two-baseline-frames.jpg", {4, 3, 24}},
              {"progressive-then-baseline.jpg", {4, 3, 24}},
              {"frame-in-a-frame.jpg", {4, 3, 24}},
              {"mm-further-on.tif", {9, kKept, kKept}},
              {"directory-behind-the-end.tif", kNone},
              {"values-of-any-type.tif", {0x10002, kMost, kKept}},
              {"odd-types-and-counts.tif", {0, 70000, kKept}},
              {"more-than-three-wanted.tif", {3, kKept, kKept}},
              {"samples.tif", {kKept, kKept, kKept + 272}},
              {"samples-cut.tif", {kKept, kKept, kKept + 16}},
              {"samples-without-first-byte.tif", {kKept, kKept, kKept + 0x10010}},
              {"samples-above-31-bits.tif", {kKept, kKept, kMost}}};
  for (const auto& row : rows) {
    EXPECT_EQ(read_file(sample("../fuzz/corpus/image_size/") + row.name), row.fields) << row.name;
    EXPECT_EQ(result, 1) << row.name;
  }
}

TEST_F(ImageSize, TakesFromADamagedFileWhatIsWhole) {
  const struct {
    const char* name;
    std::size_t width, height, depth;  // from how many bytes on
  } rows[] = {{"samples/photos/bmp-24.bmp", 20, 24, 29},
              {"samples/photos/gif-4.gif", 8, 10, 11},
              {"samples/photos/png-rgb-8.png", 20, 24, 26},
              {"samples/photos/jpeg-baseline.jpg", 168, 168, 168},
              {"fuzz/corpus/image_size/little-endian.tif", 22, 34, 46},
              {"fuzz/corpus/image_size/big-endian.tif", 22, 34, 46}};
  const CapturedOutput unwanted;
  for (const auto& row : rows) {
    const std::string whole = testing::read_file(sample("../") + row.name);
    const Fields fields = read(whole);
    for (const std::string& copy : testing::damaged_copies(whole)) {
      const std::size_t n = copy.size();
      const Fields cut = {n < row.width ? kKept : fields[0], n < row.height ? kKept : fields[1],
                          n < row.depth ? kKept : fields[2]};
      const Fields found = read(copy);
      EXPECT_TRUE(found == cut || copy != whole.substr(0, n)) << row.name << " cut to " << n;
      EXPECT_EQ(probe.file_size, result == 1 ? n : 0) << row.name << " cut to " << n;
    }
  }
}

TEST_F(ImageSize, FindsAFrameAcrossTheWindowsBorder) {
  for (std::size_t at = FileWindow::kSize - 12; at < FileWindow::kSize + 12; ++at) {
    const std::string bytes = kStart + std::string(at - 2, '\0') + kFrame;
    EXPECT_EQ(read(bytes), (Fields{5, 6, 24})) << at;
    EXPECT_EQ(read(bytes.substr(0, bytes.size() - 1))[0], kKept) << at;
  }
}

TEST_F(ImageSize, PassesOverAHoleInAJpeg) {
  const std::uintmax_t end = (std::uintmax_t{256} << 32);
  EXPECT_EQ(read_file(folder.write_sparse("image", kStart, end, kFrame)), (Fields{5, 6, 24}));
  EXPECT_EQ(probe.file_size, kFrame.size()) << "the size's low half";
}

}  // namespace
}  // namespace corvexal
