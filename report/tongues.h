// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string_view>

namespace corvexal::report {

// The tongue, or the family of tongues, that a text is written in, told by the Unicode scripts of its
// letters: "Latin", "Cyrillic", "Japanese" … The script with the most letters counts; an ideograph or a
// syllable counts for three. Ideographs alone are "Chinese", beside kana "Japanese". Bytes that are no UTF-8
// are passed over; a text without letters is "none".
[[nodiscard]] std::string_view tongue_of(std::string_view text);

}  // namespace corvexal::report
