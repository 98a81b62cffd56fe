// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "base/byte_reader.h"
#include "base/file.h"

namespace corvexal {

inline constexpr std::size_t kMpegBlockSize = 4096;  // bytes read at a time

// A start code: 00 00 01 and a byte that says what follows.
inline constexpr std::size_t kStartCodeSize = 4;
inline constexpr std::uint8_t kSequenceHeader = 0xB3, kExtension = 0xB5, kGroupOfPictures = 0xB8;
inline constexpr std::size_t kGroupSize = 8;  // a group-of-pictures header: start code and time code

// The byte that says what follows, when `bytes`, at least four, begin with a start code.
[[nodiscard]] inline std::optional<std::uint8_t> start_code(Bytes bytes) {
  if (bytes[0] != 0 || bytes[1] != 0 || bytes[2] != 1) return std::nullopt;
  return bytes[3];
}

// Where the headers of a video begin: offsets of their start codes in the file.
struct MpegHeaders {
  std::optional<std::uint64_t> sequence, first_extension, second_extension, group;
  std::int32_t version = 0;  // 1 or 2; 0 while unknown
};

// Looks for the headers, in the first 100 KB or the first 120th of the file, whichever is more. False, after a
// line on stdout, when no group of pictures was found there, or before the file ended or could not be read;
// `headers` then holds what was found. With a group there are a sequence and a version.
[[nodiscard]] bool find_mpeg_headers(File& file, const std::string& path, MpegHeaders& headers);

}  // namespace corvexal
