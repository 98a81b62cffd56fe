#include "metadata/c_library_charsets.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "base/text.h"

namespace corvexal {
namespace {

constexpr std::string_view kNameCharacters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789_.:-";

// Names of the C library's own that people and detectors write; GNU libiconv wants "UTF-8", "KOI8-R" and so
// on.
constexpr std::string_view kForeignNames[] = {
    "UTF7",    "UTF8",   "UTF16",   "UTF16BE",      "UTF16LE",     "UTF32",  "UTF32BE",
    "UTF32LE", "UCS2",   "UCS4",    "KOI8R",        "KOI8U",       "IBM437", "IBM852",
    "IBM855",  "IBM865", "UNICODE", "MAC-CYRILLIC", "WINDOWS-31J",
};

// A set whose characters begin with ASCII or a lead byte: `first_lead` to 0xFF, or one of single_shifts. A
// character is two bytes, three behind the single shift 0x8F.
struct LeadBytes {
  std::string_view charset;
  unsigned char first_lead;
  std::string_view single_shifts;
};

constexpr LeadBytes kDoubleByteSets[] = {
    {"EUC-JP", 0xA1, "\x8E\x8F"},
    {"EUCJP", 0xA1, "\x8E\x8F"},
    {"EUC-KR", 0xA1, ""},
    {"EUCKR", 0xA1, ""},
    {"BIG5", 0x81, ""},
    {"BIG-5", 0x81, ""},
    {"BIGFIVE", 0x81, ""},
    {"BIG-FIVE", 0x81, ""},
    {"CN-BIG5", 0x81, ""},
    {"CP950", 0x81, ""},
    {"BIG5-HKSCS", 0x81, ""},
    {"BIG5HKSCS", 0x81, ""},
    {"GBK", 0x81, ""},
};

bool holds(const auto& names, std::string_view charset) {
  return std::any_of(std::begin(names), std::end(names),
                     [&](std::string_view name) { return equal_ignoring_case(name, charset); });
}

// "ISO88591" to "ISO885916"; "ISO8859-1" is well known.
bool is_run_together_iso(std::string_view name) {
  constexpr std::string_view kPrefix = "ISO8859";
  return starts_with_ignoring_case(name, kPrefix) && name.size() > kPrefix.size() &&
         name[kPrefix.size()] != '-';
}

}  // namespace

bool names_hz(std::string_view charset) {
  return equal_ignoring_case(charset, "HZ") || equal_ignoring_case(charset, "HZ-GB-2312");
}

const char* c_library_name(const char* charset) {
  const std::string_view name = charset;
  if (name.find_first_not_of(kNameCharacters) != std::string_view::npos) return nullptr;
  if (holds(kForeignNames, name) || is_run_together_iso(name)) return nullptr;
  // ISO-2022-JP-2 adds sets to ISO-2022-JP-1 and takes none away.
  return equal_ignoring_case(name, "ISO-2022-JP-1") ? "ISO-2022-JP-2" : charset;
}

bool has_stray_control(std::string_view charset, std::string_view text) {
  const auto* const set =
      std::find_if(std::begin(kDoubleByteSets), std::end(kDoubleByteSets),
                   [&](const LeadBytes& row) { return equal_ignoring_case(row.charset, charset); });
  if (set == std::end(kDoubleByteSets)) return false;
  for (std::size_t at = 0; at < text.size();) {
    const auto lead = static_cast<unsigned char>(text[at]);
    if (lead < 0x80) {
      at += 1;
    } else if (lead >= set->first_lead || set->single_shifts.find(text[at]) != std::string_view::npos) {
      at += lead == 0x8F && !set->single_shifts.empty() ? 3 : 2;
    } else {
      return true;
    }
  }
  return false;
}

}  // namespace corvexal
