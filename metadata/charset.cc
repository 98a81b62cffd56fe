// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/charset.h"

#include <algorithm>
#include <cerrno>
#include <iterator>
#include <new>
#include <span>
#include <utility>

#include "base/code_page.h"
#include "metadata/converter.h"

namespace corvexal {
namespace {

constexpr const char* kUtf8[] = {"UTF-8"};
constexpr const char* kJapanese[] = {"ISO-2022-JP-2", "EUC-JP",        "CP932",
                                     "ISO-2022-JP",   "ISO-2022-JP-1", "SHIFT_JIS"};
constexpr const char* kKorean[] = {"ISO-2022-KR", "CP949", "JOHAB", "EUC-KR"};
constexpr const char* kBig5[] = {"BIG5", "CP950", "BIG5-HKSCS", "EUC-TW"};
constexpr const char* kGb[] = {"EUC-CN", "GBK", "HZ", "ISO-2022-CN", "ISO-2022-CN-EXT", "GB18030"};

using Candidates = std::span<const char* const>;
struct PseudoSet {
  std::string_view name;
  Candidates first, second, third = {};
};

// The candidates of the pseudo sets, as far as one ever comes: all name the Chinese ones, and those end at
// "autodetect_JP", which is no set (EINVAL), as the Japanese one is "autodetect_jp". Clients of the catalogue
// rely on the names that come out of exactly these lists: spelling and order stay.
constexpr PseudoSet kPseudoSets[] = {{"autodetect_utf8", kUtf8, kBig5, kGb},
                                     {"autodetect_jp", kJapanese, kBig5, kGb},
                                     {"autodetect_kr", kKorean, kBig5, kGb},
                                     {"autodetect_BIG5", kBig5, kGb},
                                     {"autodetect_GB", kGb, kBig5}};
constexpr int kEndOfCandidates = EINVAL;

// The pseudo set for names on a disk of each code page.
constexpr const char* kCodePageSets[] = {
    "", "autodetect_BIG5", "autodetect_GB", "autodetect_jp", "autodetect_kr", "autodetect_utf8"};

// One conversion, tried from one candidate after another.
class CandidateSearch {
 public:
  CandidateSearch(Converters& converters, const char* tocode, std::string_view input, Text* result)
      : converters_(converters), tocode_(tocode), input_(input), result_(result) {}

  // Returns 0 with the result stored, or an errno value.
  int from(const char* charset) try {
    const auto* const set = std::find_if(std::begin(kPseudoSets), std::end(kPseudoSets),
                                         [&](const PseudoSet& row) { return row.name == charset; });
    if (set == std::end(kPseudoSets)) return from_known(charset);
    for (const Candidates& candidates : {set->first, set->second, set->third})
      for (const char* candidate : candidates)
        if (const int error = from_known(candidate); error != EILSEQ) return error;
    return kEndOfCandidates;
  } catch (const std::bad_alloc&) {
    return ENOMEM;
  }

 private:
  // The text is converted once, into a string that grows: measuring it first to make room would double the
  // work for the same bytes.
  int from_known(const char* charset) {
    std::string made;
    const int error = converters_.convert(tocode_, charset, input_, result_ != nullptr ? &made : nullptr);
    if (error == 0 && result_ != nullptr) *result_ = std::move(made);
    return error;
  }

  Converters& converters_;
  const char* tocode_;
  std::string_view input_;
  Text* result_;
};

}  // namespace

int iconv_string(Converters& converters, const char* tocode, const char* fromcode, std::string_view input,
                 Text* result) {
  const int error = CandidateSearch(converters, tocode, input, result).from(fromcode);
  if (error == 0) return 0;
  errno = error;
  return -1;
}

Converted convert_to_utf8(Converters& converters, std::string_view text, const char* fromcode) {
  std::string terminated(text);
  terminated += '\0';
  Converted converted;
  converted.status = iconv_string(converters, "UTF-8", fromcode, terminated, &converted.text);
  if (converted.text) converted.text->resize(std::min(converted.text->size(), converted.text->find('\0')));
  return converted;
}

int NameCharset::CodePageType() {
  const auto type = static_cast<int>(read_code_page());
  if (type != 0) charset_ = kCodePageSets[type];
  return type;
}

Converted NameCharset::to_utf8(std::string_view name) {
  return convert_to_utf8(converters_, name, charset_.c_str());
}

}  // namespace corvexal
