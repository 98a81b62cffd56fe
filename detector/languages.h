#pragma once

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

struct Language {
  Family family;
  int rarity;                   // bits: how much less often it is met than the most common one of the family
  std::u16string_view letters;  // lower case, the most frequent first; marks that stand on a letter too
};

// English comes first.
[[nodiscard]] std::span<const Language> languages();

}  // namespace corvexal
