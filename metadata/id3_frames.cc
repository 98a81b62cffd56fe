// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/id3_frames.h"

#include <algorithm>

namespace corvexal {
namespace {

constexpr std::size_t kFrameHeaderSize = 10, kFrameHeaderSize22 = 6;
constexpr std::uint8_t kExtendedHeader = 0x40;

std::string_view as_text(Bytes bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

}  // namespace

std::uint32_t id3_number(Bytes bytes) {
  std::uint32_t value = 0;
  return ByteReader(bytes).be32(value) ? value : 0;
}

std::uint32_t id3_syncsafe_number(Bytes bytes) {
  const std::uint32_t value = id3_number(bytes);
  return (value & 0x7F000000) >> 3 | (value & 0x7F0000) >> 2 | (value & 0x7F00) >> 1 | (value & 0x7F);
}

void undo_unsynchronisation(std::vector<std::uint8_t>& bytes) {
  std::size_t kept = 0;
  std::uint8_t before = 0;
  for (const std::uint8_t byte : bytes) {
    if (before != 0xFF || byte != 0) bytes[kept++] = byte;
    before = byte;
  }
  bytes.resize(kept);
}

std::optional<Id3Header> id3_header(Bytes bytes, std::string_view mark) {
  if (bytes.size() < kId3HeaderSize || !as_text(bytes).starts_with(mark)) return {};
  const Bytes size = bytes.subspan(6);
  const bool is_syncsafe = (id3_number(size) & 0x80808080) == 0;
  if (bytes[3] == 0xFF || bytes[4] == 0xFF || !is_syncsafe) return {};
  return Id3Header{bytes[3], bytes[5], id3_syncsafe_number(size)};
}

Id3Frames::Id3Frames(const Id3Header& header, Bytes body) : version_(header.version), left_(body) {
  if (version_ < 2) left_ = {};
  if (version_ < 3 || (header.flags & kExtendedHeader) == 0) return;
  // Version 2.3 does not count the size itself, 2.4 does.
  const std::uint64_t size =
      version_ == 3 ? std::uint64_t{id3_number(left_)} + 4 : std::max(id3_syncsafe_number(left_), 6U);
  left_ = left_.subspan(static_cast<std::size_t>(std::min<std::uint64_t>(size, left_.size())));
}

bool Id3Frames::next(Id3Frame& frame) {
  const std::size_t header_size = version_ == 2 ? kFrameHeaderSize22 : kFrameHeaderSize;
  if (left_.size() < header_size || left_[0] == 0) return false;
  const std::uint32_t size = body_size();
  if (size > left_.size() - header_size) return false;
  frame.version = version_;
  frame.id = as_text(left_.first(version_ == 2 ? 3 : 4));
  frame.format = version_ == 2 ? 0 : left_[header_size - 1];
  frame.body = left_.subspan(header_size, size);
  left_ = left_.subspan(header_size + size);
  return true;
}

std::uint32_t Id3Frames::body_size() const {
  if (version_ == 2) return id3_number(left_.subspan(2)) & 0xFFFFFF;
  const Bytes size = left_.subspan(4);
  return version_ == 3 ? id3_number(size) : id3_syncsafe_number(size);
}

}  // namespace corvexal
