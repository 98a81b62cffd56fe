// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/genres.h"

#include <iterator>

#include "base/text.h"

namespace corvexal {
namespace {

// The ID3v1 list with its well-known extensions, and "Others". Clients of the stores rely on the spelling.
// clang-format off
constexpr std::string_view kGenres[] = {
    /* 0 */ "Blues", "Classic Rock", "Country", "Dance", "Disco",
    /* 5 */ "Funk", "Grunge", "Hip-Hop", "Jazz", "Metal",
    /* 10 */ "New Age", "Oldies", "Other", "Pop", "R&B",
    /* 15 */ "Rap", "Reggae", "Rock", "Techno", "Industrial",
    /* 20 */ "Alternative", "Ska", "Death Metal", "Pranks", "Soundtrack",
    /* 25 */ "Euro-Techno", "Ambient", "Trip-Hop", "Vocal", "Jazz+Funk",
    /* 30 */ "Fusion", "Trance", "Classical", "Instrumental", "Acid",
    /* 35 */ "House", "Game", "Sound Clip", "Gospel", "Noise",
    /* 40 */ "AlternRock", "Bass", "Soul", "Punk", "Space",
    /* 45 */ "Meditative", "Instrumental Pop", "Instrumental Rock", "Ethnic", "Gothic",
    /* 50 */ "Darkwave", "Techno-Industrial", "Electronic", "Pop-Folk", "Eurodance",
    /* 55 */ "Dream", "Southern Rock", "Comedy", "Cult", "Gangsta",
    /* 60 */ "Top 40", "Christian Rap", "Pop/Funk", "Jungle", "Native American",
    /* 65 */ "Cabaret", "New Wave", "Psychadelic", "Rave", "Showtunes",
    /* 70 */ "Trailer", "Lo-Fi", "Tribal", "Acid Punk", "Acid Jazz",
    /* 75 */ "Polka", "Retro", "Musical", "Rock & Roll", "Hard Rock",
    /* 80 */ "Folk", "Folk/Rock", "National folk", "Swing", "Fast-fusion",
    /* 85 */ "Bebob", "Latin", "Revival", "Celtic", "Bluegrass",
    /* 90 */ "Avantgarde", "Gothic Rock", "Progressive Rock", "Psychedelic Rock", "Symphonic Rock",
    /* 95 */ "Slow Rock", "Big Band", "Chorus", "Easy Listening", "Acoustic",
    /* 100 */ "Humour", "Speech", "Chanson", "Opera", "Chamber Music",
    /* 105 */ "Sonata", "Symphony", "Booty Bass", "Primus", "Porn Groove",
    /* 110 */ "Satire", "Slow Jam", "Club", "Tango", "Samba",
    /* 115 */ "Folklore", "Ballad", "Powder Ballad", "Rhythmic Soul", "Freestyle",
    /* 120 */ "Duet", "Punk Rock", "Drum Solo", "A Capella", "Euro-House",
    /* 125 */ "Dance Hall", "Goa", "Drum & Bass", "Club House", "Hardcore",
    /* 130 */ "Terror", "Indie", "BritPop", "NegerPunk", "Polsk Punk",
    /* 135 */ "Beat", "Christian Gangsta", "Heavy Metal", "Black Metal", "Crossover",
    /* 140 */ "Contemporary C", "Christian Rock", "Merengue", "Salsa", "Thrash Metal",
    /* 145 */ "Anime", "JPop", "SynthPop", "Others",
};
// clang-format on
static_assert(std::size(kGenres) == kOtherGenre + 1);

bool is_digit(char c) {
  return c >= '0' && c <= '9';
}

}  // namespace

std::string_view genre_name(int index) {
  return kGenres[index < 0 || index > kOtherGenre ? kOtherGenre : index];
}

std::string_view genre_of_text(std::string_view text) {
  if (text.starts_with('(')) text.remove_prefix(1);
  return genre_name(!text.empty() && is_digit(text.front()) ? decimal_value(text) : kOtherGenre);
}

}  // namespace corvexal
