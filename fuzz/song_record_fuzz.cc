#include <cstdlib>

#include "songdb/record.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const corvexal::Bytes record(data, size);
  corvexal::SongInfo song;
  corvexal::read_stored_song(record, song);
  const auto packed = corvexal::pack_song(song);
  corvexal::SongInfo again;
  if (!packed || !corvexal::is_whole_record(*packed)) std::abort();
  corvexal::read_stored_song(*packed, again);
  if (again.title != (song.title == "" ? corvexal::Text() : song.title) || again.id != song.id) std::abort();
  if (corvexal::record_version(record) == corvexal::kRecordVersion) corvexal::unpack_song(record, song);
  return 0;
}
