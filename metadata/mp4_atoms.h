// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "metadata/file_window.h"

// Atoms of MPEG-4 files (ISO/IEC 14496-12): 0 size, which counts these 8 bytes | 4 type, four characters |
// 8 body. Numbers are big-endian. Sizes are never trusted: one below 8, the 64-bit forms included, ends its
// walk, and every walk ends at the end of the file.

namespace corvexal {

inline constexpr std::uint32_t kAtomHeaderSize = 8;
inline constexpr std::uint32_t kSampleEntryFields = 28;  // between the header of an "mp4a" and its children

struct Atom {
  std::uint64_t offset;  // of its header
  std::uint32_t size;    // with its header
  std::string type;

  [[nodiscard]] std::uint64_t body() const { return offset + kAtomHeaderSize; }
};

// The atom whose header stands at an offset; nothing where none fits.
[[nodiscard]] std::optional<Atom> atom_at(FileWindow& file, std::uint64_t offset);

// The first atom of a type, in any case of letters, among the siblings from `start` on. The search ends
// `limit` bytes further on.
[[nodiscard]] std::optional<Atom> find_atom(FileWindow& file, std::uint64_t start, std::uint64_t limit,
                                            std::string_view type);

// The last atom of a path such as "moov:mvhd", whose first one is looked for from `start` on. Each step
// searches on to the end of the file, not only to that of the parent.
[[nodiscard]] std::optional<Atom> find_path(FileWindow& file, std::string_view path, std::uint64_t start = 0);

}  // namespace corvexal
