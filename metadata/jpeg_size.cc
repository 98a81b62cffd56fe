#include <cstring>
#include <optional>

#include "metadata/image_readers.h"

namespace corvexal {
namespace {

// Frame header of three components (ITU-T T.81):
//   0 marker FF C0 (baseline) or FF C2 (progressive) | 2 segment length 00 11 | 4 sample precision
//   5 height | 7 width | 9 number of components
constexpr std::size_t kFrameSize = 10;
enum class Frame : std::uint8_t { kBaseline = 0xC0, kProgressive = 0xC2 };

std::optional<Frame> frame_at(Bytes bytes) {
  if (bytes[0] != 0xFF || bytes[2] != 0 || bytes[3] != 17) return std::nullopt;
  const auto frame = static_cast<Frame>(bytes[1]);
  if (frame != Frame::kBaseline && frame != Frame::kProgressive) return std::nullopt;
  return frame;
}

void parse_frame(Bytes bytes, ImageProbe& probe) {
  probe.height = as_field(number(bytes.subspan(5, 2), std::endian::big));
  probe.width = as_field(number(bytes.subspan(7, 2), std::endian::big));
  probe.color_depth = bytes[9] * 8;
}

// The piece from its next 0xFF byte on. A photo is mostly other bytes, and memchr passes them several times
// as fast as a look at each position.
Bytes from_next_marker(Bytes piece) {
  const void* marker = std::memchr(piece.data(), 0xFF, piece.size());
  if (marker == nullptr) return {};
  return piece.subspan(static_cast<std::size_t>(static_cast<const std::uint8_t*>(marker) - piece.data()));
}

// Parses the frames that begin in the piece and lie in it wholly; true when no later one counts.
bool parse_frames(Bytes piece, ImageProbe& probe) {
  for (piece = from_next_marker(piece); piece.size() >= kFrameSize;
       piece = from_next_marker(piece.subspan(1))) {
    const std::optional<Frame> frame = frame_at(piece);
    if (!frame) continue;
    parse_frame(piece, probe);
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
    at = file.next_data(at);  // a hole holds no marker
    const Bytes piece = file.at(at, FileWindow::kSize);
    if (piece.size() < kFrameSize || parse_frames(piece, probe)) return;
  }
}

}  // namespace corvexal
