// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/charset.h"

#include <cstdint>
#include <cstdlib>
#include <iterator>

#include "base/text.h"

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

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  static corvexal::Converters converters;
  const Request request = split(input);

  const auto from = request.charset.c_str();
  const corvexal::Converted converted = corvexal::convert_to_utf8(converters, request.text, from);
  if (converted.text.has_value() != (converted.status == 0)) std::abort();
  // What was made is UTF-8, and testing a text says what converting it says.
  if (converted.text && !corvexal::is_utf8(*converted.text)) std::abort();
  const std::string terminated = std::string(request.text) + '\0';
  if (corvexal::iconv_string(converters, "UTF-8", from, terminated, nullptr) != converted.status)
    std::abort();
  return 0;
}
