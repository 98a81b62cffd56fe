// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/c_library_charsets.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <span>

#include "base/text.h"

namespace corvexal {
namespace {

constexpr std::string_view kNameCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.:-";

// Names of the C library's own that people and detectors write; GNU libiconv wants "UTF-8" and so on.
constexpr std::string_view kForeignNames[] = {
    "UTF7",     "UTF8",       "UTF16",     "UTF16BE",      "UTF16LE",     "UTF32",  "UTF32BE",
    "UTF32LE",  "UCS2",       "UCS4",      "KOI8R",        "KOI8U",       "IBM437", "IBM852",
    "IBM855",   "IBM865",     "UNICODE",   "MAC-CYRILLIC", "WINDOWS-31J", "UJIS",   "EUC-JP-MS",
    "EUCJP-MS", "EUCJP-OPEN", "EUCJP-WIN", "GB13000",
};

// Codes of two bytes that the C library takes and GNU libiconv does not.
struct CodeRange {
  int first, last;
};
constexpr CodeRange kNotInBig5[] = {{0xA15A, 0xA15A}, {0xA1C3, 0xA1C3}, {0xA1C5, 0xA1C5}, {0xA1FE, 0xA1FE},
                                    {0xA240, 0xA240}, {0xA2CC, 0xA2CC}, {0xA2CE, 0xA2CE}, {0xA3E1, 0xA3E1},
                                    {0xC7FD, 0xC8FE}, {0xF9D6, 0xF9FE}};
constexpr CodeRange kNotInCp950[] = {{0xC6A1, 0xC8FE}};

// A set whose characters begin with ASCII or a lead byte: `first_lead` to 0xFF, or one of single_shifts. A
// character is two bytes, three after the single shift 0x8F.
struct LeadBytes {
  std::string_view charset;
  unsigned char first_lead;
  std::string_view single_shifts = {};
  std::span<const CodeRange> refused = {};
};

constexpr LeadBytes kDoubleByteSets[] = {
    {"EUC-JP", 0xA1, "\x8E\x8F"},
    {"EUCJP", 0xA1, "\x8E\x8F"},
    {"CSEUCPKDFMTJAPANESE", 0xA1, "\x8E\x8F"},
    {"EUC-KR", 0xA1},
    {"EUCKR", 0xA1},
    {"CSEUCKR", 0xA1},
    {"BIG5", 0x81, "", kNotInBig5},
    {"CP950", 0x81, "", kNotInCp950},
    {"BIG5-HKSCS", 0x81},
    {"BIG5HKSCS", 0x81},
    {"GBK", 0x81},
};

constexpr std::string_view kBig5Names[] = {"BIG5", "BIG-5", "BIGFIVE", "BIG-FIVE", "CN-BIG5"};

// A set whose texts tell their byte order by a mark at their start.
struct MarkedSet {
  std::string_view charset;
  const char* big_endian;
  const char* little_endian;
  std::string_view little_endian_mark;  // the other one is its reverse
};

constexpr std::string_view kMark16{"\xFF\xFE", 2}, kMark32{"\xFF\xFE\0\0", 4};
constexpr MarkedSet kMarkedSets[] = {
    {"UTF-16", "UTF-16BE", "UTF-16LE", kMark16},        {"UTF-32", "UTF-32BE", "UTF-32LE", kMark32},
    {"UCS-2", "UCS-2BE", "UCS-2LE", kMark16},           {"UCS-4", "UCS-4BE", "UCS-4LE", kMark32},
    {"ISO-10646-UCS-2", "UCS-2BE", "UCS-2LE", kMark16}, {"ISO-10646-UCS-4", "UCS-4BE", "UCS-4LE", kMark32},
    {"CSUNICODE", "UCS-2BE", "UCS-2LE", kMark16},       {"CSUCS4", "UCS-4BE", "UCS-4LE", kMark32},
};

bool holds(const auto& names, std::string_view charset) {
  return std::any_of(std::begin(names), std::end(names),
                     [&](std::string_view name) { return equal_ignoring_case(name, charset); });
}

bool holds_code(std::span<const CodeRange> ranges, std::string_view character) {
  if (character.size() < 2) return false;
  const int code = static_cast<unsigned char>(character[0]) << 8 | static_cast<unsigned char>(character[1]);
  return std::ranges::any_of(ranges,
                             [=](CodeRange range) { return range.first <= code && code <= range.last; });
}

// "ISO88591" to "ISO885916"; "ISO8859-1" is well known.
bool is_run_together_iso(std::string_view name) {
  return starts_with_ignoring_case(name, "ISO8859") && !starts_with_ignoring_case(name, "ISO8859-");
}

}  // namespace

bool names_big5(std::string_view charset) {
  return holds(kBig5Names, charset);
}

bool names_hz(std::string_view charset) {
  return equal_ignoring_case(charset, "HZ") || equal_ignoring_case(charset, "HZ-GB-2312");
}

const char* c_library_name(const char* charset) {
  const std::string_view name = charset;
  if (name.find_first_not_of(kNameCharacters) != std::string_view::npos) return nullptr;
  const bool is_osf_number = starts_with_ignoring_case(name, "OSF000");
  if (holds(kForeignNames, name) || is_run_together_iso(name) || is_osf_number) return nullptr;
  // ISO-2022-JP-2 adds sets to ISO-2022-JP-1 and takes none away.
  return equal_ignoring_case(name, "ISO-2022-JP-1") ? "ISO-2022-JP-2" : charset;
}

OrderedText in_byte_order(const char* charset, std::string_view text) {
  const auto* const set =
      std::find_if(std::begin(kMarkedSets), std::end(kMarkedSets),
                   [&](const MarkedSet& row) { return equal_ignoring_case(row.charset, charset); });
  if (set == std::end(kMarkedSets)) return {charset, text};
  const std::string_view mark = set->little_endian_mark;
  const std::string_view front = text.substr(0, mark.size());
  if (front == mark) return {set->little_endian, text.substr(mark.size())};
  const bool marked_big = std::equal(mark.rbegin(), mark.rend(), front.begin(), front.end());
  return {set->big_endian, marked_big ? text.substr(mark.size()) : text};
}

bool is_refused(std::string_view charset, std::string_view text) {
  const auto* const set =
      std::find_if(std::begin(kDoubleByteSets), std::end(kDoubleByteSets),
                   [&](const LeadBytes& row) { return equal_ignoring_case(row.charset, charset); });
  if (set == std::end(kDoubleByteSets)) return false;
  for (std::size_t at = 0; at < text.size();) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
      at += 1;
    } else if (lead >= set->first_lead || set->single_shifts.find(text[at]) != std::string_view::npos) {
      if (holds_code(set->refused, text.substr(at))) return true;
      at += lead == 0x8F && !set->single_shifts.empty() ? 3 : 2;
    } else {
      return true;
    }
  }
  return false;
}

}  // namespace corvexal
