// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/genres.h"

#include <algorithm>
#include <cstddef>
#include <iterator>

#include "base/text.h"

namespace corvexal {
namespace {

// The ID3v1 list with its well-known extensions, and "Others". Clients of the stores rely on the spelling.
// clang-format off
constexpr std::string_view kGenres[] = {
    "Blues", "Classic Rock", "Country", "Dance", "Disco",  // 0 to 4
    "Funk", "Grunge", "Hip-Hop", "Jazz", "Metal",  // 5 to 9
    "New Age", "Oldies", "Other", "Pop", "R&B",  // 10 to 14
    "Rap", "Reggae", "Rock", "Techno", "Industrial",  // 15 to 19
    "Alternative", "Ska", "Death Metal", "Pranks", "Soundtrack",  // 20 to 24
    "Euro-Techno", "Ambient", "Trip-Hop", "Vocal", "Jazz+Funk",  // 25 to 29
    "Fusion", "Trance", "Classical", "Instrumental", "Acid",  // 30 to 34
    "House", "Game", "Sound Clip", "Gospel", "Noise",  // 35 to 39
    "AlternRock", "Bass", "Soul", "Punk", "Space",  // 40 to 44
    "Meditative", "Instrumental Pop", "Instrumental Rock", "Ethnic", "Gothic",  // 45 to 49
    "Darkwave", "Techno-Industrial", "Electronic", "Pop-Folk", "Eurodance",  // 50 to 54
    "Dream", "Southern Rock", "Comedy", "Cult", "Gangsta",  // 55 to 59
    "Top 40", "Christian Rap", "Pop/Funk", "Jungle", "Native American",  // 60 to 64
    "Cabaret", "New Wave", "Psychadelic", "Rave", "Showtunes",  // 65 to 69
    "Trailer", "Lo-Fi", "Tribal", "Acid Punk", "Acid Jazz",  // 70 to 74
    "Polka", "Retro", "Musical", "Rock & Roll", "Hard Rock",  // 75 to 79
    "Folk", "Folk/Rock", "National folk", "Swing", "Fast-fusion",  // 80 to 84
    "Bebob", "Latin", "Revival", "Celtic", "Bluegrass",  // 85 to 89
    "Avantgarde", "Gothic Rock", "Progressive Rock", "Psychedelic Rock", "Symphonic Rock",  // 90 to 94
    "Slow Rock", "Big Band", "Chorus", "Easy Listening", "Acoustic",  // 95 to 99
    "Humour", "Speech", "Chanson", "Opera", "Chamber Music",  // 100 to 104
    "Sonata", "Symphony", "Booty Bass", "Primus", "Porn Groove",  // 105 to 109
    "Satire", "Slow Jam", "Club", "Tango", "Samba",  // 110 to 114
    "Folklore", "Ballad", "Powder Ballad", "Rhythmic Soul", "Freestyle",  // 115 to 119
    "Duet", "Punk Rock", "Drum Solo", "A Capella", "Euro-House",  // 120 to 124
    "Dance Hall", "Goa", "Drum & Bass", "Club House", "Hardcore",  // 125 to 129
    "Terror", "Indie", "BritPop", "NegerPunk", "Polsk Punk",  // 130 to 134
    "Beat", "Christian Gangsta", "Heavy Metal", "Black Metal", "Crossover",  // 135 to 139
    "Contemporary C", "Christian Rock", "Merengue", "Salsa", "Thrash Metal",  // 140 to 144
    "Anime", "JPop", "SynthPop", "Others",  // 145 to 148
};
// clang-format on
static_assert(std::size(kGenres) == kOtherGenre + 1);

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

std::string_view genre_name(int index) {
  const auto at = static_cast<std::size_t>(index);  // a negative one lies beyond the list as well
  return kGenres[std::min<std::size_t>(at, kOtherGenre)];
}

std::string_view genre_of_text(std::string_view text) {
  if (text.starts_with('(')) text.remove_prefix(1);
  return genre_name(!text.empty() && is_digit(text.front()) ? decimal_value(text) : kOtherGenre);
}

}  // namespace corvexal
