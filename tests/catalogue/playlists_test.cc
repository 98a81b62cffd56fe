// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/playlists.h"

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using namespace std::string_literals;
using namespace std::string_view_literals;

class PlaylistsTest : public testing::CatalogueTest {
 protected:
  // Parses a playlist of the test's folder; the songs found, then what is printed.
  std::string parse(const std::string& name, std::string_view content) {
    write_file(name, content);
    return parse_file(name);
  }
  std::string parse_sparse(const std::string& name, std::string_view head, std::uintmax_t offset,
                           std::string_view tail) {
    write_sparse_file(name, head, offset, tail);
    return parse_file(name);
  }
  std::string parse_file(const std::string& name) {
    add_row("music_tbl", path(""), name);
    const std::string output = printed([this] { EXPECT_EQ(parser_playlist(db, "/"), 1); });
    const std::string songs = column("select PlsFile from music_tbl where PlsFile != ''");
    run("delete from music_tbl where Real_fname == '%s';", name);
    return songs + ' ' + output;
  }
};

TEST_F(PlaylistsTest, NameSongsOfTheirFolder) {
  const std::string half_line(300, 'x'), long_line = half_line + half_line + "1.mp3\n";
  for (const std::string& name : {"1.mp3"s, "2.mp3"s, "3.mp3"s, "song"s, "SONG.MP3"s, "#EXTINF:1,dangling"s,
                                  std::string(89, 'x') + "1.mp3", "a=b.ogg"s})
    add_row("music_tbl", path(""), name);
  add_row("music_tbl", path("sub/"), "4.mp3");
  const struct {
    const char* name;
    std::string_view content, songs;
  } rows[] = {
      {"m3u", "#EXTM3U\n1.mp3\n3.mp3\r\n2.mp3\r\n1.mp3", "1,3,2,1,"},
      {"m3u", "#extinf:\nsong\nSONG.MP3\nsong.Mp3\n3.ogg\n", "5,"},
      {"m3u", "#EXTINF:1,Name\nC:\\Music\\1.mp3\r\n#EXTINF:2,Name\nsong\n", "1,4,"},
      {"m3u", "#EXTINF:1,Name\n#EXTINF:2,Name\n1.mp3\n", "1,"},
      {"m3u", "#EXTINF:1,dangling\n", "6,"},
      {"m3u", "sub/4.mp3\n\"1.mp3\n2.mp3\n", "2,"},
      {"m3u", "1.mp3\rx", "1,"},  // the byte before the last one is what tells
      {"m3u", "1.mp3\0 and more\n\0 3.mp3\n2.mp3\n"sv, "1,2,"},
      {"m3u", long_line, "7,"},  // 511 characters, then the rest as a line of its own
      {"pls", "[playlist]\nFile1=2.mp3\nTitle1=1.mp3\nFile2=1.mp3\r\nFile3=3.mp3", "2,1,3,"},
      {"pls", "File1=a=b.ogg\nFilename=1.mp3\nFile\nfile3=2.mp3\n File4=2.mp3\n", "8,1,"},
      {"pls", "File1=\r\nFile2=C:\\1.mp3\nFile3=\"\nFile4=3.mp3\n", "3,"},
  };
  for (const auto& row : rows) {
    const std::string seen = parse("list." + std::string(row.name), row.content);
    EXPECT_EQ(seen.substr(0, seen.find(' ')), row.songs) << row.content;
  }
}

// A hole is lines of 511 zeros, each of them empty, which may stand after "#EXTINF:".
TEST_F(PlaylistsTest, PassOverAHoleAsOverItsZeros) {
  for (const char* name : {"1.mp3", "x1.mp3"}) add_row("music_tbl", path(""), name);
  for (const std::string& name : {"a.m3u"s, "b.pls"s}) {
    const std::string song = name == "a.m3u" ? "1.mp3\n" : "File1=1.mp3\n";
    for (std::size_t hole = 32768; hole < 65536; hole += 4096) {
      for (const std::string& head : {song, song + "#EXTINF:", song + "#EXTINF:\n", ""s}) {
        const std::string tail = "x" + song + song;
        const std::string expected = parse(name, head + std::string(hole - head.size(), '\0') + tail);
        EXPECT_EQ(parse_sparse(name, head, hole, tail), expected) << hole << head;
      }
    }
    EXPECT_EQ(parse_sparse(name, song, std::uintmax_t{1} << 40, "\n" + song), "1,1, ") << name;
  }
}

TEST_F(PlaylistsTest, KeepTheFirst256Songs) {
  std::string songs;
  for (int i = 1; i <= 300; ++i) add_row("music_tbl", path(""), std::to_string(i) + ".mp3");
  for (int i = 1; i <= 256; ++i) songs += std::to_string(i) + ',';
  const struct {
    const char *name, *before_song, *output;
  } rows[] = {{"a.m3u", "\n", " 2:MP3 songs amount in playlist exceed 256\n"},
              {"b.m3u", "\n#EXTINF:\n", " 1:MP3 songs amount in playlist exceed 256\n"},
              {"c.pls", "\nFile=", " 1:MP3 songs amount in playlist exceed 256\n"}};
  for (const auto& row : rows) {
    // A file of some 100 KB, so that it is read in several pieces.
    std::string content;
    for (std::size_t i = 1; i <= 256; ++i)
      content += '#' + std::string(3 * i, 'x') + row.before_song + std::to_string(i) + ".mp3\n";
    EXPECT_EQ(parse(row.name, content), songs + ' ') << row.name;
    for (int i = 300; i > 256; --i) content += row.before_song + std::to_string(i) + ".mp3\n";
    EXPECT_EQ(parse(row.name, content), songs + row.output) << row.name;
  }
}

}  // namespace
}  // namespace corvexal
