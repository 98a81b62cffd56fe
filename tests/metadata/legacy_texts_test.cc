// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/legacy_texts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/fake_detector.h"

namespace corvexal {
namespace {

TEST(LegacyTexts, AskTheDetectorOnceForAnAlbum) {
  const testing::FakeDetector detector;
  TagDecoder decoder;
  const std::string album = "\xA4\xFD\n\xC6W";
  const struct {
    const char* reason;
    std::string album, title;
    const char* answer;  // of the detector, if it is asked
    const char* decoded;
    bool asked;
  } songs[] = {
      {"the first", album, "\xA4\xA4", "BIG5", "中", true},
      {"the next of the album", album, "\xA4\x70", "KOI8-U", "小", false},
      {"one that is no Big5", album, "\xC2\xCF\xCA\xFF", "KOI8-U", "бойЪ", true},
      {"another album", "\xA4\xFD", "\xA4\x70", "BIG5", "小", true},
      {"an album's name in ASCII says nothing", "Best of", "\xCD\xC9\xD2", "KOI8-U", "мир", true},
      {"again", "Best of", "\xA4\xA4\xA4\x70", "BIG5", "中小", true},
      {"ASCII needs no detector", album, "Moon", "BIG5", "Moon", false},
      {"nor does UTF-8", album, "中", "BIG5", "中", false},
  };
  std::vector<std::string> last_sample;
  for (const auto& song : songs) {
    detector.answers(song.answer);
    EXPECT_EQ(decode_legacy_texts(decoder, {song.title}, song.album), std::vector<Text>{song.decoded})
        << song.reason;
    if (song.asked) last_sample = {song.title};
    EXPECT_EQ(detector.arguments(), last_sample) << song.reason;
  }
}

TEST(LegacyTexts, KeepWhatIsUtf8ByNoAccidentBesideTextsInAnotherEncoding) {
  const testing::FakeDetector detector;
  TagDecoder decoder;
  detector.answers("CP1251");
  const std::string cyrillic = "\xCF\xE5\xF1\xED\xE8";
  EXPECT_EQ(decode_legacy_texts(decoder, {"Весна", cyrillic, "Moon"}),
            (std::vector<Text>{"Весна", "Песни", "Moon"}));
  EXPECT_EQ(detector.arguments(), std::vector{cyrillic + "Moon"});
  EXPECT_EQ(decode_legacy_texts(decoder, {"été!", cyrillic}), (std::vector<Text>{"Г©tГ©!", "Песни"}));
}

}  // namespace
}  // namespace corvexal
