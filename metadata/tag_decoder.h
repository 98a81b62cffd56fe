#pragma once

#include <string>

#include "metadata/converter.h"
#include "metadata/encoding_detector.h"

namespace corvexal {

// What turns the texts of one tag after another into UTF-8.
struct TagDecoder {
  EncodingDetector detector;
  Converters converters;
  bool standard = false;                         // tags are read as their standards say
  std::string code_page_set = "autodetect_utf8";  // then: of texts in an encoding that nothing tells
};

}  // namespace corvexal
