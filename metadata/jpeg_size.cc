// SPDX-License-Identifier: GPL-3.0-or-later
#include <optional>

#include "metadata/image_readers.h"

namespace corvexal {
namespace {

// Frame header of three components (ITU-T T.81):
//   0 marker FF C0 (baseline) or FF C2 (progressive) | 2 segment length 00 11 | 4 sample precision
//   5 height | 7 width | 9 number of components
constexpr std::size_t kFrameSize = 10;
enum class Frame : std::uint8_t { kBaseline = 0xC0, kProgressive = 0xC2 };

// Of bytes that begin with FF.
std::optional<Frame> frame_at(Bytes bytes) {
  if (bytes[2] != 0 || bytes[3] != 17) return std::nullopt;
  const auto frame = static_cast<Frame>(bytes[1]);
  if (frame != Frame::kBaseline && frame != Frame::kProgressive) return std::nullopt;
  return frame;
}

void parse_frame(Bytes bytes, ImageProbe& probe) {
  probe.height = as_field(number(bytes.subspan(5, 2), std::endian::big));
  probe.width = as_field(number(bytes.subspan(7, 2), std::endian::big));
  probe.color_depth = bytes[9] * 8;
}

// Parses the frames that begin in the piece and lie in it wholly; true when no later one counts.
bool parse_frames(Bytes piece, ImageProbe& probe) {
  const auto marker_from = [&](std::size_t at) { return at + bytes_before(piece.subspan(at), 0xFF); };
  for (std::size_t at = marker_from(0); at + kFrameSize <= piece.size(); at = marker_from(at + 1)) {
    const std::optional<Frame> frame = frame_at(piece.subspan(at, kFrameSize));
    if (!frame) continue;
    parse_frame(piece.subspan(at), probe);
    if (*frame == Frame::kProgressive) return true;
  }
  return false;
}

}  // namespace

// Every byte position of the file is looked at, not only those where a segment begins: clients of the
// catalogue rely on the last baseline frame of the file, thumbnails included, or the first progressive one. A
// frame header cut off by the end of the file is none.
void read_jpeg(FileWindow& file, ImageProbe& probe) {
  constexpr std::size_t kPositions = FileWindow::kSize - (kFrameSize - 1);
  for (std::uint64_t at = 0;; at += kPositions) {
    at = file.file().next_data(at);  // a hole holds no marker
    const Bytes piece = file.at(at, FileWindow::kSize);
    if (piece.size() < kFrameSize || parse_frames(piece, probe)) return;
  }
}

}  // namespace corvexal
