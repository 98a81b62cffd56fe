#include "metadata/mp3_stream.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cinttypes>
#include <cstring>
#include <limits>
#include <optional>
#include <string_view>

#include "base/byte_reader.h"
#include "base/log.h"
#include "base/saturate.h"
#include "base/text.h"

namespace corvexal {
namespace {

constexpr int kStreamError = 1, kOpenError = 2, kVerbose = 9;  // levels of the log
constexpr std::uint32_t kReaders = 8;                          // its category

constexpr std::size_t kBlockSize = 1024;
constexpr std::size_t kLastIndex = 974;  // the last one whose Xing header still lies within the block

constexpr std::size_t kMiddleSize = 2900;
constexpr std::size_t kMiddleEnd = kMiddleSize - kMp3HeaderSize;
constexpr int kAveragedFrames = 10;

constexpr std::size_t kId3HeaderSize = 10;
constexpr std::string_view kXing = "XING";

using HeaderCopy = std::array<std::uint8_t, kMp3HeaderSize>;

enum class Finding { frame, none, unreadable };

// A stretch of the file that is at hand, and what lies behind it as far as a frame that begins in it can
// reach. That is read once, when it is first asked for: a file full of false syncs costs one read for it, not
// one for each of them.
template <std::size_t size>
class Stretch {
 public:
  explicit Stretch(File& file) : file_(file) {}

  // Moves to `offset`. False when the file does not hold the whole stretch.
  bool read(std::uint64_t offset) {
    offset_ = offset;
    behind_size_.reset();
    return file_.read_at(offset, bytes_) == size;
  }

  [[nodiscard]] std::uint64_t offset() const { return offset_; }
  [[nodiscard]] std::uint64_t next_data(std::uint64_t offset) const { return file_.next_data(offset); }
  [[nodiscard]] const std::array<std::uint8_t, size>& bytes() const { return bytes_; }
  [[nodiscard]] Mp3HeaderBytes header(std::size_t index) const {
    return Bytes(bytes_).subspan(index).template first<kMp3HeaderSize>();
  }

  // The index of the first 0xFF from `index` on, or `last`.
  [[nodiscard]] std::size_t next_sync(std::size_t index, std::size_t last) const {
    const auto* const sync = std::find(bytes_.begin() + index, bytes_.begin() + last, 0xFF);
    return static_cast<std::size_t>(sync - bytes_.begin());
  }

  // Copies the four bytes at an index that may lie behind the stretch. False when the file ends before.
  bool copy_header(std::uint64_t index, HeaderCopy& copy) {
    if (index < kBehindFrom) {
      std::ranges::copy(header(static_cast<std::size_t>(index)), copy.begin());
      return true;
    }
    const std::uint64_t behind = index - kBehindFrom;
    if (behind > behind_.size() - kMp3HeaderSize) return file_.read_at(offset_ + index, copy) == copy.size();
    if (!behind_size_) behind_size_ = file_.read_at(offset_ + kBehindFrom, behind_);
    if (behind + kMp3HeaderSize > *behind_size_) return false;
    std::copy_n(behind_.begin() + behind, copy.size(), copy.begin());
    return true;
  }

  // What stands where a frame of the given length ends.
  Finding look_behind_frame(std::size_t index, std::int32_t length) {
    HeaderCopy copy{};
    if (!copy_header(index + static_cast<std::uint64_t>(length), copy)) return Finding::unreadable;
    Mp3FrameInfo ignored;
    return mp3_decode_header(copy, ignored) == 0 ? Finding::frame : Finding::none;
  }

 private:
  static constexpr std::size_t kBehindFrom =
      size - kMp3HeaderSize + 1;  // first index of a header not at hand

