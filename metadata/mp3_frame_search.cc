// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp3_frame_search.h"

#include <algorithm>
#include <cinttypes>
#include <string_view>

#include "base/log.h"
#include "metadata/reader_log.h"
#include "metadata/xing_header.h"

namespace corvexal {
namespace {

constexpr std::size_t kLastIndex = 974;  // of a block: the last whose Xing header still lies within it
constexpr std::size_t kStep = kLastIndex + 1;
constexpr std::size_t kId3HeaderSize = 10;

enum class Judgement { frame, none, unreadable };

// Whether a frame of the stream begins at the index, where a valid header stands.
Judgement judge(const std::string& path, const Mp3Block& block, std::size_t index) {
  const Mp3HeaderBytes header = *block.header(index);
  const std::int32_t length = mp3_frame_length(header);
  const bool has_xing = has_xing_header(block.bytes(), index, mp3_side_info_size(header));
  const bool is_told = is_verbose();  // asked once: a file may be full of headers
  if (is_told) err_log(kVerbose, kReaders, "valid header at %zu\n", index);
  if (has_xing) return Judgement::frame;

  const std::uint64_t at = block.offset() + index, next_at = at + static_cast<std::uint64_t>(length);
  if (is_told) err_log(kVerbose, kReaders, "Found valid frame at %04" PRIx64 "\n", at);
  if (is_told) err_log(kVerbose, kReaders, "Checking at %04" PRIx64 "\n", next_at);
  const auto next = block.header(index + static_cast<std::size_t>(length));
  if (!next) {
    err_log(kStreamFailure, kReaders, "Could not read frame header: %s\n", path.c_str());
    return Judgement::unreadable;
  }
  if (mp3_frame_length(*next) != 0) return Judgement::frame;
  if (is_told) err_log(kVerbose, kReaders, "Didn't pan out.\n");
  return Judgement::none;
}

// Looks for a frame that begins at an index from 0 to `last`.
Judgement search_block(const std::string& path, const Mp3Block& block, std::size_t last, FirstFrame& frame) {
  for (auto index = block.next_header(0, last); index; index = block.next_header(*index + 1, last)) {
    const Judgement judged = judge(path, block, *index);
    if (judged == Judgement::frame) frame.index = *index;
    if (judged != Judgement::none) return judged;
  }
  return Judgement::none;
}

// The size of the whole ID3v2 tag that the file begins with. Size bytes are joined seven bits apart with
// their top bits left in, so the result may lie anywhere; it is only where the search is tried first.
std::optional<std::uint64_t> id3_tag_size(const Mp3Block& first) {
  const Bytes b = first.bytes();
  if (!std::ranges::equal(b.first(3), std::string_view("ID3"))) return std::nullopt;
  const std::int32_t size = b[6] << 21 | b[7] << 14 | b[8] << 7 | b[9];
  err_log(kVerbose, kReaders, "Found ID3 header\n");
  err_log(kVerbose, kReaders, "Header length: %d\n", size);
  return static_cast<std::uint64_t>(size) + kId3HeaderSize;
}

}  // namespace

std::optional<FirstFrame> find_first_frame(const std::string& path, Mp3Block& block) {
  const std::optional<std::uint64_t> tag_size = id3_tag_size(block);
  bool after_tag = tag_size.has_value();
  std::uint64_t offset = tag_size.value_or(0);
  for (FirstFrame frame;;) {
    err_log(kVerbose, kReaders, "Reading in new block at %" PRIu64 "\n", offset);
    if (!block.read(offset)) {
      err_log(kStreamFailure, kReaders, "Short read: %s\n", path.c_str());
      return std::nullopt;
    }
    const Judgement result = search_block(path, block, after_tag ? 0 : kLastIndex, frame);
    if (result == Judgement::unreadable) return std::nullopt;
    if (result == Judgement::frame) {
      mp3_decode_header(*block.header(frame.index), frame.info);
      frame.info.first_frame_offset = offset + frame.index;
      return frame;
    }
    if (after_tag) {
      err_log(kVerbose, kReaders, "Bad header... dropping back for full frame search\n");
      after_tag = false;
      offset = 0;
    } else {
      err_log(kVerbose, kReaders, "Block exhausted\n");
      offset = block.file().file().last_in_hole(offset + kStep, Mp3Block::kSize, kStep);
    }
  }
}

}  // namespace corvexal
