// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/sort_tables.h"

#include <cstdint>
#include <cstdio>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

#include "catalogue/display_order.h"
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

// The rows of a class's sort tables: in one pass where that can be, else as the queries give them.
class SortRows {
 public:
  SortRows(Database& db, MediaClass media_class)
      : db_(db),
        item_query_(items_of(media_class).query),
        order_(DisplayOrder::read(db, media_class, item_query_)) {}

  // False when `take` ended the giving or the rows cannot be read.
  bool each_item(const TakeItem& take) {
    if (order_) return order_->each_item(take);
    Rows rows = db_.select(item_query_);
    while (rows.next())
      if (!take(rows.text(0))) return false;
    return !rows.failed();
  }

  // The same for the groups of kGroupTables[column].
  bool each_group(std::size_t column, const TakeGroup& take) {
    if (order_) return order_->each_group(column, take);
    Rows rows = db_.select(kGroupTables[column].query);
    while (rows.next())
      if (!take(rows.text(0), rows.text(1))) return false;
    return !rows.failed();
  }

  // Moves the class's folders out, where they are known.
  void take_folders(std::optional<FolderSet>& folders) {
    if (order_) folders.emplace(order_->take_folders());
  }

 private:
  Database& db_;
  const char* item_query_;
  std::optional<DisplayOrder> order_;
};

// One row for each item, in display order.
bool fill_items(Database& db, SortRows& rows, const SortTable& table) {
  RowInsert insert(db, R"(insert into %s values ("%s",0,0);)", table.name);
  return rows.each_item([&insert](std::string_view number) { return insert.exec(number) == SQLITE_OK; });
}

// One row for each genre, artist or album, with its count and a container identifier of its own.
bool fill_groups(Database& db, SortRows& rows, std::size_t column, std::uint64_t& next_objid) {
  RowInsert insert(db, R"(insert into %s values ("%s","%s","%llu",0,0);)", kGroupTables[column].name);
  return rows.each_group(column, [&](std::string_view name, std::string_view count) {
    return insert.exec(name, count, next_objid++) == SQLITE_OK;
  });
}

bool write_tables(Session& session, SortRows& rows, MediaClass media_class) {
  Database& db = session.db;
  ObjectIds& ids = session.ids;
  recreate_tables(db, media_class);
  if (!fill_items(db, rows, items_of(media_class))) return false;
  return media_class != MediaClass::kMusic || (fill_groups(db, rows, 0, ids.music_file_gen_objid) &&
                                               fill_groups(db, rows, 1, ids.music_file_art_objid) &&
                                               fill_groups(db, rows, 2, ids.music_file_alb_objid));
}

// Whether the stored rows are the wanted ones, compared as text.
bool items_are_current(Database& db, SortRows& rows, const SortTable& table) {
  Rows stored = db.select("select idx,reserve1,reserve2 from %s order by ROWID;", table.name);
  const bool agree = rows.each_item(
      [&stored](std::string_view number) { return stored.next() && stored.text(0) == number; });
  return agree && !stored.next() && !stored.failed();
}

// The same, with identifiers that ascend.
bool groups_are_current(Database& db, SortRows& rows, std::size_t column) {
  Rows stored =
      db.select("select name,cnt,ObjID,reserve1,reserve2 from %s order by ROWID;", kGroupTables[column].name);
  std::int64_t last_objid = 0;
  const bool agree = rows.each_group(column, [&](std::string_view name, std::string_view count) {
    return stored.next() && stored.text(0) == name && stored.text(1) == count &&
           stored.number(2) > std::exchange(last_objid, stored.number(2));
  });
  return agree && !stored.next() && !stored.failed();
}

}  // namespace

bool write_sort_tables(Session& session, MediaClass media_class) {
  session.db.begin_writing();
  SortRows rows(session.db, media_class);
  return write_tables(session, rows, media_class);
}

bool sort_tables_are_current(Database& db, MediaClass media_class) {
  SortRows rows(db, media_class);
  if (!items_are_current(db, rows, items_of(media_class))) return false;
  if (media_class != MediaClass::kMusic) return true;
  for (std::size_t column = 0; column < std::size(kGroupTables); ++column)
    if (!groups_are_current(db, rows, column)) return false;
  return true;
}

int RebuildSortTables(Session& session, MediaClass media_class) {
  session.db.begin_writing();
  SortRows rows(session.db, media_class);
  // Pages that are to be written take up SQLite's cache: what is read among them is read again and again.
  FolderSets folders;
  rows.take_folders(folders[static_cast<std::size_t>(media_class)]);
  read_folders(session.db, folders);
  if (!write_tables(session, rows, media_class)) return 0;
  std::puts("Assign path_objid_tbl media-->");
  if (Assign_pathtbl_media(session.db, std::move(folders)) == 0)
    std::puts("Assign path_objid_tbl media fail");
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
