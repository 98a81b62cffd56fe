#include "catalogue/playlists.h"

#include <sys/stat.h>

#include <filesystem>

#include "tests/catalogue/catalogue_fixture.h"

namespace corvexal {
namespace {

using testing::CapturedOutput;

class PlaylistsTest : public testing::CatalogueTest {
 protected:
  // Writes a playlist into the test's folder and the catalogue.
  void add_playlist(const std::string& name, std::string_view content) {
    write_file(name, content);
    add_music(path(""), name);
  }
  void add_songs(int count) {
    for (int i = 1; i <= count; ++i) add_music(path(""), std::to_string(i) + ".mp3");
  }
  std::string songs_of(std::string_view name) {
    return column("select PlsFile from music_tbl where Real_fname == '" + std::string(name) + "'");
  }

  // Parses all playlists; the output, with the test's folder shown as "~/".
  std::string parse(int expected = 1) {
    CapturedOutput output;
    EXPECT_EQ(parser_playlist(), expected);
    std::string text = output.text();
    for (std::size_t at = text.find(path("")); at != std::string::npos; at = text.find(path("")))
      text.replace(at, path("").size(), "~/");
    return text;
  }
};

struct Example {
  std::string_view content;
  std::string_view songs;
  std::string_view output;
};

TEST_F(PlaylistsTest, ResolvesTheEntriesOfAnM3u) {
  using namespace std::string_view_literals;
  const std::string half_line(300, 'x'), long_line = half_line + half_line + "1.mp3\n";
  add_songs(3);
  add_music(path(""), "song");
  add_music(path(""), "SONG.MP3");
  add_music(path(""), "#EXTINF:1,dangling");
  add_music(path(""), std::string(89, 'x') + "1.mp3");
  add_music(path("sub/"), "4.mp3");
  const Example rows[] = {
      {"", "", ""},
      {"#EXTM3U\n1.mp3\n3.mp3\n2.mp3\n1.mp3\n", "1,3,2,1,", ""},
      {"1.mp3\r\n2.mp3\r\n3.mp3", "1,2,3,", ""},
      {"SONG.MP3\nsong.Mp3\nsong\n3.ogg\n", "5,", ""},
      {"#EXTINF:1,Name\nC:\\Music\\1.mp3\r\n#EXTINF:2,Name\nsong\n", "1,4,", ""},
      {"#extinf:1,Name\nC:\\1.mp3\n", "", ""},
      {"#EXTINF:1,Name\nC:\\Music\\\n", "", "1Can't find [] in m3u[~/list.m3u]\n"},
      {"#EXTINF:1,Name\n#EXTINF:2,Name\n1.mp3\n", "1,", "1Can't find [#EXTINF:2,Name] in m3u[~/list.m3u]\n"},
      {"#EXTINF:1,dangling\n", "6,", ""},
      {"9.mp3\n1.mp3\n", "1,", "2Can't find [9.mp3] in m3u[~/list.m3u]\n"},
      {"sub/4.mp3\n", "", "2Can't find [sub/4.mp3] in m3u[~/list.m3u]\n"},
      {"\"1.mp3\n2.mp3\n", "2,", "parser_playlist():3Execute SQL query Error\n"},
      {"#EXTINF:\n\"\n2.mp3\n", "2,",
       "parser_playlist():2Execute SQL query Error\n"
       "sqlquery[select No from music_tbl where Real_Path=\"~/\" AND Real_fname=\"\"\";]\n"},
      {"1.mp3\rx", "1,", ""},  // the byte before the last one is what tells
      {"\n\r\n\r", "", ""},
      {"1.mp3\0 and more\n2.mp3\n"sv, "1,2,", ""},
      {"\0 2.mp3\n1.mp3\n"sv, "1,", ""},
      {long_line, "7,", ""},  // 511 characters, then the rest as a line of its own
  };
  for (const auto& row : rows) {
    add_playlist("list.m3u", row.content);
    EXPECT_EQ(parse(), row.output) << row.content;
    EXPECT_EQ(songs_of("list.m3u"), row.songs) << row.content;
    run("delete from music_tbl where EXT_fname == 'm3u';");
  }
}

TEST_F(PlaylistsTest, AreReadToTheirEnd) {
  add_songs(1);
  std::string content, songs;
  for (int i = 0; i < 250; ++i) {
    content += '#' + std::string(static_cast<std::size_t>(i) * 3, 'x') + "\n1.mp3\n";
    songs += "1,";
  }
  add_playlist("long.m3u", content);
  EXPECT_EQ(parse(), "");
  EXPECT_EQ(songs_of("long.m3u"), songs);
}

TEST_F(PlaylistsTest, ResolvesTheEntriesOfAPls) {
  add_songs(3);
  add_music(path(""), "a=b.ogg");
  const Example rows[] = {
      {"[playlist]\nFile1=2.mp3\nTitle1=1.mp3\nFile2=1.mp3\r\nFile3=3.mp3", "2,1,3,", ""},
      {"File1=a=b.ogg\nFilename=1.mp3\nFile\nfile3=2.mp3\n File4=2.mp3\n", "4,1,", ""},
      {"File1=\n", "", "3Can't find [] in m3u[~/list.pls]\n"},
      {"File1=\r\nFile2=1.mp3\n", "1,", "3Can't find [] in m3u[~/list.pls]\n"},
      {"File1=C:\\1.mp3\n", "", "3Can't find [C:\\1.mp3] in m3u[~/list.pls]\n"},
      {"File1=\"\nFile2=3.mp3\n", "3,",
       "parser_playlist():5Execute SQL query Error\n"
       "sqlquery[select No from music_tbl where Real_Path=\"~/\" AND Real_fname=\"\"\";]\n"},
  };
  for (const auto& row : rows) {
    add_playlist("list.pls", row.content);
    EXPECT_EQ(parse(), row.output) << row.content;
    EXPECT_EQ(songs_of("list.pls"), row.songs) << row.content;
    run("delete from music_tbl where EXT_fname == 'pls';");
  }
}

TEST_F(PlaylistsTest, KeepTheFirst256Songs) {
  add_songs(300);
  std::string numbers;
  for (int i = 1; i <= 256; ++i) numbers += std::to_string(i) + ',';
  const struct {
    const char* name;
    const char* before_song;
    const char* output;
  } rows[] = {
      {"a.m3u", "", "2:MP3 songs amount in playlist exceed 256\n"},
      {"b.m3u", "#EXTINF:\n", "1:MP3 songs amount in playlist exceed 256\n"},
      {"c.pls", "File=", "1:MP3 songs amount in playlist exceed 256\n"},
  };
  for (const auto& row : rows) {
    std::string content;
    for (int i = 1; i <= 256; ++i) content += row.before_song + std::to_string(i) + ".mp3\n";
    add_playlist(row.name, content);
    EXPECT_EQ(parse(), "") << row.name;
    EXPECT_EQ(songs_of(row.name), numbers) << row.name;

    run("update music_tbl set PlsFile = '0';");
    for (int i = 300; i > 256; --i) content += row.before_song + std::to_string(i) + ".mp3\n";
    write_file(row.name, content);
    EXPECT_EQ(parse(), row.output) << row.name;
    EXPECT_EQ(songs_of(row.name), numbers) << row.name;
    run("delete from music_tbl where Real_fname == '" + std::string(row.name) + "';");
  }
}

TEST_F(PlaylistsTest, EndAtTheFirstFileThatCannotBeOpened) {
  add_songs(1);
  add_playlist("a.m3u", "1.mp3\n");
  add_playlist("b.m3u", "1.mp3\n");
  add_playlist("c.m3u", "1.mp3\n");
  add_playlist("d.pls", "File=1.mp3\n");
  const std::string failure = "parser_playlist():Open [~/b.m3u] fail\n";

  std::filesystem::remove(path("b.m3u"));
  EXPECT_EQ(parse(0), failure) << "gone";
  EXPECT_EQ(column("select PlsFile from music_tbl"), "0|1,|0|0|0");
  ASSERT_EQ(mkfifo(path("b.m3u").c_str(), 0600), 0);
  EXPECT_EQ(parse(0), failure) << "a pipe nobody writes to";
  std::filesystem::remove(path("b.m3u"));
  std::filesystem::create_directory(path("b.m3u"));
  EXPECT_EQ(parse(0), failure) << "a folder";

  std::filesystem::remove(path("b.m3u"));
  write_file("b.m3u", "1.mp3\n");
  EXPECT_EQ(parse(), "");
  EXPECT_EQ(column("select PlsFile from music_tbl"), "0|1,|1,|1,|1,");
}

TEST_F(PlaylistsTest, EndWhereTheCatalogueFails) {
  add_playlist("a.m3u", "");
  run("create trigger refuse before update on music_tbl begin select raise(abort, 'refused'); end;");
  EXPECT_EQ(parse(0), "1parser playlist():execute sql query error[refused]\n");
  run("delete from music_tbl;");
  add_playlist("b.pls", "");
  EXPECT_EQ(parse(0), "2parser playlist():execute sql query error[refused]\n");
  run("drop table music_tbl;");
  EXPECT_EQ(parse(0), "parser_playlist():1Execute SQL query Error\n");
  g_db.close();
  EXPECT_EQ(parse(0), "parser_playlist():1Execute SQL query Error\n");
}

TEST_F(PlaylistsTest, AreStoredInOneCommitWithTheRestOfTheRun) {
  g_db.exec("COMMIT;");
  add_songs(1);
  for (const char* name : {"a.m3u", "b.m3u"}) add_playlist(name, "1.mp3\n");
  EXPECT_EQ(parse(), "");
  const auto committed = [this] {
    Database reader;
    EXPECT_EQ(reader.open(path("catalogue.db")), SQLITE_OK);
    Rows rows = reader.select("select PlsFile from music_tbl where EXT_fname == 'm3u';");
    return rows.next() ? std::string(rows.text(0)) : "no row";
  };
  EXPECT_EQ(committed(), "no row");
  g_db.close();
  EXPECT_EQ(committed(), "1,");
}

}  // namespace
}  // namespace corvexal
