#include "catalogue/sort_tables.h"

#include <cstdint>
#include <cstdio>

#include "catalogue/folder_flags.h"

namespace corvexal {
namespace {

// Readers rely on whole-catalogue work rebuilding the music tables alone.
bool is_music(int media_class) {
  return media_class == kMusicClass || media_class == kWholeCatalogue;
}

void recreate_music_tables(Database& db) {
  for (const char* statement :
       {"DROP TABLE music_sortidx_tbl;", "CREATE TABLE music_sortidx_tbl (idx,reserve1,reserve2);",
        "DROP TABLE music_sortGen_tbl;", "DROP TABLE music_sortArt_tbl;", "DROP TABLE music_sortAlb_tbl;",
        "CREATE TABLE music_sortGen_tbl (name,cnt,ObjID,reserve1,reserve2);",
        "CREATE TABLE music_sortArt_tbl (name,cnt,ObjID,reserve1,reserve2);",
        "CREATE TABLE music_sortAlb_tbl (name,cnt,ObjID,reserve1,reserve2);"})
    db.exec(statement);
}

bool recreate_tables(Database& db, int media_class) {
  if (is_music(media_class)) {
    recreate_music_tables(db);
  } else if (media_class == kVideoClass) {
    db.exec("DROP TABLE video_sortidx_tbl;");
    db.exec("CREATE TABLE video_sortidx_tbl (idx,reserve1,reserve2);");
  } else if (media_class == kPhotoClass) {
    db.exec("DROP TABLE photo_sortidx_tbl;");
    db.exec("CREATE TABLE photo_sortidx_tbl (idx,reserve1,reserve2);");
  } else {
    return false;
  }
  return true;
}

// One row for each item, in display order: a text that begins with a capital A to Z sorts as that letter
// alone, in lower case, every other text as it is. Items that sort alike stay in the query's own order.
bool fill_items(Database& db, const char* query, const char* insert) {
  Rows rows = db.select(query);
  while (rows.next())
    if (db.exec(insert, rows.text(0)) != SQLITE_OK) return false;
  return !rows.failed();
}

// One row for each genre, artist or album, with its count and a container identifier of its own.
bool fill_groups(Database& db, const char* query, const char* insert, std::uint64_t& next_objid) {
  Rows rows = db.select(query);
  while (rows.next())
    if (db.exec(insert, rows.text(0), rows.text(1), next_objid++) != SQLITE_OK) return false;
  return !rows.failed();
}

bool fill_music(Session& session) {
  return fill_items(
             session.db,
             "select No from music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls' order by case when "
             "SUBSTR(Title,1,1) >= 'A' AND SUBSTR(Title,1,1) <= 'Z' then LOWER(SUBSTR(Title,1,1)) else Title "
             "end;",
             "insert into music_sortidx_tbl values (\"%s\",0,0);") &&
         fill_groups(
             session.db,
             "select Genre,COUNT(Genre) from music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls' GROUP "
             "BY Genre "
             "order by UPPER(Genre),Genre;",
             "insert into music_sortGen_tbl values (\"%s\",\"%s\",\"%llu\",0,0);",
             session.ids.music_file_gen_objid) &&
         fill_groups(
             session.db,
             "select Artist,COUNT(Artist) from music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls' GROUP "
             "BY Artist "
             "order by UPPER(Artist),Artist;",
             "insert into music_sortArt_tbl values (\"%s\",\"%s\",\"%llu\",0,0);",
             session.ids.music_file_art_objid) &&
         fill_groups(
             session.db,
             "select Album,COUNT(Album) from music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls' GROUP "
             "BY Album "
             "order by UPPER(Album),Album;",
             "insert into music_sortAlb_tbl values (\"%s\",\"%s\",\"%llu\",0,0);",
             session.ids.music_file_alb_objid);
}

bool fill_videos(Database& db) {
  return fill_items(
      db,
      "select No from video_tbl where EXT_fname !='srt' order by case when SUBSTR(UTF_fname,1,1) >= 'A' AND "
      "SUBSTR(UTF_fname,1,1) <= 'Z' then LOWER(SUBSTR(UTF_fname,1,1)) else UTF_fname end;",
      "insert into video_sortidx_tbl values (\"%s\",0,0);");
}

bool fill_photos(Database& db) {
  return fill_items(
      db,
      "select No from photo_tbl order by case when SUBSTR(UTF_fname,1,1) >= 'A' AND SUBSTR(UTF_fname,1,1) <= "
      "'Z' then "
      "LOWER(SUBSTR(UTF_fname,1,1)) else UTF_fname end;",
      "insert into photo_sortidx_tbl values (\"%s\",0,0);");
}

}  // namespace

int FillSortTables(Session& session, int media_class) {
  bool filled = true;
  if (is_music(media_class))
    filled = fill_music(session);
  else if (media_class == kVideoClass)
    filled = fill_videos(session.db);
  else if (media_class == kPhotoClass)
    filled = fill_photos(session.db);
  return filled ? 1 : 0;
}

int RebuildSortTables(Session& session, int media_class) {
  if (!recreate_tables(session.db, media_class) || FillSortTables(session, media_class) == 0) return 0;
  std::puts("Assign path_objid_tbl media-->");
  if (Assign_pathtbl_media(session.db) == 0) std::puts("Assign path_objid_tbl media fail");
  SaveObjectIds(session.db, session.ids);
  session.db.exec("COMMIT;");
  session.db.close();
  return 1;
}

}  // namespace corvexal
