// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/media_types.h"

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

TEST(MediaTypes, AddAndRemoveByListsOfTheirOwn) {
  const struct {
    MediaKind kind;
    std::optional<MediaClass> removal_class;
    const char* extensions;
  } rows[] = {
      {MediaKind::kMusic, MediaClass::kMusic, ".mp3 .LPCM"},
      {MediaKind::kMusic, std::nullopt, ".FLAC .m4a .ape"},
      {MediaKind::kVideo, MediaClass::kVideo, ".MPEG2 .vob"},
      {MediaKind::kVideo, std::nullopt, ".mkv .ts"},
      {MediaKind::kPhoto, MediaClass::kPhoto, ".JPeg .png"},
      {MediaKind::kPhoto, std::nullopt, ".jpe"},
      {MediaKind::kPlaylist, MediaClass::kMusic, ".m3u .pls"},
      {MediaKind::kSubtitle, std::nullopt, ".srt .iso"},
      {MediaKind::kOther, MediaClass::kMusic, ".Ogg"},
      {MediaKind::kOther, MediaClass::kVideo, ".mov"},
      {MediaKind::kOther, std::nullopt, ".mp mp3 .mp33 . "},
  };
  for (const auto& row : rows)
    for (const std::string& extension : testing::words(row.extensions)) {
      EXPECT_EQ(media_kind(extension), row.kind) << extension;
      EXPECT_EQ(media_class_for_removal(extension), row.removal_class) << extension;
    }
  EXPECT_EQ(media_extension("a.b/c.mpeg2"), ".mpeg2");
  EXPECT_FALSE(media_extension("a.mpeg22"));
}

}  // namespace
}  // namespace corvexal
