// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mpeg_headers.h"

#include <array>
#include <cstdio>

namespace corvexal {
namespace {

constexpr std::size_t kSmallestBlock = kStartCodeSize + 1;
constexpr std::uint64_t kLeastSearched = 102400, kSearchedPart = 120;

enum class Stage { sequence, first_extension, second_extension, group };

Stage stage_of(const MpegHeaders& headers) {
  if (!headers.sequence) return Stage::sequence;
  if (headers.version == 0) return Stage::first_extension;
  if (headers.first_extension && !headers.second_extension) return Stage::second_extension;
  return Stage::group;
}

bool looks_for(Stage stage, std::uint8_t code) {
  if (stage == Stage::sequence) return code == kSequenceHeader;
  if (stage == Stage::group) return code == kGroupOfPictures;
  return true;
}

// Notes a start code that the stage looks for; true when it is the one to stop at.
bool note(Stage stage, std::uint8_t code, std::uint64_t offset, MpegHeaders& headers) {
  if (stage == Stage::sequence) {
    headers.sequence = offset;
    return true;
  }
  if (stage == Stage::first_extension) {
    // Whatever follows the sequence header tells MPEG-1, until an extension in the same block says otherwise.
    headers.version = code == kExtension ? 2 : 1;
    if (code == kExtension) headers.first_extension = offset;
  }
  if (stage == Stage::second_extension && code == kExtension) headers.second_extension = offset;
  if (code == kGroupOfPictures) headers.group = offset;
  return code == kExtension || code == kGroupOfPictures;
}

// Scans a block of more than four bytes, which begins at `offset` of the file, up to what its stage is to
// stop at. Returns the index to go on from: after that start code, or at the last four bytes, which the next
// block begins with.
std::size_t scan_block(Bytes block, std::uint64_t offset, MpegHeaders& headers) {
  const Stage stage = stage_of(headers);
  std::size_t i = 0;
  while (i < block.size() - kStartCodeSize) {
    const std::optional<std::uint8_t> code = start_code(block.subspan(i));
    if (!code || !looks_for(stage, *code)) {
      ++i;
      continue;
    }
    const bool found = note(stage, *code, offset + i, headers);
    i += kStartCodeSize;
    if (found) break;
  }
  return i;
}

}  // namespace

bool find_mpeg_headers(File& file, const std::string& path, MpegHeaders& headers) {
  std::array<std::uint8_t, kMpegBlockSize> block{};
  for (std::uint64_t offset = 0;;) {
    const std::size_t size = file.read_at(offset, block);
    if (size < kSmallestBlock) {  // bytes that came before a read failed are scanned first
      std::printf("\nEnd of file%d(%s)\n", size == 0 && file.failed() ? 1 : 2, path.c_str());
      return false;
    }
    const std::size_t scanned = scan_block(Bytes(block).first(size), offset, headers);
    if (headers.group) return true;
    if (offset > file.size() / kSearchedPart && offset > kLeastSearched) {
      std::puts("find hdr terminated!");
      return false;
    }
    offset = file.last_in_hole(offset + scanned, block.size(), block.size() - kStartCodeSize);
  }
}

}  // namespace corvexal
