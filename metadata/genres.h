// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace corvexal {

// The index of "Others", the genre of everything that is not a valid number, and the last of the list.
inline constexpr int kOtherGenre = 148;

// The name of an ID3v1 genre, 0 to 147; "Others" for every other index.
[[nodiscard]] std::string_view genre_name(int index);

// The genre that a tag's text stands for: "13" and "(13)", whatever follows, give the name of genre 13. A
// genre given by its name is "Others": players group the music by the names of the list alone.
[[nodiscard]] std::string_view genre_of_text(std::string_view text);

}  // namespace corvexal
