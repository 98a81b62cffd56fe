#pragma once

#include "metadata/converter.h"
#include "metadata/encoding_detector.h"

namespace corvexal {

// What turns the texts of one tag after another into UTF-8.
struct TagDecoder {
  EncodingDetector detector;
  Converters converters;
};

}  // namespace corvexal
