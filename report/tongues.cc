// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/tongues.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <utility>

#include "report/characters.h"

namespace corvexal::report {
namespace {

enum Tongue {
  kLatin,
  kGreek,
  kCyrillic,
  kArmenian,
  kHebrew,
  kArabic,
  kDevanagari,
  kBengali,
  kGurmukhi,
  kGujarati,
  kTamil,
  kTelugu,
  kKannada,
  kMalayalam,
  kSinhala,
  kThai,
  kLao,
  kTibetan,
  kBurmese,
  kGeorgian,
  kKorean,
  kEthiopic,
  kKhmer,
  kMongolian,
  kJapanese,
  kChinese,
  kTongueCount,
};

constexpr std::array<std::string_view, kTongueCount> kNames = {
    "Latin",    "Greek",    "Cyrillic",  "Armenian", "Hebrew",  "Arabic",   "Devanagari",
    "Bengali",  "Gurmukhi", "Gujarati",  "Tamil",    "Telugu",  "Kannada",  "Malayalam",
    "Sinhala",  "Thai",     "Lao",       "Tibetan",  "Burmese", "Georgian", "Korean",
    "Ethiopic", "Khmer",    "Mongolian", "Japanese", "Chinese"};

// The blocks of Unicode that hold letters of these scripts, in order.
struct Block {
  char32_t first, last;
  Tongue tongue;
};
constexpr Block kBlocks[] = {
    {'A', 'Z', kLatin},          {'a', 'z', kLatin},           {0xC0, 0xD6, kLatin},
    {0xD8, 0xF6, kLatin},        {0xF8, 0x24F, kLatin},        {0x370, 0x3FF, kGreek},
    {0x400, 0x52F, kCyrillic},   {0x531, 0x58F, kArmenian},    {0x591, 0x5F4, kHebrew},
    {0x600, 0x6FF, kArabic},     {0x750, 0x77F, kArabic},      {0x900, 0x97F, kDevanagari},
    {0x980, 0x9FF, kBengali},    {0xA00, 0xA7F, kGurmukhi},    {0xA80, 0xAFF, kGujarati},
    {0xB80, 0xBFF, kTamil},      {0xC00, 0xC7F, kTelugu},      {0xC80, 0xCFF, kKannada},
    {0xD00, 0xD7F, kMalayalam},  {0xD80, 0xDFF, kSinhala},     {0xE01, 0xE7F, kThai},
    {0xE80, 0xEFF, kLao},        {0xF00, 0xFFF, kTibetan},     {0x1000, 0x109F, kBurmese},
    {0x10A0, 0x10FF, kGeorgian}, {0x1100, 0x11FF, kKorean},    {0x1200, 0x139F, kEthiopic},
    {0x1780, 0x17FF, kKhmer},    {0x1800, 0x18AF, kMongolian}, {0x1C80, 0x1C8F, kCyrillic},
    {0x1C90, 0x1CBF, kGeorgian}, {0x1E00, 0x1EFF, kLatin},     {0x1F00, 0x1FFF, kGreek},
    {0x2DE0, 0x2DFF, kCyrillic}, {0x3005, 0x3007, kChinese},   {0x3041, 0x30FF, kJapanese},
    {0x3105, 0x312F, kChinese},  {0x3131, 0x318E, kKorean},    {0x31F0, 0x31FF, kJapanese},
    {0x3400, 0x4DBF, kChinese},  {0x4E00, 0x9FFF, kChinese},   {0xA640, 0xA69F, kCyrillic},
    {0xA720, 0xA7FF, kLatin},    {0xAC00, 0xD7FB, kKorean},    {0xF900, 0xFAFF, kChinese},
    {0xFB00, 0xFB06, kLatin},    {0xFB1D, 0xFB4F, kHebrew},    {0xFB50, 0xFDFF, kArabic},
    {0xFE70, 0xFEFC, kArabic},   {0xFF21, 0xFF3A, kLatin},     {0xFF41, 0xFF5A, kLatin},
    {0xFF66, 0xFF9F, kJapanese}, {0x20000, 0x3FFFF, kChinese},
};

const Block* block_of(char32_t c) {
  const Block* const found =
      std::lower_bound(std::begin(kBlocks), std::end(kBlocks), c,
                       [](const Block& block, char32_t wanted) { return block.last < wanted; });
  return found != std::end(kBlocks) && found->first <= c ? found : nullptr;
}

// A letter of these stands for a syllable or a word.
bool is_syllabic(Tongue tongue) {
  return tongue == kJapanese || tongue == kChinese || tongue == kKorean;
}

}  // namespace

std::string_view tongue_of(std::string_view text) {
  std::array<std::size_t, kTongueCount> weights{};
  while (!text.empty())
    if (const Block* block = block_of(next_character(text)))
      weights[block->tongue] += is_syllabic(block->tongue) ? 3 : 1;
  if (weights[kJapanese] != 0) weights[kJapanese] += std::exchange(weights[kChinese], 0);
  const auto* const most = std::max_element(weights.begin(), weights.end());
  return *most == 0 ? "none" : kNames[static_cast<std::size_t>(most - weights.begin())];
}

}  // namespace corvexal::report
