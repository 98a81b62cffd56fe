// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/detector/texts.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "metadata/converter.h"

namespace corvexal::testing {
namespace {

constexpr std::size_t kSampleSize = 100;

SongTexts song_of(const std::string& line) {
  constexpr std::string_view kBetween = " | ";
  SongTexts texts;
  for (std::size_t at = 0, end = 0; end != std::string::npos; at = end + kBetween.size()) {
    end = line.find(kBetween, at);
    texts.push_back(line.substr(at, end - at));
  }
  return texts;
}

LanguageTexts texts_of(const std::filesystem::path& path) {
  LanguageTexts texts{path.filename(), {}, {}};
  std::ifstream file(path);
  std::string line;
  std::getline(file, line);
  std::istringstream charsets(line.substr(1));
  for (std::string charset; charsets >> charset;) texts.charsets.push_back(charset);
  while (std::getline(file, line)) texts.songs.push_back(song_of(line));
  return texts;
}

}  // namespace

CodePage code_page_of(const std::string& charset) {
  if (charset == "CP950") return CodePage::kBig5;
  if (charset == "GB18030") return CodePage::kGb;
  if (charset == "CP949") return CodePage::kKorean;
  return charset == "CP932" || charset == "EUC-JP" || charset == "ISO-2022-JP" ? CodePage::kJapanese
                                                                               : CodePage::kOther;
}

std::vector<LanguageTexts> all_texts() {
  std::vector<LanguageTexts> all;
  for (const auto& entry : std::filesystem::directory_iterator(CORVEXAL_SAMPLES "/../tests/detector/texts"))
    all.push_back(texts_of(entry.path()));
  std::sort(all.begin(), all.end(), [](const auto& a, const auto& b) { return a.language < b.language; });
  return all;
}

std::vector<std::string> encoded(const SongTexts& song, const std::string& charset) {
  Converters converters;
  std::vector<std::string> texts(song.size());
  for (std::size_t i = 0; i < song.size(); ++i)
    if (converters.convert(charset.c_str(), "UTF-8", song[i], &texts[i]) != 0) return {};
  return texts;
}

std::string sample_of(const std::vector<std::string>& texts) {
  std::string sample;
  for (const std::string& text : texts) {
    if (sample.size() + text.size() > kSampleSize) break;
    sample += text;
  }
  return sample;
}

}  // namespace corvexal::testing
