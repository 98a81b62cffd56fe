// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/examine.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <array>
#include <filesystem>
#include <functional>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "base/saturate.h"
#include "catalogue/database.h"
#include "catalogue/schema.h"
#include "catalogue/sort_tables.h"
#include "report/disk_walk.h"
#include "report/html_file.h"
#include "report/snapshot.h"
#include "songdb/store.h"
#include "tests/support/test_files.h"

namespace corvexal::report {
namespace {

namespace fs = std::filesystem;
using testing::CapturedOutput;

std::string date_of(std::time_t time) {
  std::array<char, 32> text{};
  return {text.data(), std::strftime(text.data(), text.size(), "%Y-%m-%dT%H:%M:%S", std::localtime(&time))};
}

bool contains(const std::string& text, const std::string& part) {
  return text.find(part) != std::string::npos;
}

// A library of two folders, both stores right, that each test spoils.
class ExamineTest : public ::testing::Test {
 protected:
  ExamineTest() {
    for (const char* name : {"A/one.mp3", "A/two.mp3", "A/list.m3u", "A/B/clip.avi", "A/B/note.txt"})
      folder_.write(name,
                    std::string(name).ends_with("m3u") ? "two.mp3\nnone.mp3\n" : std::string(2000, 'x'));
    folder_.write("A/B/pic.gif", "GIF89a");
    EXPECT_EQ(create_catalogue(folder_.path()), 0);
    db_.open(catalogue_path(folder_.path()));
    run("PRAGMA synchronous=OFF");
    add_folder("", "10", "0");
    add_folder("A/", "11", "10");
    add_folder("A/B/", "12", "11");
    add_row("music_tbl", "A/", "one.mp3", "11", "Ttle one");
    add_row("music_tbl", "A/", "two.mp3", "11", "Two");
    add_row("music_tbl", "A/", "list.m3u", "11", "0");
    run("update music_tbl set PlsFile = '2,' where EXT_fname = 'm3u'");
    add_row("video_tbl", "A/B/", "clip.avi", "12");
    add_row("photo_tbl", "A/B/", "pic.gif", "12");
    fill_sort_tables();
    for (const char* name : {"A/one.mp3", "A/two.mp3"}) add_song(name);
    close_store();
    db_.close();
  }

  [[nodiscard]] std::string path(const std::string& name) const { return folder_.path() + '/' + name; }

  void run(const std::string& sql) { ASSERT_EQ(db_.exec(sql), SQLITE_OK) << sql << db_.error_text(); }

  // One statement on the closed catalogue.
  void spoil(const std::string& sql) {
    db_.open(catalogue_path(folder_.path()));
    run("PRAGMA synchronous=OFF");
    run(sql);
    db_.close();
  }

  // The `song` is as the file at `name` now is.
  SongInfo song_of(const std::string& name) {
    struct stat status {};
    EXPECT_EQ(stat(path(name).c_str(), &status), 0);
    SongInfo song;
    song.path = path(name);
    song.id = static_cast<std::uint32_t>(status.st_ino);
    song.file_size = saturated(status.st_size);
    song.time_modified = saturated(status.st_mtime);
    return song;
  }
  void put(const SongInfo& song) {
    CapturedOutput silence;
    if (!store_is_open_) store_.open(folder_.path());
    store_is_open_ = true;
    store_.add(song);
  }
  void add_song(const std::string& name) { put(song_of(name)); }
  void close_store() {
    store_.close();
    store_is_open_ = false;
  }

  // The problems as "kind path mend" without the share's path, one a line.
  std::string problems() {
    close_store();
    Report report;
    complete_ = examine(folder_.path(), folder_.path(), report);
    Mender mender(report.places);
    std::string lines;
    for (const KindFacts& kind : kinds())
      report.problems.visit(kind.kind, [&](const Problem& problem) {
        lines.append(kind.name)
            .append(" ")
            .append(problem.path())
            .append(" ")
            .append(mender.command(problem)) += '\n';
        return true;
      });
    for (std::size_t at = lines.find(folder_.path()); at != std::string::npos;
         at = lines.find(folder_.path()))
      lines.erase(at, folder_.path().size());
    return lines;
  }

  testing::TestFolder folder_;
  bool complete_ = false;

