// SPDX-License-Identifier: GPL-3.0-or-later
#include "detector/multi_byte_sets.h"

#include <algorithm>
#include <cstdint>
#include <iterator>

#include "detector/common_characters.h"

namespace corvexal {
namespace {

// Bits by how common a character is.
constexpr double kSeldom = 14.5, kRare = 18, kHardlyEver = 21;
constexpr double kHiragana = 6, kKatakana = 6.5, kHalfKatakana = 8.5, kPunctuation = 9, kSymbol = 15;

struct Pair {
  std::uint8_t lead = 0, trail = 0;
  [[nodiscard]] std::uint16_t code() const { return static_cast<std::uint16_t>(lead << 8 | trail); }
};

Pair pair_of(std::string_view text) {
  if (text.size() < 2) return {};
  return {static_cast<std::uint8_t>(text[0]), static_cast<std::uint8_t>(text[1])};
}

constexpr bool within(std::uint8_t byte, std::uint8_t first, std::uint8_t last) {
  return byte >= first && byte <= last;
}

// The cost of a character by its place in the list, else what it costs as none of them.
double by_commonness(std::span<const std::uint16_t> common, std::uint16_t code, double otherwise) {
  const auto found = std::find(common.begin(), common.end(), code);
  if (found == common.end()) return otherwise;
  const auto rank = found - common.begin();
  return rank < 100 ? 8.5 : rank < 400 ? 10 : 11.5;
}

// GB 18030: GB 2312 with its two levels (0xB0 to 0xD7, 0xD8 to 0xF7), the rest of GBK, and four-byte codes.
MultiByteCharacter first_gb(std::string_view text) {
  const auto [lead, trail] = pair_of(text);
  if (!within(lead, 0x81, 0xFE)) return {};
  if (within(trail, 0x30, 0x39)) {
    if (text.size() < 4) return {};
    const auto [third, fourth] = pair_of(text.substr(2));
    return within(third, 0x81, 0xFE) && within(fourth, 0x30, 0x39) ? MultiByteCharacter{4, 30}
                                                                   : MultiByteCharacter{};
  }
  if (!within(trail, 0x40, 0xFE) || trail == 0x7F) return {};
  if (lead < 0xA1 || trail < 0xA1) return {2, kHardlyEver};
  if (lead == 0xA1 || lead == 0xA3) return {2, kPunctuation};
  if (lead < 0xB0) return {2, kSymbol};
  const Pair pair{lead, trail};
  return {2, by_commonness(common_gb(), pair.code(),
                           lead <= 0xD7   ? kSeldom
                           : lead <= 0xF7 ? kRare
                                          : kHardlyEver)};
}

// Big5 with its two levels (0xA4 to 0xC6, 0xC9 to 0xF9).
MultiByteCharacter first_big5(std::string_view text) {
  const auto [lead, trail] = pair_of(text);
  if (!within(lead, 0xA1, 0xF9) || !(within(trail, 0x40, 0x7E) || within(trail, 0xA1, 0xFE))) return {};
  if (lead == 0xA1) return {2, kPunctuation};
  if (lead < 0xA4) return {2, kSymbol};
  if (within(lead, 0xC7, 0xC8)) return {2, kHardlyEver};
  const Pair pair{lead, trail};
  return {2, by_commonness(common_big5(), pair.code(), lead <= 0xC6 ? kSeldom : kRare)};
}

// Big5 with Hong Kong's additions around it.
MultiByteCharacter first_hong_kong(std::string_view text) {
  const MultiByteCharacter character = first_big5(text);
  const auto [lead, trail] = pair_of(text);
  const bool added = within(lead, 0x87, 0xA0) || within(lead, 0xC6, 0xC8) || within(lead, 0xF9, 0xFE);
  if (character.length != 0 || !added) return character;
  return within(trail, 0x40, 0x7E) || within(trail, 0xA1, 0xFE) ? MultiByteCharacter{2, kRare}
                                                                : MultiByteCharacter{};
}

// A row and cell of JIS X 0208, each with the high bit set: kana in rows 0xA4 and 0xA5, kanji in two levels
// (0xB0 to 0xCF, 0xD0 to 0xF4), NEC's and IBM's additions in 0xAD and from 0xF9 on.
double jis_bits(Pair pair) {
  if (pair.lead == 0xA4) return kHiragana;
  if (pair.lead == 0xA5) return kKatakana;
  if (pair.lead == 0xA1) return pair.code() == 0xA1BC ? kKatakana : kPunctuation;
  if (pair.lead == 0xA3) return kPunctuation;
  if (pair.lead < 0xB0) return kSymbol;
  return by_commonness(common_jis(), pair.code(),
                       pair.lead <= 0xCF   ? kSeldom
                       : pair.lead <= 0xF4 ? kRare
                                           : kHardlyEver);
}

MultiByteCharacter first_euc_jp(std::string_view text) {
  const auto [lead, trail] = pair_of(text);
  if (lead == 0x8E)
    return within(trail, 0xA1, 0xDF) ? MultiByteCharacter{2, 2 * kHalfKatakana} : MultiByteCharacter{};
  if (lead == 0x8F) {
    const auto [second, third] = pair_of(text.substr(1));
    return within(second, 0xA1, 0xFE) && within(third, 0xA1, 0xFE) ? MultiByteCharacter{3, kHardlyEver}
                                                                   : MultiByteCharacter{};
  }
  if (!within(lead, 0xA1, 0xF4) || !within(trail, 0xA1, 0xFE) || within(lead, 0xA9, 0xAF)) return {};
  return {2, jis_bits({lead, trail})};
}

// Shift JIS folds two rows of JIS X 0208 into one lead byte.
MultiByteCharacter first_shift_jis(std::string_view text) {
  const auto lead = static_cast<std::uint8_t>(text.front());
  if (within(lead, 0xA1, 0xDF)) return {1, kHalfKatakana};
  const auto trail = pair_of(text).trail;
  if (!within(lead, 0x81, 0x9F) && !within(lead, 0xE0, 0xFC)) return {};
  if (!within(trail, 0x40, 0xFC) || trail == 0x7F) return {};
  if (lead >= 0xF0) return {2, kHardlyEver};
  const int row = 2 * (lead - (lead < 0xA0 ? 0x81 : 0xC1)) + (trail >= 0x9F ? 1 : 0);
  const int cell = trail >= 0x9F ? trail - 0x9F : trail - (trail > 0x7F ? 0x41 : 0x40);
  return {2, jis_bits({static_cast<std::uint8_t>(0xA1 + row), static_cast<std::uint8_t>(0xA1 + cell)})};
}

// CP949: KS X 1001 (Hangul 0xB0 to 0xC8, ideographs 0xCA to 0xFD), and the other syllables where either byte
// is lower.
MultiByteCharacter first_korean(std::string_view text) {
  const auto [lead, trail] = pair_of(text);
  if (!within(lead, 0x81, 0xFD)) return {};
  if (lead < 0xA1 || trail < 0xA1) {
    const bool syllable =
        lead <= 0xC6 && (within(trail, 0x41, 0x5A) || within(trail, 0x61, 0x7A) || within(trail, 0x81, 0xFE));
    return syllable ? MultiByteCharacter{2, kRare} : MultiByteCharacter{};
  }
  if (trail == 0xFF) return {};
  if (lead == 0xA1 || lead == 0xA3) return {2, kPunctuation};
  if (lead < 0xB0) return {2, kSymbol};
  if (lead == 0xC9) return {};
  const Pair pair{lead, trail};
  return {2, by_commonness(common_korean(), pair.code(), lead <= 0xC8 ? kSeldom : kRare)};
}

// UTF-8 is told by its form alone, so what it says matters little.
MultiByteCharacter first_utf8(std::string_view text) {
  const auto [lead, second] = pair_of(text);
  const std::size_t length = within(lead, 0xC2, 0xDF)   ? 2
                             : within(lead, 0xE0, 0xEF) ? 3
                             : within(lead, 0xF0, 0xF4) ? 4
                                                        : 0;
  if (length == 0 || text.size() < length) return {};
  const bool overlong = (lead == 0xE0 && second < 0xA0) || (lead == 0xF0 && second < 0x90);
  const bool beyond = (lead == 0xED && second > 0x9F) || (lead == 0xF4 && second > 0x8F);
  const std::string_view rest = text.substr(1, length - 1);
  const bool follows = std::all_of(rest.begin(), rest.end(),
                                   [](char c) { return within(static_cast<std::uint8_t>(c), 0x80, 0xBF); });
  if (overlong || beyond || !follows) return {};
  return {length, 2.5 + 2.5 * static_cast<double>(length)};
}

// Characters above U+00FF that titles are made of, where one script has them to itself.
struct Range {
  std::uint16_t first, last;
  double bits;
};
constexpr double kLetter = 6, kIdeograph = 14;
constexpr Range kUnicode[] = {
    {0x0100, 0x017F, 10},           {0x0386, 0x03CE, kLetter},      {0x0400, 0x0491, kLetter},
    {0x05D0, 0x05EA, kLetter},      {0x0621, 0x0652, kLetter},      {0x0E01, 0x0E5B, kLetter},
    {0x2010, 0x2026, kPunctuation}, {0x3000, 0x303F, kPunctuation}, {0x3041, 0x3096, kHiragana},
    {0x30A1, 0x30FE, kKatakana},    {0x4E00, 0x9FBF, kIdeograph},   {0xFF01, 0xFF9F, kPunctuation}};

MultiByteCharacter unicode(std::uint16_t code) {
  if (code >= 0xAC00 && code <= 0xD7A3) return {2, by_commonness(common_hangul(), code, kSeldom)};
  const auto* const range = std::find_if(std::begin(kUnicode), std::end(kUnicode), [&](const Range& row) {
    return code >= row.first && code <= row.last;
  });
  return range == std::end(kUnicode) ? MultiByteCharacter{} : MultiByteCharacter{2, range->bits};
}

// Texts that were Unicode in the tag and hold no character below 256.
MultiByteCharacter first_big_endian(std::string_view text) {
  return unicode(pair_of(text).code());
}

MultiByteCharacter first_little_endian(std::string_view text) {
  const auto [low, high] = pair_of(text);
  return unicode(Pair{high, low}.code());
}

constexpr MultiByteSet kSets[] = {
    {"UTF-8", 0, CodePage::kOther, true, first_utf8},
    {"GB18030", 2, CodePage::kGb, true, first_gb},
    {"CP950", 3, CodePage::kBig5, true, first_big5},
    {"BIG5-HKSCS", 5, CodePage::kBig5, true, first_hong_kong},
    {"CP932", 2, CodePage::kJapanese, true, first_shift_jis},
    {"EUC-JP", 4, CodePage::kJapanese, true, first_euc_jp},
    {"CP949", 2, CodePage::kKorean, true, first_korean},
    {"UTF-16BE", 4, CodePage::kOther, false, first_big_endian},
    {"UTF-16LE", 8, CodePage::kOther, false, first_little_endian},
};

}  // namespace

std::span<const MultiByteSet> multi_byte_sets() {
  return kSets;
}

}  // namespace corvexal
