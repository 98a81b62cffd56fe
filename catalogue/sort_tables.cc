#include "catalogue/sort_tables.h"

#include <cstdint>
#include <cstdio>

#include "catalogue/database.h"
#include "catalogue/folder_flags.h"
#include "catalogue/object_ids.h"

namespace corvexal {
namespace {

// Readers rely on whole-catalogue work rebuilding the music tables alone.
bool is_music(int media_class) {
  return media_class == kMusicClass || media_class == kWholeCatalogue;
}

void recreate_music_tables() {
  for (const char* statement :
       {"DROP TABLE music_sortidx_tbl;", "CREATE TABLE music_sortidx_tbl (idx,reserve1,reserve2);",
        "DROP TABLE music_sortGen_tbl;", "DROP TABLE music_sortArt_tbl;", "DROP TABLE music_sortAlb_tbl;",
        "CREATE TABLE music_sortGen_tbl (name,cnt,ObjID,reserve1,reserve2);",
        "CREATE TABLE music_sortArt_tbl (name,cnt,ObjID,reserve1,reserve2);",
        "CREATE TABLE music_sortAlb_tbl (name,cnt,ObjID,reserve1,reserve2);"})
    g_db.exec(statement);
}

bool recreate_tables(int media_class) {
  if (is_music(media_class)) {
    recreate_music_tables();
  } else if (media_class == kVideoClass) {
    g_db.exec("DROP TABLE video_sortidx_tbl;");
    g_db.exec("CREATE TABLE video_sortidx_tbl (idx,reserve1,reserve2);");
  } else if (media_class == kPhotoClass) {
    g_db.exec("DROP TABLE photo_sortidx_tbl;");
    g_db.exec("CREATE TABLE photo_sortidx_tbl (idx,reserve1,reserve2);");
  } else {
    return false;
  }
  return true;
}

// One row for each item, in display order: a text that begins with a capital A to Z sorts as that letter
// alone, in lower case, every other text as it is. Items that sort alike stay in the query's own order.
bool fill_items(const char* query, const char* insert) {
  Rows rows = g_db.select(query);
  while (rows.next())
    if (g_db.exec(insert, rows.text(0)) != SQLITE_OK) return false;
  return !rows.failed();
}

// One row for each genre, artist or album, with its count and a container identifier of its own.
bool fill_groups(const char* query, const char* insert, std::uint64_t& next_objid) {
  Rows rows = g_db.select(query);
  while (rows.next())
    if (g_db.exec(insert, rows.text(0), rows.text(1), next_objid++) != SQLITE_OK) return false;
  return !rows.failed();
}

bool fill_music() {
  return fill_items(
             "select No from music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls' order by case when "
             "SUBSTR(Title,1,1) >= 'A' AND SUBSTR(Title,1,1) <= 'Z' then LOWER(SUBSTR(Title,1,1)) else Title "
             "end;",
             "insert into music_sortidx_tbl values (\"%s\",0,0);") &&
         fill_groups(
             "select Genre,COUNT(Genre) from music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls' GROUP "
             "BY Genre "
             "order by UPPER(Genre),Genre;",
             "insert into music_sortGen_tbl values (\"%s\",\"%s\",\"%llu\",0,0);",
             init_objid.music_file_gen_objid) &&
         fill_groups(
             "select Artist,COUNT(Artist) from music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls' GROUP "
             "BY Artist "
             "order by UPPER(Artist),Artist;",
             "insert into music_sortArt_tbl values (\"%s\",\"%s\",\"%llu\",0,0);",
             init_objid.music_file_art_objid) &&
         fill_groups(
             "select Album,COUNT(Album) from music_tbl where EXT_fname !='m3u' AND EXT_fname !='pls' GROUP "
             "BY Album "
             "order by UPPER(Album),Album;",
             "insert into music_sortAlb_tbl values (\"%s\",\"%s\",\"%llu\",0,0);",
             init_objid.music_file_alb_objid);
}

bool fill_videos() {
  return fill_items(
      "select No from video_tbl where EXT_fname !='srt' order by case when SUBSTR(UTF_fname,1,1) >= 'A' AND "
      "SUBSTR(UTF_fname,1,1) <= 'Z' then LOWER(SUBSTR(UTF_fname,1,1)) else UTF_fname end;",
      "insert into video_sortidx_tbl values (\"%s\",0,0);");
}

bool fill_photos() {
  return fill_items(
      "select No from photo_tbl order by case when SUBSTR(UTF_fname,1,1) >= 'A' AND SUBSTR(UTF_fname,1,1) <= "
      "'Z' then "
      "LOWER(SUBSTR(UTF_fname,1,1)) else UTF_fname end;",
      "insert into photo_sortidx_tbl values (\"%s\",0,0);");
}

}  // namespace

int FillSortTables(int media_class) {
  bool filled = true;
  if (is_music(media_class))
    filled = fill_music();
  else if (media_class == kVideoClass)
    filled = fill_videos();
  else if (media_class == kPhotoClass)
    filled = fill_photos();
  return filled ? 1 : 0;
}

int RebuildSortTables(int media_class) {
  if (!recreate_tables(media_class) || FillSortTables(media_class) == 0) return 0;
  std::puts("Assign path_objid_tbl media-->");
  if (Assign_pathtbl_media() == 0) std::puts("Assign path_objid_tbl media fail");
  SaveObjectIds();
  g_db.exec("COMMIT;");
  g_db.close();
  return 1;
}

}  // namespace corvexal
