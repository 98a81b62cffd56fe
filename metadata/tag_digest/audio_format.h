// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <string_view>

#include "metadata/file_window.h"

namespace corvexal {

enum class AudioFormat { kUnknown, kMpeg, kMp4, kFlac, kVorbis, kOpus, kAsf, kApe, kWav, kAiff };

// What a music file holds: its format, and the offset at which that begins, after any ID3v2 tags.
struct AudioContent {
  AudioFormat format = AudioFormat::kUnknown;
  std::uint64_t offset = 0;
};

// Looks at the file's first bytes; the extension (without the dot) counts only where they say nothing.
[[nodiscard]] AudioContent probe_audio(FileWindow& file, std::string_view extension);

}  // namespace corvexal
