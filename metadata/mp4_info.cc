// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/log.h"
#include "base/saturate.h"
#include "metadata/mp4.h"
#include "metadata/mp4_atoms.h"

namespace corvexal {
namespace {

std::int32_t milliseconds(std::uint32_t duration, std::uint32_t time_scale) {
  return time_scale == 0 ? 0 : saturated(std::uint64_t{duration} * 1000 / time_scale);
}

// Of version 0: 0 version and flags | 4 creation time | 8 modification time | 12 time scale | 16 duration.
void parse_movie_header(Bytes body, SongInfo& song) {
  ByteReader in(body);
  std::uint32_t created = 0, modified = 0, time_scale = 0, duration = 0;
  if (!in.skip(4) || !in.be32(created) || !in.be32(modified) || !in.be32(time_scale) || !in.be32(duration))
    return;
  song.time_added = static_cast<std::int32_t>(created);
  song.time_modified = static_cast<std::int32_t>(modified);
  song.song_length = milliseconds(duration, time_scale);
}

// The decoder's greatest bit rate, in kbit/s. It stands at 22 where descriptor lengths take four bytes each.
std::int32_t stream_bitrate(FileWindow& file, const Atom& sample_entry) {
  constexpr std::uint32_t kChildren = kAtomHeaderSize + kSampleEntryFields;
  constexpr std::uint64_t kBitrateAt = 22;
  if (sample_entry.size <= kChildren) return 0;
  const std::uint64_t start = sample_entry.offset + kChildren;
  const auto esds = find_atom(file, start, sample_entry.size - kChildren, "esds");
  if (!esds) return 0;
  // Atoms before esds count twice: clients of the stores rely on the rate that this gives.
  const std::uint64_t before = esds->offset - start;
  std::uint32_t rate = 0;
  return ByteReader(file.at(esds->body() + before + kBitrateAt, sizeof rate)).be32(rate)
             ? static_cast<std::int32_t>(rate / 1000)
             : 0;
}

std::int32_t mean_bitrate(FileWindow& file, std::int32_t song_length) {
  const std::int64_t bytes_at_one_kbit = std::int64_t{song_length} / 1000 * 128;
  if (bytes_at_one_kbit <= 0) return 0;
  const auto data = find_path(file, "mdat");
  return data ? saturated(data->size / static_cast<std::uint64_t>(bytes_at_one_kbit)) : 0;
}

}  // namespace

int mp4_scan_info(const std::string& path, SongInfo& song) {
  FileWindow file(path);
  if (!file) {
    log_printf("Could not open %s for reading\n", path.c_str());
    return -1;
  }
  song.file_size = saturated(file.file_size());
  song.bitrate = 0;
  const auto movie = find_path(file, "moov");
  const std::uint64_t in_movie = movie ? movie->body() : file.file_size();
  if (const auto header = find_path(file, "mvhd", in_movie))
    parse_movie_header(file.at(header->body(), 20), song);
  if (const auto sample_entry = find_path(file, "trak:mdia:minf:stbl:stsd:mp4a", in_movie)) {
    constexpr std::uint64_t kSampleRateAt = 24;
    std::uint16_t rate = 0;
    if (ByteReader(file.at(sample_entry->body() + kSampleRateAt, sizeof rate)).be16(rate))
      song.samplerate = rate;
    song.bitrate = stream_bitrate(file, *sample_entry);
  }
  if (song.bitrate == 0) song.bitrate = mean_bitrate(file, song.song_length);
  return 0;
}

}  // namespace corvexal
