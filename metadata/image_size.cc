// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/image_size.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>

#include "base/file.h"
#include "metadata/image_readers.h"

namespace corvexal {
namespace {

constexpr std::size_t kHeadSize = 10;
constexpr std::string_view kPngSignature = "\x89PNG\r\n\x1A\n";

// The type that the file's first bytes tell. All but JPEG are known by a mark anywhere before the first zero
// byte.
std::optional<ImageType> recognise(Bytes head) {
  const std::string text(head.begin(), std::find(head.begin(), head.end(), std::uint8_t{0}));
  const auto holds = [&text](std::string_view mark) { return text.find(mark) != std::string::npos; };
  if (holds("BM")) return kBmp;
  if (text.starts_with("\xFF\xD8")) return kJpeg;
  if (holds("GIF")) return kGif;
  if (holds("II") || holds("MM")) return kTiff;
  if (holds(kPngSignature)) return kPng;
  return std::nullopt;
}

void read_image(ImageType type, FileWindow& file, ImageProbe& probe) {
  switch (type) {
    case kBmp:
      return read_bmp(file, probe);
    case kJpeg:
      return read_jpeg(file, probe);
    case kGif:
      return read_gif(file, probe);
    case kTiff:
      return read_tiff(file, probe);
    case kPng:
      return read_png(file, probe);
  }
}

}  // namespace

bool is_image(const std::string& path) {
  File file(path);
  std::array<std::uint8_t, kHeadSize> head{};
  return recognise(Bytes(head).first(file.read_at(0, head))).has_value();
}

int get_img_size(ImageProbe& probe) {
  FileWindow file(probe.path);
  if (!file) {
    std::puts("get_img_size(): open file error");
    return 0;
  }
  const std::optional<ImageType> type = recognise(file.at(0, kHeadSize));
  probe.image_type = type.value_or(kJpeg);
  if (!type) {
    std::printf("Can't verify image file of type!!filename: %s\n", probe.path.c_str());
    return 0;
  }
  probe.file_size = static_cast<std::uint32_t>(file.file_size());
  read_image(*type, file, probe);
  return 1;
}

}  // namespace corvexal
