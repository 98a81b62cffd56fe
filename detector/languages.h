// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

namespace corvexal {

// Languages that share their character sets.
enum class Family {
  kWestern,
  kCentral,
  kBaltic,
  kTurkish,
  kVietnamese,
  kCyrillic,
  kGreek,
  kHebrew,
  kArabic,
  kThai
};

class Language {
 public:
  // `letters` are the small letters, and marks that stand on letters, the most frequent first.
  constexpr Language(Family family, int rarity, std::u16string_view letters)
      : family_(family), rarity_(rarity), letters_(letters) {
    for (std::size_t i = 0; i < latin_.size(); ++i)
      latin_[i] = static_cast<std::uint8_t>(letters.find(static_cast<char16_t>(u'a' + i)));
  }

  [[nodiscard]] Family family() const { return family_; }

  // Bits: how much less often it is met than the most common one of the family.
  [[nodiscard]] int rarity() const { return rarity_; }

  // How many letters are more frequent than the small letter; kNoLetter when the language does not have it.
  static constexpr std::size_t kNoLetter = 0xFF;
  [[nodiscard]] std::size_t rank(char16_t letter) const {
    if (letter >= u'a' && letter <= u'z') return latin_[letter - std::size_t{u'a'}];
    const std::size_t rank = letters_.find(letter);
    return rank == std::u16string_view::npos ? kNoLetter : rank;
  }

 private:
  Family family_;
  int rarity_;
  std::u16string_view letters_;
  std::array<std::uint8_t, 26> latin_{};  // ranks of "a" to "z", for speed
};

// English comes first.
[[nodiscard]] std::span<const Language> languages();

}  // namespace corvexal
