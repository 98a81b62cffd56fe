#include "metadata/image_size.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <filesystem>
#include <ostream>
#include <random>
#include <string>
#include <vector>

#include "metadata/file_window.h"
#include "tests/support/bytes.h"
#include "tests/support/test_files.h"

namespace corvexal {
namespace {

using testing::be;
using testing::CapturedOutput;
using testing::le;
using testing::sample;
using testing::TestFolder;

constexpr std::int32_t kUntouched = 7777;

struct Fields {
  std::int32_t width = kUntouched, height = kUntouched, color_depth = kUntouched;
  bool operator==(const Fields&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Fields& fields) {
  return out << fields.width << " x " << fields.height << ", " << fields.color_depth;
}

struct Probed {
  int result;
  Fields fields;
  ImageProbe probe;
};

Probed probe_file(const std::string& path, const Fields& before = {}) {
  ImageProbe probe{path, 0, -1, before.width, before.height, before.color_depth};
  const int result = get_img_size(probe);
  return {result, {probe.width, probe.height, probe.color_depth}, probe};
}

std::string number(std::int64_t value, int size, bool big) {
  return big ? be(value, size) : le(value, size);
}

std::string bmp(int width, int height, int depth) {
  return "BM" + std::string(16, '\1') + le(width, 4) + le(height, 4) + le(1, 2) + le(depth, 2) + le(0, 4);
}

std::string gif(int width, int height, int flags) {
  return "GIF89a" + le(width, 2) + le(height, 2) + be(flags, 1);
}

const std::string kPngSignature = "\x89PNG\r\n\x1A\n";

std::string chunk(const std::string& type, const std::string& data) {
  return be(std::ssize(data), 4) + type + data + be(0xCCCCCCCC, 4);
}

std::string ihdr(std::uint32_t width, std::uint32_t height, int bit_depth, int colour_type) {
  return chunk("IHDR", be(width, 4) + be(height, 4) + be(bit_depth, 1) + be(colour_type, 1) + be(0, 3));
}

std::string frame(int marker, int height, int width, int components = 3) {
  return be(0xFF, 1) + be(marker, 1) + be(8 + 3 * components, 2) + be(8, 1) + be(height, 2) + be(width, 2) +
         be(components, 1);
}

struct TiffEntry {
  int tag, type;
  std::uint32_t count;
  std::string value;  // 4 bytes
};

std::string tiff(bool big, const std::vector<TiffEntry>& entries, std::int64_t claimed,
                 const std::string& behind = "") {
  std::string bytes = (big ? "MM" : "II") + number(42, 2, big) + number(8, 4, big) + number(claimed, 2, big);
  for (const TiffEntry& entry : entries)
    bytes +=
        number(entry.tag, 2, big) + number(entry.type, 2, big) + number(entry.count, 4, big) + entry.value;
  return bytes + behind;
}

std::string tiff(bool big, const std::vector<TiffEntry>& entries, const std::string& behind = "") {
  return tiff(big, entries, std::ssize(entries), behind);
}

constexpr std::int64_t kBehindOneEntry = 22;  // offset of what follows a directory of one entry

class ImageSize : public ::testing::Test {
 protected:
  Probed probe(const std::string& content, const Fields& before = {}) {
    return probe_file(folder_.write("image", content), before);
  }