 private:
  void add_folder(const std::string& name, const std::string& id, const std::string& parent) {
    db_.exec("insert into path_objid_tbl values ('%s','%s','%s','1','1','1','1');", path(name), id, parent);
  }
  void add_row(const char* table, const std::string& folder, const std::string& name,
               const std::string& parent, const std::string& title = "") {
    struct stat status {};
    EXPECT_EQ(stat(path(folder + name).c_str(), &status), 0);
    const std::string columns =
        "(No,ObjID,Real_Path,Real_fname,UTF_Path,UTF_fname,EXT_fname,Date,Size,ParentID";
    ++rows_;
    const std::string values = " values ('" + std::to_string(rows_) + "','30" + std::to_string(rows_) +
                               "','" + path(folder) + "','" + name + "','" + path(folder) + "','" + name +
                               "','" + name.substr(name.size() - 3) + "','" + date_of(status.st_mtime) +
                               "','" + std::to_string(status.st_size) + "','" + parent + "'";
    const bool is_music = !title.empty();
    run("insert into " + std::string(table) + columns + (is_music ? ",Title,Artist,Album,Genre)" : ")") +
        values + (is_music ? ",'" + title + "','Others','Others','Others')" : ")"));
  }
  void fill_sort_tables() {
    for (const SortTable& table : item_tables()) {
      run("create table " + std::string(table.name) + " as " + std::string(table.query));
      run("alter table " + std::string(table.name) + " rename No to idx");
    }
    for (const SortTable& table : group_tables()) {
      run("create table " + std::string(table.name) + " (name,cnt)");
      run("insert into " + std::string(table.name) + " " + table.query);
    }
  }

