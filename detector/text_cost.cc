// SPDX-License-Identifier: GPL-3.0-or-later
#include "detector/text_cost.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string_view>

namespace corvexal {
namespace {

// What things cost, in bits.
constexpr double kOtherLanguage = 4;  // for the next word
constexpr double kRarestLetter = 10;
constexpr double kForeignLetter = 14;  // one that the language does not have
constexpr double kWordStart = 1;       // whether it is small or capital
constexpr double kSpace = 2.5;
constexpr double kDigit = 5.5;  // or another character of ASCII that is no letter
constexpr double kControl = 12;
constexpr double kUsualSymbol = 9;  // what is typed in titles
constexpr double kApostrophe = 7;   // after a letter
constexpr double kStrangeSymbol = 14;
constexpr double kLetterAfterSymbol = 5;                          // which a space mostly follows
constexpr double kSmallBesideOther = 5, kCapitalBesideOther = 2;  // a letter beside another script
constexpr double kLoneIdeograph = 4;

constexpr std::u16string_view kVowels =
    u"aeiouyàáâãäåæèéêëìíîïòóôõöøùúûüýÿāăąēėęěīįıőœūůűųơưаеёиоуыэюяіїєαεηιουωάέήίόύώϊϋΐΰ";
constexpr std::u16string_view kUsualSymbols = u"\u00A0‘’“”„–—…«»¿¡´°·№،؛؟";
constexpr std::u16string_view kBeforeWords = u"\u00A0‘“„«¿¡–—…";
constexpr std::u16string_view kInsideWords = u"’´·\u00AD";

// The share of a letter falls with its rank a little faster from one to the next.
double rank_bits(std::size_t rank) {
  const auto r = static_cast<double>(rank);
  return std::min(3.2 + 0.12 * r + 0.0018 * r * r, kRarestLetter);
}

double beside_other_script(Case letter) {
  return letter == Case::kUpper ? kCapitalBesideOther : kSmallBesideOther;
}

double letter_bits(const Language& language, char16_t lower) {
  const std::size_t rank = language.rank(lower);
  return rank == Language::kNoLetter ? kForeignLetter : rank_bits(rank);
}

bool holds(std::u16string_view characters, char16_t character) {
  return characters.find(character) != std::u16string_view::npos;
}

bool has_vowels(int script) {
  return script == 0 || script == 3 || script == 4;  // Latin, Greek and Cyrillic
}

bool is_vowel(char16_t lower) {
  return holds(lower < 0x80 ? kVowels.substr(0, 6) : kVowels, lower);
}

}  // namespace

TextCost::TextCost() : candidates_{{&languages().front(), 0}} {}

TextCost::TextCost(Family family) : TextCost() {
  for (const Language& language : languages().subspan(1))
    if (language.family() == family)
      candidates_.push_back({&language, static_cast<double>(language.rarity())});
}

void TextCost::start_word() {
  const double limit = bits() - common_bits_ + kOtherLanguage;
  for (Candidate& candidate : candidates_)
    candidate.bits = std::min(candidate.bits, limit + candidate.language->rarity());
}

double TextCost::bits() const {
  const auto best = std::min_element(candidates_.begin(), candidates_.end(),
                                     [](const Candidate& a, const Candidate& b) { return a.bits < b.bits; });
  return best->bits + common_bits_;
}

void TextCost::add(char16_t character) {
  if (previous_ == Previous::kIdeograph && run_ == 1) charge(kLoneIdeograph);
  if (is_letter(character))
    add_letter(character);
  else if (character < 0x80)
    add_ascii(character);
  else
    add_symbol(character);
  last_ = character;
}

void TextCost::add_letter(char16_t character) {
  const char16_t lower = to_lower(character);
  const Case now = case_of(character);
  if (previous_ == Previous::kLetter) {
    // The texts of a sample stand side by side, so another word may begin at once.
    const bool other_script = script_of(character) != script_of(last_);
    charge(other_script ? beside_other_script(now) : syllable_bits(lower) + case_bits(now));
    if (other_script || (case_ == Case::kLower && now == Case::kUpper)) start_word();
  } else {
    if (previous_ == Previous::kSymbol) charge(kLetterAfterSymbol);
    if (previous_ == Previous::kIdeograph) charge(beside_other_script(now));
    if (now != Case::kNone) charge(kWordStart);
    start_word();
    run_ = 1;
    capitals_ = 0;
  }
  for (Candidate& candidate : candidates_) candidate.bits += letter_bits(*candidate.language, lower);
  previous_ = Previous::kLetter;
  case_ = now;
  capitals_ = now == Case::kUpper ? capitals_ + 1 : 0;
}

// Consonants and vowels take turns, more or less.
double TextCost::syllable_bits(char16_t lower) {
  if (!has_vowels(script_of(lower))) return 0;
  run_ = is_vowel(lower) == is_vowel(to_lower(last_)) ? run_ + 1 : 1;
  constexpr double kRuns[] = {0, -0.4, 0.5, 1.8, 3.5};
  return kRuns[std::min<std::size_t>(run_, std::size(kRuns) - 1)];
}

// A word is small or capital throughout, or begins with a capital. What a letter costs by the one before it.
double TextCost::case_bits(Case now) const {
  if (now == Case::kNone) return 0;
  if (case_ == Case::kLower) return now == Case::kLower ? 0.1 : 5;
  if (case_ == Case::kUpper && now == Case::kUpper) return capitals_ > 1 ? 0.3 : 2;
  if (case_ == Case::kUpper) return capitals_ > 1 ? 4 : 0.5;
  return 1;
}

void TextCost::add_ascii(char16_t character) {
  charge(character == ' ' ? kSpace : character < ' ' ? kControl : kDigit);
  previous_ = Previous::kOther;
}

void TextCost::add_symbol(char16_t character) {
  const bool in_word = previous_ == Previous::kLetter;
  const bool is_apostrophe = in_word && character == u'’';
  charge(is_apostrophe ? kApostrophe : holds(kUsualSymbols, character) ? kUsualSymbol : kStrangeSymbol);
  const bool may_be_followed = holds(in_word ? kInsideWords : kBeforeWords, character);
  previous_ = may_be_followed ? Previous::kOther : Previous::kSymbol;
}

void TextCost::add_ideograph(double bits) {
  charge(bits + (previous_ == Previous::kLetter ? beside_other_script(case_) : 0));
  run_ = previous_ == Previous::kIdeograph ? run_ + 1 : 1;
  previous_ = Previous::kIdeograph;
}

}  // namespace corvexal