  File& file_;
  std::uint64_t offset_ = 0;
  std::array<std::uint8_t, size> bytes_{};
  std::array<std::uint8_t, kMp3LongestFrame + kMp3HeaderSize - 1> behind_{};
  std::optional<std::size_t> behind_size_;  // what the file holds of it
};
using Block = Stretch<kBlockSize>;

// Where a Xing header of the frame at `index` says its name.
std::size_t xing_index(std::size_t index, const Mp3FrameInfo& info) {
  return index + kMp3HeaderSize + static_cast<std::size_t>(info.side_info_size);
}

bool has_xing_header(const Block& block, std::size_t index, const Mp3FrameInfo& info) {
  const auto name = Bytes(block.bytes()).subspan(xing_index(index, info), kXing.size());
  return equal_ignoring_case(std::string(name.begin(), name.end()), kXing);
}

// Xing header: name | 4 flags | 8 number of frames, when flag 1 is set | further fields; big-endian words.
// Only the low half of either word counts: readers of the stores know songs of more than 65535 frames by
// their wrapped length.
void read_xing_header(const Block& block, std::size_t index, Mp3FrameInfo& info) {
  if (!has_xing_header(block, index, info)) return;
  err_log(kVerbose, kReaders, "Found Xing header\n");
  ByteReader in(Bytes(block.bytes()).subspan(xing_index(index, info) + kXing.size()));
  std::uint16_t flags = 0, frames = 0;
  if (!in.skip(2) || !in.be16(flags)) return;
  err_log(kVerbose, kReaders, "Xing Flags: %02X\n", flags);
  if ((flags & 1) != 0 && in.skip(2) && in.be16(frames)) info.xing_frames = frames;
}

Finding judge(const char* path, Block& block, std::size_t index) {
  Mp3FrameInfo info;
  if (mp3_decode_header(block.header(index), info) != 0) return Finding::none;
  err_log(kVerbose, kReaders, "valid header at %zu\n", index);
  if (has_xing_header(block, index, info)) return Finding::frame;

  const std::uint64_t at = block.offset() + index;
  err_log(kVerbose, kReaders, "Found valid frame at %04" PRIx64 "\n", at);
  err_log(kVerbose, kReaders, "Checking at %04" PRIx64 "\n",
          at + static_cast<std::uint64_t>(info.frame_length));
  const Finding finding = block.look_behind_frame(index, info.frame_length);
  if (finding == Finding::unreadable)
    err_log(kStreamError, kReaders, "Could not read frame header: %s\n", path);
  if (finding == Finding::none) err_log(kVerbose, kReaders, "Didn't pan out.\n");
  return finding;
}

// Looks for a frame that begins at an index from 0 to `last`. Leaves `index` on it, or behind `last`.
Finding search_block(const char* path, Block& block, std::size_t last, std::size_t& index) {
  for (index = 0; index <= last; ++index) {
    index = block.next_sync(index, last);
    const Finding finding = judge(path, block, index);
    if (finding != Finding::none) return finding;
  }
  return Finding::none;
}

// The size of the whole ID3v2 tag that the file begins with. Size bytes are joined seven bits apart with
// their top bits left in, so the result may lie anywhere; it is only where the search is tried first.
std::optional<std::uint64_t> id3_tag_size(const Block& first) {
  const auto& b = first.bytes();
  if (b[0] != 'I' || b[1] != 'D' || b[2] != '3') return std::nullopt;
  const std::int32_t size = b[6] << 21 | b[7] << 14 | b[8] << 7 | b[9];
  err_log(kVerbose, kReaders, "Found ID3 header\n");
  err_log(kVerbose, kReaders, "Header length: %d\n", size);
  return static_cast<std::uint64_t>(size) + kId3HeaderSize;
}

// How many blocks from `offset` on, `step` bytes apart, lie wholly in a hole of the file, where no frame is.
std::uint64_t blocks_in_hole(const Block& block, std::uint64_t offset, std::uint64_t step) {
  const std::uint64_t end = block.next_data(offset);
  return end < offset + kBlockSize ? 0 : (end - offset - kBlockSize) / step + 1;
}

// Walks through the file block by block, `block` being its first one. Returns the index in `block`, now the
// frame's own, of the first frame; nothing when the file ends before.
std::optional<std::size_t> find_first_frame(const char* path, Block& block) {
  const std::optional<std::uint64_t> tag_size = id3_tag_size(block);
  bool behind_tag = tag_size.has_value();  // the frame has to stand right there, or the search starts over
  std::uint64_t offset = tag_size.value_or(0);
  for (;;) {
    err_log(kVerbose, kReaders, "Reading in new block at %" PRIu64 "\n", offset);
    if (!block.read(offset)) {
      err_log(kStreamError, kReaders, "Short read: %s\n", path);
      return std::nullopt;
    }
    std::size_t index = 0;
    const Finding finding = search_block(path, block, behind_tag ? 0 : kLastIndex, index);
    if (finding == Finding::frame) return index;
    if (finding == Finding::unreadable) return std::nullopt;
    if (behind_tag) {
      err_log(kVerbose, kReaders, "Bad header... dropping back for full frame search\n");
      behind_tag = false;
      offset = 0;
    } else {
      err_log(kVerbose, kReaders, "Block exhausted\n");
      offset += index;
      offset += blocks_in_hole(block, offset, index) * index;
    }
  }
}

void log_frame(const Mp3FrameInfo& info) {
  err_log(kVerbose, kReaders, " MPEG Version: %0.1g\n", info.version);
  err_log(kVerbose, kReaders, " Layer: %d\n", info.layer);
  err_log(kVerbose, kReaders, " Sample Rate: %d\n", info.samplerate);
  err_log(kVerbose, kReaders, " Bit Rate: %d\n", info.bitrate);
}

std::int32_t length_ms(const Mp3FrameInfo& info, std::uint64_t file_size) {
  const double bytes = static_cast<double>(file_size) - static_cast<double>(info.first_frame_offset);
  const double length = info.xing_frames != 0
                            ? info.xing_frames * info.samples_per_frame * 1000.0 / info.samplerate
                            : bytes * 8.0 / info.bitrate;
  using Limits = std::numeric_limits<std::int32_t>;
  return static_cast<std::int32_t>(std::clamp<double>(length, Limits::min(), Limits::max()));
}

// Index of the first frame of the stretch, when another frame follows it.
std::optional<std::size_t> find_middle_frame(Stretch<kMiddleSize>& middle) {
  for (std::size_t index = 0;; ++index) {
    index = middle.next_sync(index, kMiddleEnd);
    if (index >= kMiddleEnd) {
      err_log(kVerbose, kReaders, "Could not find frame... quitting\n");
      return std::nullopt;
    }
    Mp3FrameInfo info;
    if (mp3_decode_header(middle.header(index), info) != 0) continue;
    const Finding finding = middle.look_behind_frame(index, info.frame_length);
    if (finding == Finding::frame) return index;
    if (finding == Finding::unreadable) {
      err_log(kVerbose, kReaders, "Could not read frame header\n");
      return std::nullopt;
    }
  }
}

}  // namespace

void mp3_average_bitrate(File& file, Mp3FrameInfo& info) {
  err_log(kVerbose, kReaders, "Starting averaging bitrate\n");
  Stretch<kMiddleSize> middle(file);
  if (!middle.read(file.size() / 2)) return;
  const std::optional<std::size_t> first = find_middle_frame(middle);
  if (!first) return;

  std::int32_t sum = 0;
  std::uint64_t index = *first;
  for (int i = 0; i < kAveragedFrames; ++i) {
    HeaderCopy header{};
    if (!middle.copy_header(index, header)) {
      err_log(kVerbose, kReaders, "Could not read frame header\n");
      return;
    }
    Mp3FrameInfo frame;
    if (mp3_decode_header(header, frame) != 0) {
      err_log(kVerbose, kReaders, "Invalid frame header while averaging\n");
      return;
    }
    sum += frame.bitrate;
    index += static_cast<std::uint64_t>(frame.frame_length);
  }
  err_log(kVerbose, kReaders, "Old bitrate: %d\n", info.bitrate);
  info.bitrate = sum / kAveragedFrames;
  err_log(kVerbose, kReaders, "New bitrate: %d\n", info.bitrate);
}

int scan_get_mp3fileinfo(const std::string& path, SongInfo& song) {
  File file(path);
  if (!file) {
    err_log(kOpenError, kReaders, "Could not open %s for reading\n", path.c_str());
    return -1;
  }
  song.file_size = saturated(file.size());

  Block block(file);
  if (!block.read(0)) {
    if (file.failed())
      err_log(kStreamError, kReaders, "Error reading: %s\n", std::strerror(errno));
    else
      err_log(kStreamError, kReaders, "Short file: %s\n", path.c_str());
    return -1;
  }
  const std::optional<std::size_t> index = find_first_frame(path.c_str(), block);
  if (!index) return 0;

  Mp3FrameInfo info;
  info.first_frame_offset = block.offset() + *index;
  // The same bytes decoded before. Should the two ever differ, the log says what users of the device know.
  if (mp3_decode_header(block.header(*index), info) != 0) {
    err_log(kStreamError, kReaders, "Could not find sync frame: %s\n", path.c_str());
    err_log(kStreamError, kReaders,
            "If this is a valid mp3 file that plays in other applications, please email me at "
            "the address of this system's developers and report the file\n");
    return 0;
  }
  log_frame(info);
  read_xing_header(block, *index, info);
  mp3_average_bitrate(file, info);

  song.bitrate = info.bitrate;
  song.samplerate = info.samplerate;
  if (song.song_length == 0) song.song_length = length_ms(info, file.size());
  err_log(kVerbose, kReaders, " Song Length: %d\n", song.song_length);
  return 0;
}

}  // namespace corvexal
