#pragma once

#include <cstdint>
#include <string_view>

namespace corvexal {

// One counter for each kind of object; an object's kind can be told from the range of its identifier.
struct ObjectIds {
  std::uint64_t media_path_objid;  // the folder being added; also the parent of music and video rows
  std::uint64_t media_path_parid;  // the folder above; also the parent of a single photo
  std::uint64_t video_file_objid;
  std::uint64_t photo_file_objid;
  std::uint64_t music_file_objid;
  std::uint64_t music_file_pls_parid;  // containers from here on
  std::uint64_t music_file_gen_objid;
  std::uint64_t music_file_art_objid;
  std::uint64_t music_file_alb_objid;
};

inline constexpr ObjectIds kFirstObjectIds = {
    4000000000001, 4000000000001, 2000000000001, 1000000000001, 3000000000001,
    3030000000001, 3040000000001, 3050000000001, 3060000000001,
};

extern ObjectIds init_objid;

// Sets the counters to their first values. Every run starts from these; what is saved is never loaded back.
void InitObjectIds();

// Appends the nine counters to record_objid_tbl. Failures are ignored; returns the last statement's result
// code.
int SaveObjectIds();

// Advances a file counter by the number of named rows in its class table; prints "No media file found" and
// leaves it when they cannot be counted.
void advance_by_row_count(const char* table, std::uint64_t& counter);

// The first identifier from `start` on that no row of the table holds; printed, too. A failed query counts as
// free.
std::uint64_t get_objid(const char* table, std::uint64_t start);

// Sets media_path_objid to the identifier of a folder's row, if there is one, and returns media_path_objid.
std::uint64_t get_old_objid(std::string_view folder);

// The identifier of the folder that holds `path` (a folder's own path is given without its trailing "/"). An
// unknown folder gets media_path_parid, advanced by one; 0 when the folders cannot be read.
std::uint64_t get_parid(std::string_view path);

}  // namespace corvexal
