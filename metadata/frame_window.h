#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "base/file.h"
#include "metadata/mp3_header.h"

namespace corvexal {

enum class NextFrame { found, none, unreadable };

// `size` bytes of a file at hand, and after them what a frame that begins there can reach. The latter is read
// once, when it is first asked for: a file full of false syncs costs one read for it, not one for each.
template <std::size_t size>
class FrameWindow {
 public:
  explicit FrameWindow(File& file) : file_(file) {}

  // Moves to `offset`. False when the file does not hold all of the window.
  bool read(std::uint64_t offset) {
    offset_ = offset;
    reach_size_.reset();
    return file_.read_at(offset, bytes_) == size;
  }

  [[nodiscard]] std::uint64_t offset() const { return offset_; }
  [[nodiscard]] std::uint64_t next_data(std::uint64_t offset) const { return file_.next_data(offset); }
  [[nodiscard]] const std::array<std::uint8_t, size>& bytes() const { return bytes_; }
  [[nodiscard]] Mp3HeaderBytes header(std::size_t index) const {
    return std::span(bytes_).subspan(index).template first<kMp3HeaderSize>();
  }

  // The index of the first 0xFF from `index` on, or `last`.
  [[nodiscard]] std::size_t next_sync(std::size_t index, std::size_t last) const {
    const auto* const sync = std::find(bytes_.begin() + index, bytes_.begin() + last, 0xFF);
    return static_cast<std::size_t>(sync - bytes_.begin());
  }

  // Decodes the header at an index that may lie outside the window: NextFrame::none when it is not valid.
  NextFrame decode(std::uint64_t index, Mp3FrameInfo& info) {
    std::array<std::uint8_t, kMp3HeaderSize> copy{};
    if (!copy_header(index, copy)) return NextFrame::unreadable;
    return mp3_decode_header(copy, info) == 0 ? NextFrame::found : NextFrame::none;
  }

  // What stands where the frame at `index` ends.
  NextFrame after_frame(std::size_t index, const Mp3FrameInfo& frame) {
    Mp3FrameInfo next;
    return decode(index + static_cast<std::uint64_t>(frame.frame_length), next);
  }

 private:
  static constexpr std::size_t kReachFrom = size - kMp3HeaderSize + 1;  // first header not wholly at hand

  bool copy_header(std::uint64_t index, std::span<std::uint8_t, kMp3HeaderSize> copy) {
    if (index < kReachFrom) {
      std::ranges::copy(header(static_cast<std::size_t>(index)), copy.begin());
      return true;
    }
    const std::uint64_t at = index - kReachFrom;
    if (at > reach_.size() - kMp3HeaderSize) return file_.read_at(offset_ + index, copy) == copy.size();
    if (!reach_size_) reach_size_ = file_.read_at(offset_ + kReachFrom, reach_);
    if (at + kMp3HeaderSize > *reach_size_) return false;
    std::copy_n(reach_.begin() + at, copy.size(), copy.begin());
    return true;
  }

  File& file_;
  std::uint64_t offset_ = 0;
  std::array<std::uint8_t, size> bytes_{};
  std::array<std::uint8_t, kMp3LongestFrame + kMp3HeaderSize - 1> reach_{};
  std::optional<std::size_t> reach_size_;  // what the file holds of it
};

}  // namespace corvexal
