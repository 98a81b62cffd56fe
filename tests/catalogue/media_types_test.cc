#include "catalogue/media_types.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corvexal {
namespace {

std::string upper(std::string text) {
  for (char& c : text)
    if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
  return text;
}

TEST(MediaKind, IsDecidedByTheWholeExtension) {
  const struct {
    MediaKind kind;
    const char* table;
    std::vector<std::string> extensions;
  } rows[] = {
      {MediaKind::kPhoto, "photo_tbl", {".bmp", ".gif", ".jpg", ".jpeg", ".jpe", ".tif", ".tiff", ".png"}},
      {MediaKind::kMusic,
       "music_tbl",
       {".aif", ".aiff", ".wav", ".wma", ".mp3", ".mp2", ".pcm", ".lpcm", ".mp1", ".mpa", ".flac", ".aac",
        ".m4a", ".ape"}},
      {MediaKind::kVideo,
       "video_tbl",
       {".avi", ".mpeg", ".mpg", ".mpeg2", ".mp4", ".wmv", ".dat", ".vob", ".ts", ".mkv", ".m2ts", ".vc1",
        ".divx", ".flv", ".dv"}},
      {MediaKind::kPlaylist, "music_tbl", {".m3u", ".pls"}},
      {MediaKind::kSubtitle, "video_tbl", {".srt", ".sub", ".ifo", ".iso"}},

      {MediaKind::kOther, nullptr, {".ogg", ".mov", ".mp", ".mp33", "mp3", ".mp3 ", "song.mp3", ".", ""}},
  };
  for (const auto& row : rows) {
    EXPECT_STREQ(media_table(row.kind), row.table);
    for (const std::string& extension : row.extensions)
      for (const std::string& spelling : {extension, upper(extension)})
        EXPECT_EQ(media_kind(spelling), row.kind) << spelling;
  }
}

TEST(MediaKindForRemoval, GoesByAListOfItsOwn) {
  const struct {
    int media_class;
    std::vector<std::string> extensions;
  } rows[] = {
      {kMusicClass,
       {".mp3", ".wav", ".lpcm", ".pcm", ".wma", ".mp2", ".mp1", ".mpa", ".aif", ".aiff", ".m3u", ".pls",
        ".ogg", ".aac"}},
      {kVideoClass, {".mpg", ".mpeg", ".dat", ".mpeg2", ".mp4", ".avi", ".vob", ".wmv", ".mov"}},
      {kPhotoClass, {".jpg", ".jpeg", ".tif", ".tiff", ".png", ".gif", ".bmp"}},

      // Added, but not removable.
      {-1,
       {".flac", ".m4a", ".ape", ".jpe", ".ts", ".mkv", ".m2ts", ".vc1", ".divx", ".flv", ".dv", ".srt",
        ".sub", ".ifo", ".iso"}},
      {-1, {".mp", ".mp33", "mp3", ".", ""}},
  };
  for (const auto& row : rows)
    for (const std::string& extension : row.extensions)
      for (const std::string& spelling : {extension, upper(extension)})
        EXPECT_EQ(MediaKindForRemoval(spelling), row.media_class) << spelling;
}

}  // namespace
}  // namespace corvexal
