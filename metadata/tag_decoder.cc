// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_decoder.h"

#include "metadata/tag_library.h"

namespace corvexal {

bool choose_tags(TagDecoder& decoder, const ConfigRecord& config, const NameCharset& names) {
  decoder.standard = config.standard_tags;
  decoder.code_page_set = names.charset();
  return !config.standard_tags || has_tag_library();
}

}  // namespace corvexal
