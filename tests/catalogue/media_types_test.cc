#include "catalogue/media_types.h"

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

TEST(MediaTypes, AddAndRemoveByListsOfTheirOwn) {
  const struct {
    MediaKind kind;
    int removal_class;
    const char* extensions;
  } rows[] = {
      {MediaKind::kMusic, kMusicClass, ".mp3 .LPCM"},   {MediaKind::kMusic, -1, ".FLAC .m4a .ape"},
      {MediaKind::kVideo, kVideoClass, ".MPEG2 .vob"},  {MediaKind::kVideo, -1, ".mkv .ts"},
      {MediaKind::kPhoto, kPhotoClass, ".JPeg .png"},   {MediaKind::kPhoto, -1, ".jpe"},
      {MediaKind::kPlaylist, kMusicClass, ".m3u .pls"}, {MediaKind::kSubtitle, -1, ".srt .iso"},
      {MediaKind::kOther, kMusicClass, ".Ogg"},         {MediaKind::kOther, kVideoClass, ".mov"},
      {MediaKind::kOther, -1, ".mp mp3 .mp33 . "},
  };
  for (const auto& row : rows)
    for (const std::string& extension : testing::words(row.extensions)) {
      EXPECT_EQ(media_kind(extension), row.kind) << extension;
      EXPECT_EQ(MediaKindForRemoval(extension), row.removal_class) << extension;
    }
  EXPECT_EQ(media_extension("a.b/c.mpeg2"), ".mpeg2");
  EXPECT_FALSE(media_extension("a.mpeg22"));
}

}  // namespace
}  // namespace corvexal
