// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

#include "catalogue/database.h"

namespace corvexal {

// One counter for each kind of object; an object's kind can be told from the range of its identifier. Every
// run starts from the first values; what is saved is never loaded back.
struct ObjectIds {
  std::uint64_t media_path_objid =
      4000000000001;  // the folder being added; also the parent of music and video rows
  std::uint64_t media_path_parid = 4000000000001;  // the folder above; also the parent of a single photo
  std::uint64_t video_file_objid = 2000000000001;
  std::uint64_t photo_file_objid = 1000000000001;
  std::uint64_t music_file_objid = 3000000000001;
  std::uint64_t music_file_pls_parid = 3030000000001;  // containers from here on
  std::uint64_t music_file_gen_objid = 3040000000001;
  std::uint64_t music_file_art_objid = 3050000000001;
  std::uint64_t music_file_alb_objid = 3060000000001;
};

// Appends the nine counters to record_objid_tbl. Failures are ignored; returns the last statement's result
// code.
int SaveObjectIds(Database& db, const ObjectIds& ids);

// Advances a file counter by the number of named rows in its class table; prints "No media file found" and
// leaves it when they cannot be counted.
void advance_by_row_count(Database& db, const char* table, std::uint64_t& counter);

// The first identifier from `start` on that no row of the table holds; printed, too. A failed query counts as
// free.
std::uint64_t get_objid(Database& db, const char* table, std::uint64_t start);

// Sets media_path_objid to the identifier of a folder's row, if there is one, and returns media_path_objid.
std::uint64_t get_old_objid(Database& db, ObjectIds& ids, std::string_view folder);

// The identifier of the folder that holds `path` (a folder's own path is given without its trailing "/"). An
// unknown folder gets media_path_parid, advanced by one; 0 when the folders cannot be read.
std::uint64_t get_parid(Database& db, ObjectIds& ids, std::string_view path);

}  // namespace corvexal
