#include "metadata/charset.h"

#include <bit>
#include <cstdint>
#include <cstdlib>
#include <iterator>

// One byte that chooses the source set, then the text. Behind the last set a name stands in the input itself,
// as a detector may answer anything.
namespace {

constexpr const char* kSets[] = {
    "autodetect_utf8", "autodetect_jp", "autodetect_kr", "autodetect_BIG5", "autodetect_GB", "HZ",
    "EUC-JP",          "CP949",         "BIG5-HKSCS",    "ISO-2022-CN-EXT", "ISO-2022-JP-2", "GB18030"};

struct Request {
  std::string charset;
  std::string_view text;
};

Request split(std::string_view input) {
  const auto choice = static_cast<unsigned char>(input.front());
  input.remove_prefix(1);
  if (choice < std::size(kSets)) return {kSets[choice], input};
  const std::size_t end = std::min(input.find('\0'), input.size());
  return {std::string(input.substr(0, end)), input.substr(end)};
}

// Decodes the text by the rule of RFC 3629: a checker of its own, which shares nothing with what it checks.
bool is_utf8_by_its_codes(std::string_view text) {
  for (std::size_t at = 0; at < text.size();) {
    const auto lead = static_cast<unsigned char>(text[at++]);
    if (lead < 0x80) continue;
    const int more = std::countl_one(lead) - 1;
    if (more < 1 || more > 3) return false;
    std::uint32_t code = lead & (0x3FU >> more);
    for (int i = 0; i < more; ++i, ++at) {
      if (at == text.size() || (static_cast<unsigned char>(text[at]) & 0xC0U) != 0x80) return false;
      code = code << 6 | (static_cast<unsigned char>(text[at]) & 0x3FU);
    }
    constexpr std::uint32_t kSmallest[] = {0, 0x80, 0x800, 0x10000};
    if (code < kSmallest[more] || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF)) return false;
  }
  return true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  const Request request = split(input);

  const auto from = request.charset.c_str();
  const corvexal::Converted converted = corvexal::convert_to_utf8(request.text, from);
  if (converted.text.has_value() != (converted.status == 0)) std::abort();
  // What was made is UTF-8, and testing a text says what converting it says.
  if (converted.text && !is_utf8_by_its_codes(*converted.text)) std::abort();
  const std::string terminated = std::string(request.text) + '\0';
  if (corvexal::iconv_string("UTF-8", from, terminated, nullptr) != converted.status) std::abort();
  return 0;
}
