// SPDX-License-Identifier: GPL-3.0-or-later
#include "detector/guess.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <limits>
#include <vector>

#include "detector/library_opinion.h"
#include "detector/multi_byte_sets.h"
#include "detector/single_byte_sets.h"
#include "detector/text_cost.h"

namespace corvexal {
namespace {

constexpr double kNever = std::numeric_limits<double>::infinity();
constexpr double kCutCharacter = 15;    // bits, at the end of the sample
constexpr double kCodePageWeight = 12;  // bits
constexpr double kOpinionWeight = 3;    // bits that the library's opinion makes up for
constexpr double kPlausible = 10;       // bits a byte that a text takes at most

// What a text of seven-bit bytes changes its set with.
struct Escape {
  std::string_view begin, end;  // both occur
  std::string_view charset;
};
constexpr Escape kEscapes[] = {{"\x1B$B", "\x1B(", "ISO-2022-JP-2"}, {"\x1B$@", "\x1B(", "ISO-2022-JP-2"},
                               {"\x1B(J", "\x1B(", "ISO-2022-JP-2"}, {"\x1B$)C", "\x0F", "ISO-2022-KR"},
                               {"\x1B$)A", "\x0F", "ISO-2022-CN"},   {"~{", "~}", "HZ"}};

std::string_view escaped_set(std::string_view sample) {
  const auto* const found = std::find_if(std::begin(kEscapes), std::end(kEscapes), [&](const Escape& row) {
    const std::size_t at = sample.find(row.begin);
    return at != std::string_view::npos && sample.find(row.end, at) != std::string_view::npos;
  });
  return found == std::end(kEscapes) ? std::string_view() : found->charset;
}

bool is_ascii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

double bits_in_ascii(std::string_view sample) {
  TextCost cost;
  for (const char c : sample) cost.add(static_cast<unsigned char>(c));
  return cost.bits();
}

double bits_in(const SingleByteSet& set, std::string_view sample) {
  TextCost cost(set.family);
  for (const char c : sample) {
    const auto byte = static_cast<unsigned char>(c);
    const char16_t character = byte < 0x80 ? byte : set.upper_half[byte - 0x80U];
    if (byte >= 0x80 && character == u'?') return kNever;
    cost.add(character);
  }
  return cost.bits() + set.rarity;
}

double bits_in(const MultiByteSet& set, std::string_view sample) {
  TextCost cost;
  while (!sample.empty()) {
    const auto byte = static_cast<unsigned char>(sample.front());
    if (byte < 0x80 && set.holds_ascii) {
      cost.add(byte);
      sample.remove_prefix(1);
      continue;
    }
    const MultiByteCharacter character = set.first(sample);
    if (character.length == 0) return sample.size() == 1 ? cost.bits() + set.rarity + kCutCharacter : kNever;
    cost.add_ideograph(character.bits);
    sample.remove_prefix(character.length);
  }
  return cost.bits() + set.rarity;
}

struct Reading {
  std::string_view charset;
  double bits = kNever;
};

bool is_cheaper(const Reading& a, const Reading& b) {
  return a.bits < b.bits;
}

std::string_view guess_of_seven_bits(std::string_view sample) {
  if (const std::string_view charset = escaped_set(sample); !charset.empty()) return charset;
  Reading best{"", bits_in_ascii(sample)};
  for (const MultiByteSet& set : multi_byte_sets())
    if (!set.holds_ascii) best = std::min(best, {set.name, bits_in(set, sample)}, is_cheaper);
  return best.charset;
}

// The sample in every set, the cheapest reading first; one without a name is what no text costs.
std::vector<Reading> readings_of(std::string_view sample, CodePage code_page) {
  std::vector<Reading> readings{{"", kPlausible * static_cast<double>(sample.size())}};
  for (const SingleByteSet& set : single_byte_sets()) readings.push_back({set.name, bits_in(set, sample)});
  for (const MultiByteSet& set : multi_byte_sets()) {
    const bool expected = set.code_page == code_page && code_page != CodePage::kOther;
    readings.push_back({set.name, bits_in(set, sample) - (expected ? kCodePageWeight : 0)});
  }
  std::sort(readings.begin(), readings.end(), is_cheaper);
  return readings;
}

// Where readings lie close together, the library's opinion decides between them.
std::string_view guess_of_bytes(std::string_view sample, CodePage code_page) {
  const std::vector<Reading> readings = readings_of(sample, code_page);
  const double limit = readings.front().bits + kOpinionWeight;
  if (readings[1].bits >= limit) return readings.front().charset;
  const std::string_view opinion = library_opinion(sample);
  const auto found = std::find_if(readings.begin(), readings.end(), [&](const Reading& reading) {
    return reading.bits < limit && !opinion.empty() && reading.charset == opinion;
  });
  return found == readings.end() ? readings.front().charset : found->charset;
}

}  // namespace

std::string_view guess_charset(std::string_view sample, CodePage code_page) {
  if (sample.starts_with("\xFF\xFE") || sample.starts_with("\xFE\xFF")) return "UTF-16";
  return is_ascii(sample) ? guess_of_seven_bits(sample) : guess_of_bytes(sample, code_page);
}

}  // namespace corvexal
