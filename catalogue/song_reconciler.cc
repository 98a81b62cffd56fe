// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/song_reconciler.h"

#include <algorithm>

#include "base/log.h"
#include "catalogue/last_sync.h"
#include "songdb/update.h"

namespace corvexal {

void SongReconciler::open_to_read() {
  SongStore& songs = session_.songs;
  const std::string& mount_path = session_.config.mntpath;
  state_when_opened_ = song_store_state(session_);
  if (!songs.open_to_read(mount_path) || task_.preview || !songs.looks_damaged()) return;
  was_disturbed_ = true;
  const bool is_mended = songs.open(mount_path) && songs.close();
  ++(is_mended ? counts_.mended : counts_.failed);
  songs.open_to_read(mount_path);
}

bool SongReconciler::refresh(const std::string& path, const struct stat& status) {
  if (!is_store_song(path.substr(path.rfind('/') + 1))) return false;
  bool would_be_written = false;
  const bool is_written = refresh_song(session_.songs, session_.tags, path, status, [&] {
    // A file's second name shares the record that its first one would have got by now.
    would_be_written = task_.preview && foreseen_.insert(song_id(status)).second;
    return can_write();
  });
  return is_written || would_be_written;
}

void SongReconciler::remove_stale(std::span<const std::uint32_t> known,
                                  const std::function<bool(const std::string& path)>& in_scope) {
  SongStore& songs = session_.songs;
  if (songs.is_damaged() && can_write()) ++counts_.mended;
  const auto stale = songs.keys_of([&](const SongInfo* song) {
    if (song == nullptr) return task_.whole_library;  // damaged, so nobody knows whose it is
    return song->path && in_scope(*song->path) && !std::binary_search(known.begin(), known.end(), song->id);
  });
  counts_.mended += stale.size();
  if (stale.empty() || !can_write()) return;
  for (const SongStore::Key& key : stale) songs.remove(key);
}

void SongReconciler::close() {
  if (!open_) look_for_others();
  if (!session_.songs.close()) ++counts_.failed;
  state_when_closed_ = song_store_state(session_);
  const std::uint32_t refused = session_.songs.songs_refused() - refused_before_;
  if (refused == 0) return;
  counts_.failed += refused;
  error_printf("Corvexal: the song store did not take %u songs, which the log names\n", refused);
}

void SongReconciler::look_for_others() {
  was_disturbed_ = was_disturbed_ || song_store_state(session_) != state_when_opened_;
}

// Opens the store for writing when that is first asked.
bool SongReconciler::can_write() {
  if (task_.preview) return false;
  if (open_) return *open_;
  SongStore& songs = session_.songs;
  const std::uint64_t records = songs.count();
  songs.close();
  look_for_others();
  open_ = songs.open(session_.config.mntpath);
  if (!*open_) ++counts_.failed;  // the store has said why
  lost_any_ = *open_ && songs.count() < records;
  return *open_;
}

}  // namespace corvexal
