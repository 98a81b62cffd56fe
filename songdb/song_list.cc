// SPDX-License-Identifier: GPL-3.0-or-later
#include "songdb/song_list.h"

#include <cstdio>
#include <cstring>
#include <string_view>

#include "base/json_text.h"
#include "base/log.h"
#include "songdb/gdbm_file.h"
#include "songdb/record.h"

namespace corvexal {
namespace {

std::string line_of(const SongInfo& song) {
  std::string line = "{\"id\":" + std::to_string(song.id);
  for (const auto& [name, field] : kStoredTexts) {
    const Text& text = song.*field;
    line.append(",\"").append(name).append("\":").append(text ? json_text(*text) : "null");
  }
  for (const auto& [name, field] : kStoredNumbers)
    line.append(",\"").append(name).append("\":").append(std::to_string(song.*field));
  return line + ",\"compilation\":" + std::to_string(song.compilation) + "}";
}

bool is_key_of(Bytes key, std::uint32_t id) {
  return key.size() == sizeof id && std::memcmp(key.data(), &id, sizeof id) == 0;
}

// False when the record is not what a store of ours holds.
bool print_record(Bytes key, Bytes record) {
  SongInfo song;
  read_stored_song(record, song);
  std::puts(line_of(song).c_str());
  return is_whole_record(record) && is_key_of(key, song.id);
}

}  // namespace

int print_song_store(const std::string& path) {
  const GdbmFile db = open_gdbm(path, GDBM_READER);
  if (!db) {
    error_printf("%s: %s\n", path.c_str(), gdbm_failure().c_str());
    return 1;
  }
  bool sound = true;
  KeyWalk walk(db.get());
  while (walk.next()) {
    const Datum record(gdbm_fetch(db.get(), walk.key().borrowed()));
    if (print_record(walk.key().bytes(), record.bytes())) continue;
    error_printf("%s: the record of song %u is damaged\n", path.c_str(), record_id(record.bytes()));
    sound = false;
  }
  if (walk.damaged()) {
    error_printf("%s: damaged, songs may be missing: %s\n", path.c_str(), gdbm_db_strerror(db.get()));
    sound = false;
  }
  std::fflush(stdout);
  if (std::ferror(stdout) != 0) {
    std::perror("standard output");
    return 1;
  }
  return sound ? 0 : 1;
}

}  // namespace corvexal