  Database db_;
  SongStore store_;
  bool store_is_open_ = false;
  int rows_ = 0;
};

TEST_F(ExamineTest, ASoundLibraryHasNoProblems) {
  Report report;
  EXPECT_TRUE(examine(folder_.path(), folder_.path() + "//", report));
  EXPECT_EQ(report.problems.size(), 0U);
  EXPECT_EQ(report.figures.total.files, 5U);
  EXPECT_EQ(report.figures.total.bytes, 6023U);
  EXPECT_EQ(report.figures.song_records, 2U);
  ASSERT_EQ(report.figures.playlists.size(), 1U);
  EXPECT_EQ(report.figures.playlists[0].linked, 1U);
  EXPECT_EQ(report.figures.playlists[0].missing, 1U);
  ASSERT_EQ(report.figures.folders.size(), 2U);
  EXPECT_EQ(report.figures.folders[1].amount.files, 2U);
  EXPECT_EQ(report.figures.classes[0].name, "music");
  EXPECT_EQ(report.figures.genres[0].amount.files, 2U);
}

TEST_F(ExamineTest, EachFaultIsNamedWithWhatMendsIt) {
  const struct {
    const char* sql;
    const char* problems;
  } rows[] = {
      {"delete from photo_tbl",
       "no-row /A/B/pic.gif corvexal-sync '/A/B'\n"
       "sort-table /.systemfile/.upnpav-db/upnpav.db corvexal-sync\n"},
      {"update photo_tbl set Size = '7'", "row-stale /A/B/pic.gif corvexal-sync '/A/B'\n"},
      {"update video_tbl set Date = '2000-01-01T00:00:00'", "row-stale /A/B/clip.avi corvexal-sync '/A/B'\n"},
      {"update music_tbl set ObjID = '1' where No = '1' or No = '3'",
       "repeated-identifier /A/one.mp3 corvexal-sync\nrepeated-identifier /A/list.m3u corvexal-sync\n"},
      {"update path_objid_tbl set ObjID = '12' where path like '%/A/'",
       "repeated-identifier /A/ corvexal-sync\nrepeated-identifier /A/B/ corvexal-sync\n"
       "unknown-parent /A/B/ corvexal-sync\nunknown-parent /A/list.m3u corvexal-sync\n"
       "unknown-parent /A/one.mp3 corvexal-sync\nunknown-parent /A/two.mp3 corvexal-sync\n"},
      {"update video_tbl set ParentID = '99'", "unknown-parent /A/B/clip.avi corvexal-sync\n"},
      {"update video_tbl set ParentID = '11'", "wrong-parent /A/B/clip.avi corvexal-sync\n"},
      {"update path_objid_tbl set Dir_ParentID = '10' where ObjID = '12'",
       "wrong-parent /A/B/ corvexal-sync\n"},
      {"insert into path_objid_tbl select * from path_objid_tbl where ObjID = '12'",
       "double-row /A/B/ corvexal-sync '/A'\nrepeated-identifier /A/B/ corvexal-sync\n"
       "repeated-identifier /A/B/ corvexal-sync\n"},
      {"update path_objid_tbl set path = rtrim(path,'/') where ObjID = '12'",
       "wrong-parent /A/B/clip.avi corvexal-sync\nwrong-parent /A/B/pic.gif corvexal-sync\n"
       "no-slash /A/B/ corvexal-sync\n"},
      {"delete from music_sortidx_tbl where ROWID = 1",
       "sort-table /.systemfile/.upnpav-db/upnpav.db corvexal-sync\n"},
      {"update music_sortidx_tbl set idx = '1'",
       "sort-table /.systemfile/.upnpav-db/upnpav.db corvexal-sync\n"},
      {"insert into video_sortidx_tbl values ('4')",
       "sort-table /.systemfile/.upnpav-db/upnpav.db corvexal-sync\n"},
      {"drop table photo_sortidx_tbl", "sort-table /.systemfile/.upnpav-db/upnpav.db corvexal-sync\n"},
      {"update music_sortAlb_tbl set cnt = '1'",
       "sort-table /.systemfile/.upnpav-db/upnpav.db corvexal-sync\n"},
      {"alter table music_sortGen_tbl rename name to x",
       "sort-table /.systemfile/.upnpav-db/upnpav.db corvexal-sync\n"},
      {"update music_tbl set PlsFile = '2,77,' where No = '3'", "playlist-links /A/list.m3u corvexal-sync\n"},
      {"update music_tbl set PlsFile = '0' where No = '3'", "playlist-links /A/list.m3u corvexal-sync\n"},
      {"update music_tbl set Artist = 'MÃ¶we' where No = '1'",
       "sort-table /.systemfile/.upnpav-db/upnpav.db corvexal-sync\n"
       "text-encoding /A/one.mp3 touch -c '/A/one.mp3' && corvexal-sync '/A'\n"},
  };
  const std::string sound = testing::read_file(catalogue_path(folder_.path()));
  for (const auto& row : rows) {
    spoil(row.sql);
    EXPECT_EQ(problems(), row.problems) << row.sql;
    EXPECT_TRUE(complete_);
    folder_.write(".systemfile/.upnpav-db/upnpav.db", sound);
  }
}

TEST_F(ExamineTest, RowsAndRecordsAreHeldAgainstTheDisk) {
  fs::remove(path("A/two.mp3"));
  folder_.write("A/one.mp3", std::string(2001, 'x'));
  folder_.write("A/B/it's new.wav", "x");
  folder_.write("A/B/short.mp3", "x");
  folder_.write("A/B/no picture.jpg", "x");
  folder_.write("A/B/six.mpegts", "x");
  folder_.write("A/B/.hidden.mp3", "x");
  fs::create_symlink(path("A/one.mp3"), path("A/link.mp3"));
  EXPECT_EQ(problems(),
            "file-gone /A/two.mp3 corvexal-sync '/A'\n"
            "no-row /A/B/it's new.wav corvexal-sync '/A/B'\n"
            "no-row /A/B/short.mp3 corvexal-sync '/A/B'\n"
            "row-stale /A/one.mp3 corvexal-sync '/A'\n"
            "record-stale /A/one.mp3 corvexal-sync\n"
            "record-stale /A/two.mp3 corvexal-sync\n"
            "record-missing /A/B/it's new.wav corvexal-sync\n");
}

TEST_F(ExamineTest, CommandsNameWhatCanBeTyped) {
  fs::remove_all(path("A"));
  fs::create_directories(path("C\n/D"));
  folder_.write("C\n/D/x.srt", "");
  folder_.write("q\"/y\"z.srt", "");
  folder_.write("E's/z\xA4.srt", "");
  fs::remove(song_store_path(folder_.path()));
  const std::string seen = problems();
  EXPECT_TRUE(contains(seen, "file-gone /A/B/clip.avi corvexal-sync\n")) << seen;
  EXPECT_TRUE(contains(seen, "folder-gone /A/B/ corvexal-sync\n")) << seen;
  EXPECT_TRUE(contains(seen, "no-row /C\n/D/x.srt corvexal-sync\n")) << seen;
  EXPECT_TRUE(contains(seen, "no-row /E's/z\xA4.srt corvexal-sync '/E'\\''s'\n")) << seen;
  EXPECT_TRUE(contains(seen, "name-refused /q\"/y\"z.srt mv -n '/q\"' '/q'\\''' && corvexal-sync\n")) << seen;
  EXPECT_FALSE(contains(seen, "store-missing")) << "no songs are left";
  for (const char* gone : {"C\n", "q\"", "E's"}) fs::remove_all(path(gone));
  EXPECT_TRUE(problems().starts_with("file-gone /A/list.m3u corvexal-sync --even-if-empty\n"));
}

TEST_F(ExamineTest, TheSongStoreIsJudged) {
  SongInfo other = song_of("A/one.mp3");
  other.id += 100'000;
  put(other);  // the same file once more
  SongInfo later = song_of("A/two.mp3");
  later.time_modified += 1;
  put(later);
  EXPECT_EQ(problems(), "record-stale /A/two.mp3 corvexal-sync\ndouble-record /A/one.mp3 corvexal-sync\n");

  const std::string store = song_store_path(folder_.path());
  const std::string bytes = testing::read_file(store);
  std::string bent = bytes;
  bent[bytes.find(path("A/one.mp3")) - 124] = 7;  // the record's version
  folder_.write(".systemfile/songs.gdb", bent);
  EXPECT_TRUE(contains(problems(), "record-damaged /A/one.mp3 corvexal-sync\n"));

  folder_.write(".systemfile/songs.gdb", "no store at all");
  CapturedOutput errors(2);
  EXPECT_EQ(problems(),
            "store-unreadable /.systemfile/songs.gdb mv '/.systemfile/songs.gdb' "
            "'/.systemfile/songs.gdb.damaged' && corvexal-sync\n");
  EXPECT_FALSE(complete_);
  EXPECT_TRUE(contains(errors.text(), "cannot read the song store"));

  fs::remove(store);
  EXPECT_EQ(problems(), "store-missing /.systemfile/songs.gdb corvexal-sync\n");
  EXPECT_TRUE(complete_);
}

TEST_F(ExamineTest, LinksOfOneSongNeedOneRecord) {
  fs::create_hard_link(path("A/one.mp3"), path("A/zlink.mp3"));
  EXPECT_EQ(problems(), "no-row /A/zlink.mp3 corvexal-sync '/A'\n");
}

std::set<std::string> files_below(const std::string& folder) {
  std::set<std::string> names;
  for (const auto& entry : fs::recursive_directory_iterator(folder)) names.insert(entry.path().string());
  return names;
}

TEST_F(ExamineTest, ItReadsOneMomentWhileARunWrites) {
  Database writer;
  writer.open(catalogue_path(folder_.path()));
  ASSERT_EQ(writer.exec("delete from music_tbl"), SQLITE_OK);
  const std::set<std::string> before = files_below(folder_.path());
  EXPECT_EQ(problems(), "") << "not committed";
  EXPECT_EQ(files_below(folder_.path()), before);
  writer.close();
  EXPECT_NE(problems(), "");
}

TEST_F(ExamineTest, WhatCannotBeReadIsSaid) {
  const std::string catalogue = catalogue_path(folder_.path());
  const auto failure = [&](const std::string& mount, const std::string& share) -> std::string {
    try {
      Report report;
      static_cast<void>(examine(mount, share, report));
    } catch (const Unreadable& error) {
      return error.what();
    }
    return "";
  };
  EXPECT_TRUE(contains(failure(folder_.path(), path("none")), "cannot read the share"));
  EXPECT_TRUE(contains(failure(path("A"), path("A")), "corvexal-sync makes it"));
  folder_.write("bad/.systemfile/.upnpav-db/upnpav.db",
                "no database, but longer than a header of one: " + std::string(100, 'x'));
  EXPECT_TRUE(contains(failure(path("bad"), path("bad")), "not a database"));

  // A killed run: its journal is beside the file, its lock is gone.
  Database killed;
  killed.open(catalogue);
  killed.exec("PRAGMA cache_size=1");
  killed.exec("PRAGMA cache_spill=1");
  for (int i = 0; i < 200; ++i) killed.exec("insert into record_objid_tbl values (hex(randomblob(2000)),1)");
  const std::string journal = testing::read_file(catalogue + "-journal"),
                    half = testing::read_file(catalogue);
  ASSERT_FALSE(journal.empty());
  folder_.write("copy/.systemfile/.upnpav-db/upnpav.db", half);
  folder_.write("copy/.systemfile/.upnpav-db/upnpav.db-journal", journal);
  EXPECT_TRUE(contains(failure(path("copy"), path("copy")), "killed run"));
  EXPECT_EQ(testing::read_file(path("copy/.systemfile/.upnpav-db/upnpav.db-journal")), journal);
}

TEST_F(ExamineTest, AViewInATablesPlaceIsNotRun) {
  spoil("alter table photo_tbl rename to p");
  spoil("create view photo_tbl as select * from p");
  Report report;
  EXPECT_THROW(static_cast<void>(examine(folder_.path(), folder_.path(), report)), Unreadable);
}

TEST_F(ExamineTest, SpoiltStoresAreSurvived) {
  CapturedOutput silence(2);
  std::mt19937 random(4);
  for (const char* store : {".systemfile/songs.gdb", ".systemfile/.upnpav-db/upnpav.db"}) {
    const std::string sound = testing::read_file(path(store));
    for (int i = 0; i < 60; ++i) {
      std::string spoilt = sound.substr(0, i % 8 == 7 ? random() % sound.size() : sound.size());
      for (auto left = random() % 16; left > 0 && !spoilt.empty(); --left)
        spoilt[random() % spoilt.size()] = static_cast<char>(random());
      folder_.write(store, spoilt);
      try {
        Report report;
        static_cast<void>(examine(folder_.path(), folder_.path(), report));
        ASSERT_TRUE(write_html_file(report, path("page.html")));
      } catch (const Unreadable&) {  // a clear answer, too
      }
    }
    folder_.write(store, sound);
  }
  EXPECT_EQ(problems(), "");
}

TEST_F(ExamineTest, ATagWithADoubleQuoteIsNoMissingRow) {
  const std::string tag = std::string("TPE1\0\0\0\7\0\0\0", 11) + "a \"b\" ";
  folder_.write("A/quote.mp3", std::string("ID3\3\0\0\0\0\0\x11", 10) + tag + std::string(2000, '\0'));
  EXPECT_EQ(problems(), "text-refused /A/quote.mp3 touch -c '/A/quote.mp3' && corvexal-sync '/A'\n");
}

TEST_F(ExamineTest, ThePageReplacesAFileAndNothingElse) {
  Report report;
  EXPECT_TRUE(examine(folder_.path(), folder_.path(), report));
  const std::string page = folder_.write("page.html", "old");
  fs::permissions(page, fs::perms(0600));
  EXPECT_TRUE(write_html_file(report, page));
  EXPECT_TRUE(testing::read_file(page).starts_with("<!DOCTYPE html>"));
  EXPECT_EQ(fs::status(page).permissions(), fs::perms(0600));

  folder_.write("secret", "kept");
  fs::create_symlink(path("secret"), path("link.html"));
  CapturedOutput errors(2);
  for (const char* refused : {"link.html", "A", "none/page.html"})
    EXPECT_FALSE(write_html_file(report, path(refused)));
  EXPECT_EQ(testing::read_file(path("secret")), "kept");
  EXPECT_TRUE(fs::is_symlink(path("link.html")));
}

TEST(DiskWalk, FollowsTheOrderOfTheRows) {
  std::mt19937 random(3);
  const testing::TestFolder folder;
  std::set<std::pair<std::string, std::string>> written;
  static constexpr std::string_view kNames[] = {"a", "a b", "a!", "a0", "A", "é", "\xFF", "b"};
  for (int i = 0; i < 100; ++i) {
    std::string below;
    for (auto depth = random() % 4; depth > 0; --depth)
      below.append(kNames[random() % std::size(kNames)]) += '/';
    const std::string name = std::string(kNames[random() % std::size(kNames)]) + ".mp3";
    folder.write(below + name, "");
    written.insert({folder.path() + '/' + below, name});
  }
  DiskWalk walk(folder.path() + '/');
  for (const auto& [where, name] : written) {
    ASSERT_TRUE(walk.next());
    ASSERT_EQ(walk.file().folder, where);
    ASSERT_EQ(walk.file().name, name);
  }
  EXPECT_FALSE(walk.next());
  EXPECT_EQ(walk.unreadable(), 0U);
}

}  // namespace
}  // namespace corvexal::report
