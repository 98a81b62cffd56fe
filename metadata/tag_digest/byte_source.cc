// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/tag_digest/byte_source.h"

#include <algorithm>

namespace corvexal {

std::string ByteSource::take(std::uint64_t size, std::size_t wanted) {
  wanted = static_cast<std::size_t>(std::min<std::uint64_t>(size, wanted));
  std::string bytes = read(wanted);
  skip(size - wanted);
  return bytes;
}

FileRange::FileRange(FileWindow& file, std::uint64_t begin, std::uint64_t end)
    : file_(&file), at_(std::min(begin, file.file_size())), end_(std::clamp(end, at_, file.file_size())) {}

std::string FileRange::read(std::size_t count) {
  std::string bytes = peek(0, count);
  at_ += bytes.size();
  return bytes;
}

void FileRange::skip(std::uint64_t count) {
  at_ += std::min(count, left());
}

FileRange FileRange::next(std::uint64_t size) {
  FileRange range(*file_, at_, at_ + std::min(size, left()));
  skip(size);
  return range;
}

std::string FileRange::peek(std::uint64_t distance, std::size_t count) const {
  std::string bytes;
  if (distance >= left()) return bytes;
  count = static_cast<std::size_t>(std::min<std::uint64_t>(count, left() - distance));
  while (bytes.size() < count) {
    const Bytes piece =
        file_->at(at_ + distance + bytes.size(), std::min(count - bytes.size(), FileWindow::kSize));
    if (piece.empty()) break;
    bytes.append(piece.begin(), piece.end());
  }
  return bytes;
}

std::uint64_t big_endian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (const char byte : bytes) value = value << 8 | static_cast<unsigned char>(byte);
  return value;
}

std::uint64_t little_endian(std::string_view bytes) {
  std::uint64_t value = 0;
  for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte)
    value = value << 8 | static_cast<unsigned char>(*byte);
  return value;
}

std::string big_endian_bytes(std::uint64_t value, int size) {
  std::string bytes;
  while (size-- > 0) bytes += static_cast<char>(value >> 8 * size);
  return bytes;
}

std::string little_endian_bytes(std::uint64_t value, int size) {
  const std::string bytes = big_endian_bytes(value, size);
  return {bytes.rbegin(), bytes.rend()};
}

}  // namespace corvexal
