// SPDX-License-Identifier: GPL-3.0-or-later
#include "detector/letters.h"

#include <algorithm>
#include <iterator>

namespace corvexal {
namespace {

// Capitals outside ASCII whose lower case lies a fixed distance away, or the odd or even one of a pair.
struct Capitals {
  char16_t first, last;
  int distance;
  bool alternate;  // every second character from `first` is a capital, its small letter next to it
};

constexpr Capitals kCapitals[] = {
    {0xC0, 0xD6, 32, false},     {0xD8, 0xDE, 32, false},   {0x100, 0x12E, 1, true},
    {0x130, 0x130, -199, false},  // the Turkish capital of "i"
    {0x132, 0x136, 1, true},     {0x139, 0x147, 1, true},   {0x14A, 0x176, 1, true},
    {0x178, 0x178, -121, false}, {0x179, 0x17D, 1, true},   {0x1A0, 0x1A0, 1, true},
    {0x1AF, 0x1AF, 1, true},     {0x218, 0x21A, 1, true},   {0x386, 0x386, 38, false},
    {0x388, 0x38A, 37, false},   {0x38C, 0x38C, 64, false}, {0x38E, 0x38F, 63, false},
    {0x391, 0x3AB, 32, false},   {0x400, 0x40F, 80, false}, {0x410, 0x42F, 32, false},
    {0x490, 0x490, 1, true}};

struct Range {
  char16_t first, last;
};

// Letters outside ASCII, and the marks of Vietnamese, Hebrew, Arabic and Thai.
constexpr Range kLetters[] = {{0xAA, 0xAA},   {0xBA, 0xBA},   {0xC0, 0xD6},   {0xD8, 0xF6},   {0xF8, 0x24F},
                              {0x300, 0x323}, {0x386, 0x386}, {0x388, 0x3CE}, {0x400, 0x491}, {0x5B0, 0x5F2},
                              {0x621, 0x652}, {0x671, 0x6D2}, {0xE01, 0xE3A}, {0xE40, 0xE4E}};

}  // namespace

char16_t to_lower(char16_t character) {
  if (character < 0x80) return character >= 'A' && character <= 'Z' ? character + 32 : character;
  for (const Capitals& row : kCapitals) {
    if (character < row.first || character > row.last) continue;
    if (row.alternate && (character - row.first) % 2 != 0) continue;
    return static_cast<char16_t>(character + row.distance);
  }
  return character;
}

Case case_of(char16_t character) {
  if (to_lower(character) != character) return Case::kUpper;
  return is_letter(character) && character < 0x500 && (character < 0x300 || character > 0x323) ? Case::kLower
                                                                                               : Case::kNone;
}

bool is_letter(char16_t character) {
  if (character < 0x80) return is_ascii_letter(character);
  return std::any_of(std::begin(kLetters), std::end(kLetters),
                     [&](const Range& range) { return character >= range.first && character <= range.last; });
}

}  // namespace corvexal
