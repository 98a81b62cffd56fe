// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/legacy_texts.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/metadata/tables.h"
#include "tests/support/fake_detector.h"

namespace corvexal {
namespace {

TEST(LegacyTexts, AskTheDetectorOnceForAnAlbum) {
  const testing::FakeDetector detector;
  TagDecoder decoder;
  std::vector<std::string> last_sample;
  for (const testing::Row& row : testing::table("legacy_albums")) {
    const bool asked = row[3] != "-";
    detector.answers(asked ? row[3] : "KOI8-U");
    EXPECT_EQ(decode_legacy_texts(decoder, {row[2]}, row[1]), std::vector<Text>{row[4]}) << row[0];
    if (asked) last_sample = {row[2]};
    EXPECT_EQ(detector.arguments(), last_sample) << row[0];
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
  EXPECT_EQ(decode_legacy_texts(decoder, {std::string(3000, '\xCF')})[0]->size(), 6000);
  EXPECT_EQ(detector.arguments(), std::vector{std::string(1000, '\xCF')}) << "a sample is enough";
}

}  // namespace
}  // namespace corvexal
