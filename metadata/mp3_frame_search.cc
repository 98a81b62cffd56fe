#include "metadata/mp3_frame_search.h"

#include <cinttypes>

#include "base/log.h"
#include "metadata/reader_log.h"
#include "metadata/xing_header.h"

namespace corvexal {
namespace {

constexpr std::size_t kLastIndex = 974;  // of a block: the last whose Xing header still lies within it
constexpr std::size_t kId3HeaderSize = 10;

// Whether a frame of the stream begins at the index; `info` is its header then.
NextFrame judge(const std::string& path, Mp3Block& block, std::size_t index, Mp3FrameInfo& info) {
  if (mp3_decode_header(block.header(index), info) != 0) return NextFrame::none;
  err_log(kVerbose, kReaders, "valid header at %zu\n", index);
  if (has_xing_header(block.bytes(), index, info)) return NextFrame::found;

  const std::uint64_t at = block.offset() + index;
  err_log(kVerbose, kReaders, "Found valid frame at %04" PRIx64 "\n", at);
  err_log(kVerbose, kReaders, "Checking at %04" PRIx64 "\n",
          at + static_cast<std::uint64_t>(info.frame_length));
  const NextFrame next = block.after_frame(index, info);
  if (next == NextFrame::unreadable)
    err_log(kStreamFailure, kReaders, "Could not read frame header: %s\n", path.c_str());
  if (next == NextFrame::none) err_log(kVerbose, kReaders, "Didn't pan out.\n");
  return next;
}

// Looks for a frame that begins at an index from 0 to `last`. Without one, frame.index comes after `last`.
NextFrame search_block(const std::string& path, Mp3Block& block, std::size_t last, FirstFrame& frame) {
  for (frame.index = 0; frame.index <= last; ++frame.index) {
    frame.index = block.next_sync(frame.index, last);
    const NextFrame judged = judge(path, block, frame.index, frame.info);
    if (judged != NextFrame::none) return judged;
  }
  return NextFrame::none;
}

// The size of the whole ID3v2 tag that the file begins with. Size bytes are joined seven bits apart with
// their top bits left in, so the result may lie anywhere; it is only where the search is tried first.
std::optional<std::uint64_t> id3_tag_size(const Mp3Block& first) {
  const auto& b = first.bytes();
  if (b[0] != 'I' || b[1] != 'D' || b[2] != '3') return std::nullopt;
  const std::int32_t size = b[6] << 21 | b[7] << 14 | b[8] << 7 | b[9];
  err_log(kVerbose, kReaders, "Found ID3 header\n");
  err_log(kVerbose, kReaders, "Header length: %d\n", size);
  return static_cast<std::uint64_t>(size) + kId3HeaderSize;
}

// How many blocks from `offset` on, `step` bytes apart, lie wholly in a hole of the file, where no frame is.
std::uint64_t blocks_in_hole(const Mp3Block& block, std::uint64_t offset, std::uint64_t step) {
  const std::uint64_t end = block.next_data(offset), size = block.bytes().size();
  return end < offset + size ? 0 : (end - offset - size) / step + 1;
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
    const NextFrame result = search_block(path, block, after_tag ? 0 : kLastIndex, frame);
    if (result == NextFrame::unreadable) return std::nullopt;
    if (result == NextFrame::found) {
      frame.info.first_frame_offset = offset + frame.index;
      return frame;
    }
    if (after_tag) {
      err_log(kVerbose, kReaders, "Bad header... dropping back for full frame search\n");
      after_tag = false;
      offset = 0;
    } else {
      err_log(kVerbose, kReaders, "Block exhausted\n");
      offset += frame.index;
      offset += blocks_in_hole(block, offset, frame.index) * frame.index;
    }
  }
}

}  // namespace corvexal
