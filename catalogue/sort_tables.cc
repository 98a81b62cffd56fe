#include "catalogue/sort_tables.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <span>

#include "catalogue/folder_flags.h"

namespace corvexal {
namespace {

// Of the items, a text that begins with a capital A to Z sorts as that letter alone, in lower case, every
// other text as it is. Items that sort alike stay in the query's own order.
constexpr SortTable kItemTables[] = {
    {"music_sortidx_tbl", R"(
        select No from music_tbl
        where EXT_fname !='m3u' AND EXT_fname !='pls'
        order by case
          when SUBSTR(Title,1,1) >= 'A' AND SUBSTR(Title,1,1) <= 'Z' then LOWER(SUBSTR(Title,1,1))
          else Title end;)"},
    {"video_sortidx_tbl", R"(
        select No from video_tbl
        where EXT_fname !='srt'
        order by case
          when SUBSTR(UTF_fname,1,1) >= 'A' AND SUBSTR(UTF_fname,1,1) <= 'Z' then LOWER(SUBSTR(UTF_fname,1,1))
          else UTF_fname end;)"},
    {"photo_sortidx_tbl", R"(
        select No from photo_tbl
        order by case
          when SUBSTR(UTF_fname,1,1) >= 'A' AND SUBSTR(UTF_fname,1,1) <= 'Z' then LOWER(SUBSTR(UTF_fname,1,1))
          else UTF_fname end;)"},
};
constexpr const SortTable &kMusicItems = kItemTables[0], &kVideoItems = kItemTables[1],
                          &kPhotoItems = kItemTables[2];

constexpr SortTable kGroupTables[] = {
    {"music_sortGen_tbl", R"(
        select Genre,COUNT(Genre) from music_tbl
        where EXT_fname !='m3u' AND EXT_fname !='pls'
        GROUP BY Genre
        order by UPPER(Genre),Genre;)"},
    {"music_sortArt_tbl", R"(
        select Artist,COUNT(Artist) from music_tbl
        where EXT_fname !='m3u' AND EXT_fname !='pls'
        GROUP BY Artist
        order by UPPER(Artist),Artist;)"},
    {"music_sortAlb_tbl", R"(
        select Album,COUNT(Album) from music_tbl
        where EXT_fname !='m3u' AND EXT_fname !='pls'
        GROUP BY Album
        order by UPPER(Album),Album;)"},
};
constexpr const SortTable &kGenres = kGroupTables[0], &kArtists = kGroupTables[1], &kAlbums = kGroupTables[2];

void recreate_tables(Database& db, MediaClass media_class) {
  static constexpr const char* kMusic[] = {
      "DROP TABLE music_sortidx_tbl;",
      "CREATE TABLE music_sortidx_tbl (idx,reserve1,reserve2);",
      "DROP TABLE music_sortGen_tbl;",
      "DROP TABLE music_sortArt_tbl;",
      "DROP TABLE music_sortAlb_tbl;",
      "CREATE TABLE music_sortGen_tbl (name,cnt,ObjID,reserve1,reserve2);",
      "CREATE TABLE music_sortArt_tbl (name,cnt,ObjID,reserve1,reserve2);",
      "CREATE TABLE music_sortAlb_tbl (name,cnt,ObjID,reserve1,reserve2);",
  };
  static constexpr const char* kVideo[] = {"DROP TABLE video_sortidx_tbl;",
                                           "CREATE TABLE video_sortidx_tbl (idx,reserve1,reserve2);"};
  static constexpr const char* kPhoto[] = {"DROP TABLE photo_sortidx_tbl;",
                                           "CREATE TABLE photo_sortidx_tbl (idx,reserve1,reserve2);"};
  const auto run = [&db](std::span<const char* const> statements) {
    for (const char* statement : statements) db.exec(statement);  // what is not there cannot be dropped
  };
  switch (media_class) {
    case MediaClass::kMusic:
      return run(kMusic);
    case MediaClass::kVideo:
      return run(kVideo);
    case MediaClass::kPhoto:
      return run(kPhoto);
  }
}

// One row for each item, in display order.
bool fill_items(Database& db, const SortTable& table, const char* insert) {
  Rows rows = db.select(table.query);
  while (rows.next())
    if (db.exec(insert, rows.text(0)) != SQLITE_OK) return false;
  return !rows.failed();
}

// One row for each genre, artist or album, with its count and a container identifier of its own.
bool fill_groups(Database& db, const SortTable& table, const char* insert, std::uint64_t& next_objid) {
  Rows rows = db.select(table.query);
  while (rows.next())
    if (db.exec(insert, rows.text(0), rows.text(1), next_objid++) != SQLITE_OK) return false;
  return !rows.failed();
}

bool fill_music(Database& db, ObjectIds& ids) {
  return fill_items(db, kMusicItems, R"(insert into music_sortidx_tbl values ("%s",0,0);)") &&
         fill_groups(db, kGenres, R"(insert into music_sortGen_tbl values ("%s","%s","%llu",0,0);)",
                     ids.music_file_gen_objid) &&
         fill_groups(db, kArtists, R"(insert into music_sortArt_tbl values ("%s","%s","%llu",0,0);)",
                     ids.music_file_art_objid) &&
         fill_groups(db, kAlbums, R"(insert into music_sortAlb_tbl values ("%s","%s","%llu",0,0);)",
                     ids.music_file_alb_objid);
}

bool fill_tables(Session& session, MediaClass media_class) {
  switch (media_class) {
    case MediaClass::kMusic:
      return fill_music(session.db, session.ids);
    case MediaClass::kVideo:
      return fill_items(session.db, kVideoItems, R"(insert into video_sortidx_tbl values ("%s",0,0);)");
    case MediaClass::kPhoto:
      return fill_items(session.db, kPhotoItems, R"(insert into photo_sortidx_tbl values ("%s",0,0);)");
  }
  return false;
}

const SortTable& items_of(MediaClass media_class) {
  switch (media_class) {
    case MediaClass::kMusic:
      return kMusicItems;
    case MediaClass::kVideo:
      return kVideoItems;
    case MediaClass::kPhoto:
      break;
  }
  return kPhotoItems;
}

// Whether the stored rows are what the query gives now, in its order: the columns of the query, compared as
// text, and after them identifiers that ascend, where there are any.
bool is_current(Database& db, const SortTable& table, const char* stored, int columns, bool has_identifiers) {
  Rows wanted = db.select(table.query), found = db.select(stored, table.name);
  for (std::int64_t last_objid = 0;;) {
    const bool more = wanted.next();
    if (found.next() != more) return false;
    if (!more) return !wanted.failed() && !found.failed();
    for (int i = 0; i < columns; ++i)
      if (wanted.text(i) != found.text(i)) return false;
    if (!has_identifiers) continue;
    if (found.number(columns) <= last_objid) return false;
    last_objid = found.number(columns);
  }
}

bool items_are_current(Database& db, const SortTable& table) {
  return is_current(db, table, "select idx,reserve1,reserve2 from %s order by ROWID;", 1, false);
}

bool groups_are_current(Database& db, const SortTable& table) {
  return is_current(db, table, "select name,cnt,ObjID,reserve1,reserve2 from %s order by ROWID;", 2, true);
}

}  // namespace

bool write_sort_tables(Session& session, MediaClass media_class) {
  recreate_tables(session.db, media_class);
  return fill_tables(session, media_class);
}

bool sort_tables_are_current(Database& db, MediaClass media_class) {
  if (!items_are_current(db, items_of(media_class))) return false;
  if (media_class != MediaClass::kMusic) return true;
  return std::all_of(std::begin(kGroupTables), std::end(kGroupTables),
                     [&db](const SortTable& table) { return groups_are_current(db, table); });
}

int RebuildSortTables(Session& session, MediaClass media_class) {
  if (!write_sort_tables(session, media_class)) return 0;
  std::puts("Assign path_objid_tbl media-->");
  if (Assign_pathtbl_media(session.db) == 0) std::puts("Assign path_objid_tbl media fail");
  SaveObjectIds(session.db, session.ids);
  session.db.exec("COMMIT;");
  session.db.close();
  return 1;
}

int rebuild_for_whole_catalogue(Session& session) {
  return RebuildSortTables(session, MediaClass::kMusic);
}

std::span<const SortTable> item_tables() {
  return kItemTables;
}

std::span<const SortTable> group_tables() {
  return kGroupTables;
}

}  // namespace corvexal
