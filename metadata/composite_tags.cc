// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/composite_tags.h"

namespace corvexal {
namespace {

constexpr std::int32_t kFileItem = 2;

Text artist_of(const SongInfo& song) {
  if (!song.orchestra && !song.conductor) return std::nullopt;
  const char* between = song.orchestra && song.conductor ? " - " : "";
  return song.orchestra.value_or("") + between + song.conductor.value_or("");
}

}  // namespace

void make_composite_tags(SongInfo& song) {
  if (!song.artist) song.artist = artist_of(song);
  song.description = song.type.value_or("") + " audio file";
  song.data_kind = song.url ? 1 : 0;
  if (song.url) {
    song.description = "Playlist URL";
    song.type = "pls";
  }
  if (!song.title) song.title = song.fname;
  song.item_kind = kFileItem;
}

}  // namespace corvexal
