// SPDX-License-Identifier: GPL-3.0-or-later
// In the place of standard_tags.cc where there is no TagLib.

#include "metadata/standard_tags.h"

namespace corvexal {

const bool kReadsStandardTags = false;

int read_standard_tags(TagDecoder&, const std::string&, SongInfo&) {
  return -1;
}

}  // namespace corvexal
