// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/xing_header.h"

#include <cstdint>
#include <string_view>

#include "base/log.h"
#include "base/text.h"
#include "metadata/reader_log.h"

namespace corvexal {
namespace {

constexpr std::string_view kName = "XING";

Bytes xing_header(Bytes bytes, std::size_t index, std::int32_t side_info_size) {
  return bytes.subspan(index + kMp3HeaderSize + static_cast<std::size_t>(side_info_size));
}

}  // namespace

bool has_xing_header(Bytes bytes, std::size_t index, std::int32_t side_info_size) {
  const Bytes name = xing_header(bytes, index, side_info_size).first(kName.size());
  return equal_ignoring_case({reinterpret_cast<const char*>(name.data()), name.size()}, kName);
}

void read_xing_header(Bytes bytes, std::size_t index, Mp3FrameInfo& info) {
  if (!has_xing_header(bytes, index, info.side_info_size)) return;
  err_log(kVerbose, kReaders, "Found Xing header\n");
  ByteReader in(xing_header(bytes, index, info.side_info_size).subspan(kName.size()));
  std::uint16_t flags = 0, frames = 0;
  if (!in.skip(2) || !in.be16(flags)) return;
  err_log(kVerbose, kReaders, "Xing Flags: %02X\n", flags);
  if ((flags & 1) != 0 && in.skip(2) && in.be16(frames)) info.xing_frames = frames;
}

}  // namespace corvexal
