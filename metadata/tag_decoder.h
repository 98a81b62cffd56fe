// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

#include "base/config.h"
#include "metadata/charset.h"
#include "metadata/converter.h"
#include "metadata/encoding_detector.h"

namespace corvexal {

// What the detector said of a song whose album's name is no ASCII.
struct AlbumAnswer {
  std::string album;  // artist and album, as the tag's bytes; empty before the first
  std::string answer;
};

// What turns the texts of one tag after another into UTF-8.
struct TagDecoder {
  EncodingDetector detector;
  Converters converters;
  AlbumAnswer last_album;
  bool standard = false;                          // tags are read as their standards say
  std::string code_page_set = "autodetect_utf8";  // then: of texts in an encoding that nothing tells
};

// Has the decoder read tags as the configuration says, with the code page's set for what nothing tells. False
// when it cannot; kNoStandardTags says why.
[[nodiscard]] bool choose_tags(TagDecoder& decoder, const ConfigRecord& config, const NameCharset& names);
inline constexpr char kNoStandardTags[] =
    "tags=standard needs TagLib's module, lib/corvexal/standard_tags.so, which is missing";

}  // namespace corvexal
