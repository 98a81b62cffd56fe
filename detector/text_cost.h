// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <vector>

#include "detector/languages.h"
#include "detector/letters.h"

namespace corvexal {

// How many bits a text costs when its characters are taken as words of some languages: the lower, the more
// plausible it is. Every word is taken in the language that suits it best, and changing the language costs.
class TextCost {
 public:
  // The languages of a family, and English, which stands beside every other one.
  explicit TextCost(Family family);
  TextCost();  // English alone

  // The next character of the text.
  void add(char16_t character);

  // The next character is an ideograph, syllable or kana that costs so many bits.
  void add_ideograph(double bits);

  // Bits of all that was added.
  [[nodiscard]] double bits() const;

 private:
  enum class Previous { kOther, kLetter, kSymbol, kIdeograph };
  struct Candidate {
    const Language* language;
    double bits;
  };

  void add_letter(char16_t character);
  void add_ascii(char16_t character);
  void add_symbol(char16_t character);
  [[nodiscard]] double syllable_bits(char16_t lower);
  [[nodiscard]] double case_bits(Case now) const;
  void charge(double bits) { common_bits_ += bits; }
  void start_word();

  std::vector<Candidate> candidates_;
  double common_bits_ = 0;  // which are the same in all languages
  Previous previous_ = Previous::kOther;
  char16_t last_ = 0;
  std::size_t run_ = 0;      // vowels, consonants or ideographs in a row
  Case case_ = Case::kNone;  // of the last letter
  int capitals_ = 0;         // in a row
};

}  // namespace corvexal
