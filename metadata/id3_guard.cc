// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/id3_guard.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "metadata/id3_frames.h"
#include "metadata/id3_memory.h"

namespace corvexal {
namespace {

// What reading all tags of a file may cost, in bytes of memory.
constexpr std::uint64_t kMostMemory = 48U << 20, kMostBuilt = 22U << 20;

constexpr std::size_t kId3v1Size = 128;

class TagWalk {
 public:
  explicit TagWalk(File& file) : file_(file) {}

  // Walks the tag at `offset`, if there is one. False when it is too much.
  bool tag_at(std::uint64_t offset) {
    const auto header = header_at(offset, "ID3");
    if (!header) return true;
    const std::uint64_t rest = file_.size() - offset - kId3HeaderSize;
    const std::uint64_t copies = header->is_unsynchronised() ? 2 : 1;
    if (!spend({copies * std::min<std::uint64_t>(header->size, rest), 0})) return false;
    if (header->size > rest) return true;  // the library reads the rest and gives the tag up
    std::vector<std::uint8_t> body(header->size);
    body.resize(file_.read_at(offset + kId3HeaderSize, body));
    if (header->is_unsynchronised()) undo_unsynchronisation(body);
    Id3Frame frame;
    for (Id3Frames frames(*header, body); frames.next(frame);)
      if (frame.id == "SEEK" || !spend(id3_frame_memory(frame))) return false;
    return true;
  }

  // The same for the tag before a footer that ends at `end`.
  bool tag_before(std::uint64_t end) {
    if (end < kId3HeaderSize) return true;
    const auto footer = header_at(end - kId3HeaderSize, "3DI");
    if (!footer || footer->size + 2 * kId3HeaderSize > end) return true;
    return tag_at(end - footer->size - 2 * kId3HeaderSize);
  }

 private:
  std::optional<Id3Header> header_at(std::uint64_t offset, std::string_view mark) {
    std::array<std::uint8_t, kId3HeaderSize> bytes{};
    return id3_header(Bytes(bytes).first(file_.read_at(offset, bytes)), mark);
  }

  bool spend(const Id3FrameMemory& memory) {
    copied_ += memory.copied;
    built_ += memory.built;
    return built_ <= kMostBuilt && copied_ + built_ <= kMostMemory;
  }

  File& file_;
  std::uint64_t copied_ = 0, built_ = 0;
};

}  // namespace

bool id3_tags_are_bounded(File& file) {
  TagWalk walk(file);
  const std::uint64_t end = file.size();
  if (!walk.tag_at(0) || !walk.tag_before(end)) return false;
  if (end <= kId3v1Size) return true;
  // Where an ID3v1 tag belongs the library takes any other, too, and looks for a footer before it.
  return walk.tag_at(end - kId3v1Size) && walk.tag_before(end - kId3v1Size);
}

}  // namespace corvexal
