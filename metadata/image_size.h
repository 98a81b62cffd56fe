// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string>

namespace corvexal {

// The image types and their numbers.
enum ImageType : std::int32_t { kBmp = 0, kJpeg = 1, kGif = 2, kTiff = 3, kPng = 4 };

// What is asked and told of one image. The caller sets the path and leaves the rest zero.
struct ImageProbe {
  std::string path;
  std::uint32_t file_size = 0;   // bytes, low 32 bits; set once the file is recognised
  std::int32_t image_type = 0;   // an ImageType; kJpeg also for a file that is not recognised
  std::int32_t width = 0;        // pixels, like the next two at most INT32_MAX whatever the file says
  std::int32_t height = 0;       // pixels
  std::int32_t color_depth = 0;  // bits per pixel
};

// Reads the dimensions of the BMP, GIF (87a, 89a), JPEG (ITU-T T.81), PNG (ISO/IEC 15948) or TIFF 6.0 image
// at probe.path. A field whose bytes the file does not hold, or not wholly, keeps its value. JPEG dimensions
// come from the frame headers of three-component baseline and progressive images only. At most the whole file
// is read, a bounded piece at a time; nothing stays open. Returns 1 when the format was recognised, whatever
// its header held; 0, after one line on standard output, when the file cannot be opened or is not recognised.
[[nodiscard]] int get_img_size(ImageProbe& probe);

// True when the file's first bytes are those of such an image, so that get_img_size would answer 1; nothing
// is printed.
[[nodiscard]] bool is_image(const std::string& path);

}  // namespace corvexal