 private:
  TestFolder folder_;
};

TEST_F(ImageSize, RecognisesTheTypeByTheFirstTenBytes) {
  const struct {
    const char* name;
    std::string head;
    int result;
    std::int32_t type;
  } rows[] = {
      {"text beginning with BM", "BM is a name", 1, kBmp},
      {"BM at the ninth byte", "12345678BM", 1, kBmp},
      {"BM across the tenth byte", "123456789BM", 0, kJpeg},
      {"BM behind a zero byte", std::string("\0BM", 3), 0, kJpeg},
      {"BM before JPEG",
       "\xFF\xD8"
       "BM",
       1, kBmp},
      {"JPEG", "\xFF\xD8", 1, kJpeg},
      {"JPEG in front of a zero byte", std::string("\xFF\xD8\0", 3), 1, kJpeg},
      {"JPEG mark further on", "1\xFF\xD8", 0, kJpeg},
      {"GIF further on", "123GIF", 1, kGif},
      {"GIF before TIFF", "IIGIF", 1, kGif},
      {"II further on", "12II", 1, kTiff},
      {"MM further on", "12MM", 1, kTiff},
      {"PNG", kPngSignature, 1, kPng},
      {"PNG signature at the third byte", "12" + kPngSignature, 1, kPng},
      {"PNG signature without its end", kPngSignature.substr(0, 7), 0, kJpeg},
      {"nothing", "", 0, kJpeg},
  };
  for (const auto& row : rows) {
    CapturedOutput output;
    const Probed probed = probe(row.head, {0, 0, 0});
    const std::string path = probed.probe.path;
    EXPECT_EQ(probed.result, row.result) << row.name;
    EXPECT_EQ(probed.probe.image_type, row.type) << row.name;
    EXPECT_EQ(probed.probe.file_size, row.result == 1 ? row.head.size() : 0) << row.name;
    EXPECT_EQ(output.text(),
              row.result == 1 ? "" : "Can't verify image file of type!!filename: " + path + "\n")
        << row.name;
  }
}

TEST_F(ImageSize, SaysThatAFileCannotBeOpened) {
  CapturedOutput output;
  const Probed probed = probe_file("/nowhere/image.bmp");
  EXPECT_EQ(output.text(), "get_img_size(): open file error\n");
  EXPECT_EQ(probed.result, 0);
  EXPECT_EQ(probed.fields, Fields{});
}

TEST_F(ImageSize, KeepsTheLowHalfOfAHugeSize) {
  const TestFolder folder;
  const std::string path = folder.write("huge.bmp", bmp(640, 480, 24));
  std::filesystem::resize_file(path, (std::uintmax_t{5} << 32) + 123);
  const Probed probed = probe_file(path);
  EXPECT_EQ(probed.probe.file_size, 123U);
  EXPECT_EQ(probed.fields, (Fields{640, 480, 24}));
}

TEST_F(ImageSize, ReadsTheHeaderOfEachFormat) {
  const struct {
    const char* name;
    std::string content;
    Fields expected;
  } rows[] = {
      {"BMP", bmp(640, 480, 24), {640, 480, 24}},
      {"BMP, low halves only", bmp(0x1A0280, -480, 32), {640, 65056, 32}},
      {"GIF", gif(320, 200, 0xF7), {320, 200, 8}},
      {"GIF without colour table bits", gif(65535, 1, 0x78), {65535, 1, 1}},
      {"PNG, grey of depth 2", kPngSignature + ihdr(3, 4, 2, 0), {3, 4, 2}},
      {"PNG, palette of a depth that does not exist", kPngSignature + ihdr(3, 4, 255, 3), {3, 4, 255}},
      {"PNG, RGB of another depth", kPngSignature + ihdr(3, 4, 4, 2), {3, 4, kUntouched}},
      {"PNG, RGB with alpha of 16 bits", kPngSignature + ihdr(3, 4, 16, 6), {3, 4, 48}},
      {"PNG, unknown colour type", kPngSignature + ihdr(3, 4, 8, 1), {3, 4, kUntouched}},
      {"PNG, sizes of 31 bits",
       kPngSignature + ihdr(0x7FFFFFFF, 0x7FFFFFFE, 8, 2),
       {INT32_MAX, 0x7FFFFFFE, 24}},
      {"PNG, sizes above 31 bits",
       kPngSignature + ihdr(0x80000000, 0xFFFFFFFE, 8, 2),
       {INT32_MAX, INT32_MAX, 24}},
      {"PNG, IHDR behind others",
       kPngSignature + chunk("aaaa", "") + chunk("tEXt", std::string(20000, 'I')) + ihdr(3, 4, 8, 2),
       {3, 4, 24}},
      {"PNG, IHDR behind IEND", kPngSignature + chunk("IEND", "") + ihdr(3, 4, 8, 2), {}},
      {"PNG, chunk longer than the file", kPngSignature + be(0xFFFFFFFF, 4) + "aaaa" + ihdr(3, 4, 8, 2), {}},
      {"JPEG, baseline", "\xFF\xD8" + frame(0xC0, 480, 640), {640, 480, 24}},
      {"JPEG, grey", "\xFF\xD8" + frame(0xC0, 480, 640, 1), {}},
      {"JPEG, extended sequential", "\xFF\xD8" + frame(0xC1, 480, 640), {}},
      {"JPEG, last baseline frame", "\xFF\xD8" + frame(0xC0, 1, 2) + frame(0xC0, 3, 4), {4, 3, 24}},
      {"JPEG, first progressive frame",
       "\xFF\xD8" + frame(0xC0, 1, 2) + frame(0xC2, 3, 4) + frame(0xC0, 5, 6) + frame(0xC2, 7, 8),
       {4, 3, 24}},
      {"JPEG, frames one within the other",
       "\xFF\xD8" + frame(0xC0, 1, 2).substr(0, 5) + frame(0xC0, 3, 4),
       {4, 3, 24}},
      {"TIFF, MM further on is little-endian",
       "1MM*" + tiff(false, {{256, 4, 1, le(640, 4)}}).substr(4),
       {640, kUntouched, kUntouched}},
      {"TIFF, directory behind the end", "II*" + be(0, 1) + le(0xFFFFFFFF, 4), {}},
  };
  for (const auto& row : rows) {
    const Probed probed = probe(row.content);
    EXPECT_EQ(probed.result, 1) << row.name;
    EXPECT_EQ(probed.fields, row.expected) << row.name;
  }
}

TEST_F(ImageSize, DecodesTiffEntries) {
  constexpr int kShort = 3, kLong = 4, kDouble = 12;
  const struct {
    const char* name;
    bool big;
    std::vector<TiffEntry> entries;
    std::string behind;
    Fields expected;
  } rows[] = {
      {"little-endian",
       false,
       {{256, kShort, 1, le(640, 4)}, {257, kLong, 1, le(480, 4)}, {258, kShort, 1, le(8, 4)}},
       "",
       {640, 480, 8}},
      {"big-endian",
       true,
       {{256, kShort, 1, be(640, 2) + "xx"}, {257, kLong, 1, be(480, 4)}, {258, 1, 1, "\x08xxx"}},
       "",
       {640, 480, 8}},
      {"little-endian values are whole fields, whatever their type and count",
       false,
       {{256, 99, 1, le(0x10002, 4)}, {257, kShort, 5, le(0xFFFFFFFF, 4)}},
       "",
       {0x10002, INT32_MAX, 0}},
      {"big-endian values of no size, of eight bytes, of other counts",
       true,
       {{256, 0, 1, be(5, 4)}, {257, kDouble, 1, be(5, 4)}, {258, kShort, 4, be(5, 4)}},
       "",
       {0, 5, 0}},
      {"big-endian type out of the table",
       true,
       {{256, 13, 1, be(5, 4)}, {257, 65535, 1, be(5, 4)}},
       "",
       {0, 0, 0}},
      {"big-endian counts of three and two",
       true,
       {{256, kShort, 3, be(70000, 4)}, {257, kShort, 2, be(5, 4)}},
       "",
       {70000, 0, 0}},
      {"little-endian samples",
       false,
       {{258, kShort, 3, le(kBehindOneEntry, 4)}},
       le(5, 2) + le(6, 2) + le(0x105, 2),
       {0, 0, 272}},
      {"big-endian samples lose their first byte",
       true,
       {{258, kShort, 3, be(kBehindOneEntry, 4)}},
       be(0x105, 2) + be(6, 2) + be(5, 2),
       {0, 0, 16}},
      {"big-endian samples of four bytes",
       true,
       {{258, kLong, 3, be(kBehindOneEntry, 4)}},
       be(0x01010005, 4) + be(6, 4) + be(5, 4),
       {0, 0, 0x10010}},
      {"big-endian samples of one byte and of none",
       true,
       {{258, 1, 3, be(kBehindOneEntry, 4)}},
       "\x08\x08\x08",
       {0, 0, 0}},
      {"samples of no size", false, {{258, 77, 3, le(kBehindOneEntry, 4)}}, "\x08\x08\x08", {0, 0, 0}},
      {"two of three samples",
       false,
       {{258, kShort, 3, le(kBehindOneEntry, 4)}},
       le(8, 2) + le(8, 2) + "\x08",
       {0, 0, 16}},
      {"little-endian samples above 31 bits",
       false,
       {{258, kDouble, 3, le(kBehindOneEntry, 4)}},
       std::string(24, '\xFF'),
       {0, 0, INT32_MAX}},
      {"a sum above 31 bits",
       false,
       {{258, kLong, 3, le(kBehindOneEntry, 4)}},
       le(0x7FFFFFFF, 4) + le(1, 4) + le(0, 4),
       {0, 0, INT32_MAX}},
      {"a depth and samples above 31 bits",
       false,
       {{258, kLong, 1, le(0xFFFFFFFF, 4)}, {258, kLong, 3, le(kBehindOneEntry + 12, 4)}},
       le(8, 4) + le(8, 4) + le(8, 4),
       {0, 0, INT32_MAX}},
      {"samples behind the end", false, {{258, kDouble, 3, le(0xFFFFFFFF, 4)}}, "", {0, 0, 0}},
      {"no entry after three wanted ones",
       false,
       {{256, kLong, 1, le(1, 4)},
        {300, kLong, 1, le(2, 4)},
        {256, kLong, 1, le(3, 4)},
        {258, kLong, 4, le(4, 4)},
        {257, kLong, 1, le(5, 4)}},
       "",
       {3, 0, 0}},
  };
  for (const auto& row : rows) {
    const Probed probed = probe(tiff(row.big, row.entries, row.behind), {0, 0, 0});
    EXPECT_EQ(probed.result, 1) << row.name;
    EXPECT_EQ(probed.fields, row.expected) << row.name;
  }
  std::vector<TiffEntry> many(65534, {300, kLong, 1, le(9, 4)});
  many.push_back({257, kLong, 1, le(480, 4)});
  EXPECT_EQ(probe(tiff(false, many)).fields.height, 480);
  EXPECT_EQ(probe(tiff(true, {{256, kLong, 1, be(640, 4)}}, 65535)).fields.width, 640);
}

TEST_F(ImageSize, TakesFromACutFileWhatIsWhole) {
  const std::vector<TiffEntry> little = {
      {256, 4, 1, le(5, 4)}, {257, 4, 1, le(6, 4)}, {258, 4, 1, le(24, 4)}};
  const std::vector<TiffEntry> big = {
      {256, 3, 1, be(5, 2) + "xx"}, {257, 4, 1, be(6, 4)}, {258, 4, 1, be(24, 4)}};
  const struct {
    const char* name;
    std::string content;
    std::size_t recognised, width, height, depth;  // from how many bytes on
  } rows[] = {
      {"BMP", bmp(5, 6, 24), 2, 20, 24, 29},
      {"GIF", gif(5, 6, 7), 3, 8, 10, 11},
      {"JPEG", "\xFF\xD8" + frame(0xC0, 6, 5), 2, 12, 12, 12},
      {"PNG", kPngSignature + chunk("aaaa", "b") + ihdr(5, 6, 8, 2), 8, 33, 37, 39},
      {"TIFF, little-endian", tiff(false, little), 2, 22, 34, 46},
      {"TIFF, big-endian", tiff(true, big), 2, 22, 34, 46},
  };
  const CapturedOutput unwanted;
  for (const auto& row : rows) {
    const Fields whole = probe(row.content).fields;
    EXPECT_EQ(whole.width, 5) << row.name;
    EXPECT_EQ(whole.height, 6) << row.name;
    for (std::size_t n = 0; n <= row.content.size(); ++n) {
      const Probed probed = probe(row.content.substr(0, n));
      EXPECT_EQ(probed.result, n >= row.recognised ? 1 : 0) << row.name << " cut to " << n;
      const Fields expected = {n >= row.width ? 5 : kUntouched, n >= row.height ? 6 : kUntouched,
                               n >= row.depth ? whole.color_depth : kUntouched};
      EXPECT_EQ(probed.fields, expected) << row.name << " cut to " << n;
    }
  }
}

// The dimensions that a JPEG's bytes give to a reader with all of them in memory.
Fields scan_whole_jpeg(const std::string& bytes) {
  const auto at = [&bytes](std::size_t i) { return static_cast<unsigned char>(bytes[i]); };
  Fields fields;
  for (std::size_t i = 0; i + 10 <= bytes.size(); ++i) {
    const bool progressive = at(i + 1) == 0xC2;
    if (at(i) != 0xFF || !(progressive || at(i + 1) == 0xC0) || at(i + 2) != 0x00 || at(i + 3) != 0x11)
      continue;
    fields = {at(i + 7) << 8 | at(i + 8), at(i + 5) << 8 | at(i + 6), at(i + 9) * 8};
    if (progressive) break;
  }
  return fields;
}

TEST_F(ImageSize, ScansAJpegInPiecesAsIfItWereOne) {
  constexpr std::size_t kBlock = FileWindow::kSize;
  for (std::size_t border : {kBlock, 2 * kBlock})
    for (std::size_t at = border - 40; at < border + 12; ++at)
      for (const int marker : {0xC0, 0xC2}) {
        std::string bytes(at, '\0');
        bytes.replace(0, 2, "\xFF\xD8");
        bytes += frame(marker, 6, 5);
        for (const std::size_t more : {0U, 50U}) {
          const Fields fields = probe(bytes + std::string(more, '\0')).fields;
          EXPECT_EQ(fields, (Fields{5, 6, 24})) << "at " << at << ", " << more << " bytes behind";
        }
        bytes.pop_back();
        EXPECT_EQ(probe(bytes).fields, Fields{}) << "at " << at << ", cut";
      }

  std::mt19937 random(20);
  constexpr std::array<char, 8> kLikely = {'\xFF', '\xC0', '\xC2', '\0', '\x11', '\x03', '\xFF', '\0'};
  const std::string marks[] = {frame(0xC0, 600, 800), frame(0xC2, 60, 80), frame(0xC0, 6, 8, 1)};
  for (std::size_t round = 0; round < 100; ++round) {
    std::string bytes(kBlock - 20 + random() % (2 * kBlock), '\0');
    for (char& byte : bytes) byte = kLikely[random() % kLikely.size()];
    bytes.replace(0, 2, "\xFF\xD8");
    for (std::size_t i = random() % 4; i-- > 0;) {
      const std::string& mark = marks[random() % (round % 3 + 1)];
      bytes.replace(std::min(bytes.size(), kBlock - 20 + random() % 40), mark.size(), mark);
    }
    EXPECT_EQ(probe(bytes).fields, scan_whole_jpeg(bytes)) << "round " << round;
  }
}

TEST_F(ImageSize, PassesOverAHoleInAJpeg) {
  const TestFolder folder;
  const std::string head = "\xFF\xD8" + frame(0xC0, 3, 4);
  EXPECT_EQ(probe_file(folder.write_sparse("image", head, std::uintmax_t{1} << 40, frame(0xC2, 6, 5))).fields,
            (Fields{5, 6, 24}));
}

TEST(Samples, OfPhotosAreReadAsTheirMakerSaysTheyAre) {
  const struct {
    const char* name;
    std::int32_t type, color_depth;
  } rows[] = {
      {"bmp-24.bmp", kBmp, 24},
      {"bmp-4.bmp", kBmp, 4},
      {"gif-2.gif", kGif, 2},
      {"gif-4.gif", kGif, 4},
      {"jpeg-baseline.jpg", kJpeg, 24},
      {"jpeg-progressive.jpg", kJpeg, 24},
      {"png-grey-1.png", kPng, 1},
      {"png-grey-2.png", kPng, 2},
      {"png-grey-4.png", kPng, 4},
      {"png-grey-8.png", kPng, 8},
      {"png-grey-16.png", kPng, 16},
      {"png-rgb-8.png", kPng, 24},
      {"png-rgb-16.png", kPng, 48},
      {"png-palette-1.png", kPng, 1},
      {"png-palette-2.png", kPng, 2},
      {"png-palette-4.png", kPng, 4},
      {"png-palette-8.png", kPng, 8},
      {"png-grey-alpha-8.png", kPng, 16},
      {"png-grey-alpha-16.png", kPng, 32},
      {"png-rgb-alpha-8.png", kPng, 32},
      {"png-rgb-alpha-16.png", kPng, 48},
      {"tiff-grey-8-lsb.tif", kTiff, 8},
      {"tiff-grey-8-msb.tif", kTiff, 8},
      {"tiff-rgb-8-lsb.tif", kTiff, 24},
      {"tiff-rgb-8-msb.tif", kTiff, 24},
      {"tiff-rgb-16-lsb.tif", kTiff, 48},
      {"tiff-rgb-16-msb.tif", kTiff, 48},
  };
  for (const auto& row : rows) {
    const Probed probed = probe_file(sample("photos/" + std::string(row.name)), {0, 0, 0});
    EXPECT_EQ(probed.result, 1) << row.name;
    EXPECT_EQ(probed.probe.image_type, row.type) << row.name;
    EXPECT_EQ(probed.fields, (Fields{5, 3, row.color_depth})) << row.name;
  }
  const Probed grey = probe_file(sample("photos/jpeg-grey.jpg"), {0, 0, 0});
  EXPECT_EQ(grey.result, 1);
  EXPECT_EQ(grey.fields, (Fields{0, 0, 0}));
}

}  // namespace
}  // namespace corvexal
