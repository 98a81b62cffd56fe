// SPDX-License-Identifier: GPL-3.0-or-later
#include "detector/library_opinion.h"

#include <uchardet/uchardet.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <type_traits>

namespace corvexal {
namespace {

struct DeleteDetector {
  void operator()(uchardet_t detector) const noexcept { uchardet_delete(detector); }
};
using Detector = std::unique_ptr<std::remove_pointer_t<uchardet_t>, DeleteDetector>;

struct Name {
  std::string_view library, ours;
};
constexpr Name kNames[] = {{"UTF-8", "UTF-8"},
                           {"GB18030", "GB18030"},
                           {"BIG5", "CP950"},
                           {"SHIFT_JIS", "CP932"},
                           {"EUC-JP", "EUC-JP"},
                           {"EUC-KR", "CP949"},
                           {"UHC", "CP949"},
                           {"ISO-8859-1", "CP1252"},
                           {"ISO-8859-15", "CP1252"},
                           {"WINDOWS-1252", "CP1252"},
                           {"ISO-8859-2", "ISO-8859-2"},
                           {"WINDOWS-1250", "CP1250"},
                           {"WINDOWS-1251", "CP1251"},
                           {"KOI8-R", "KOI8-U"},
                           {"IBM866", "CP866"},
                           {"ISO-8859-5", "ISO-8859-5"},
                           {"WINDOWS-1253", "CP1253"},
                           {"ISO-8859-7", "ISO-8859-7"},
                           {"ISO-8859-9", "CP1254"},
                           {"ISO-8859-8", "CP1255"},
                           {"WINDOWS-1255", "CP1255"},
                           {"WINDOWS-1256", "CP1256"},
                           {"ISO-8859-6", "ISO-8859-6"},
                           {"ISO-8859-13", "CP1257"},
                           {"WINDOWS-1257", "CP1257"},
                           {"TIS-620", "CP874"},
                           {"ISO-8859-11", "CP874"},
                           {"WINDOWS-1258", "CP1258"}};

}  // namespace

std::string_view library_opinion(std::string_view sample) {
  const Detector detector(uchardet_new());
  if (!detector || uchardet_handle_data(detector.get(), sample.data(), sample.size()) != 0) return {};
  uchardet_data_end(detector.get());
  const std::string_view name = uchardet_get_charset(detector.get());
  const auto* const found = std::find_if(std::begin(kNames), std::end(kNames),
                                         [&](const Name& row) { return row.library == name; });
  return found == std::end(kNames) ? std::string_view() : found->ours;
}

}  // namespace corvexal
