// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "metadata/file_window.h"

namespace corvexal {

// Bytes that are looked at once, from front to back, and never held as a whole.
class ByteSource {
 public:
  ByteSource() = default;
  virtual ~ByteSource() = default;
  ByteSource(const ByteSource&) = default;
  ByteSource& operator=(const ByteSource&) = default;

  // The next `count` bytes, fewer where the source ends.
  [[nodiscard]] virtual std::string read(std::size_t count) = 0;
  virtual void skip(std::uint64_t count) = 0;

  // Passes over the next `size` bytes and returns the first of them, at most `wanted`.
  [[nodiscard]] std::string take(std::uint64_t size, std::size_t wanted);
};

// A range of a file. What a range says of its end is never trusted further than the file goes.
class FileRange final : public ByteSource {
 public:
  FileRange(FileWindow& file, std::uint64_t begin, std::uint64_t end);

  std::string read(std::size_t count) override;
  void skip(std::uint64_t count) override;

  [[nodiscard]] std::uint64_t position() const { return at_; }
  [[nodiscard]] std::uint64_t left() const { return end_ - at_; }

  // The range of the next `size` bytes, which are passed over.
  [[nodiscard]] FileRange next(std::uint64_t size);

  // Up to `count` bytes, `distance` further on, without moving.
  [[nodiscard]] std::string peek(std::uint64_t distance, std::size_t count) const;

 private:
  FileWindow* file_;
  std::uint64_t at_;
  std::uint64_t end_;
};

// The number that the bytes, at most 8, hold.
[[nodiscard]] std::uint64_t big_endian(std::string_view bytes);
[[nodiscard]] std::uint64_t little_endian(std::string_view bytes);

// The lowest `size` bytes of a number.
[[nodiscard]] std::string big_endian_bytes(std::uint64_t value, int size);
[[nodiscard]] std::string little_endian_bytes(std::uint64_t value, int size);

}  // namespace corvexal
