// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/mp4_atoms.h"

#include "base/text.h"

namespace corvexal {
namespace {

constexpr std::size_t kTypeSize = 4;

// What stands between an atom's header and its children.
std::uint32_t fields_before_children(std::string_view type) {
  struct Container {
    std::string_view type;
    std::uint32_t fields;
  };
  static constexpr Container kContainers[] = {
      {"meta", 4},  // version and flags
      {"stsd", 8},  // version and flags, entry count
      {"mp4a", kSampleEntryFields},
  };
  for (const Container& container : kContainers)
    if (container.type == type) return container.fields;
  return 0;
}

// Of the header at an offset. A file may be made of nothing but headers, so a walk takes no more of each than
// it has to.
struct Header {
  std::uint32_t size = 0;
  std::string_view type;
};

std::optional<Header> header_at(FileWindow& file, std::uint64_t offset) {
  const Bytes bytes = file.at(offset, kAtomHeaderSize);
  ByteReader in(bytes);
  Header header;
  if (bytes.size() < kAtomHeaderSize || !in.be32(header.size) || header.size < kAtomHeaderSize)
    return std::nullopt;
  header.type = {reinterpret_cast<const char*>(bytes.data()) + sizeof header.size, kTypeSize};
  return header;
}

}  // namespace

std::optional<Atom> atom_at(FileWindow& file, std::uint64_t offset) {
  const auto header = header_at(file, offset);
  if (!header) return std::nullopt;
  return Atom{offset, header->size, std::string(header->type)};
}

std::optional<Atom> find_atom(FileWindow& file, std::uint64_t start, std::uint64_t limit,
                              std::string_view type) {
  for (std::uint64_t scanned = 0; scanned < limit;) {
    const auto header = header_at(file, start + scanned);
    if (!header) return std::nullopt;
    if (equal_ignoring_case(header->type, type))
      return Atom{start + scanned, header->size, std::string(header->type)};
    scanned += header->size;
  }
  return std::nullopt;
}

std::optional<Atom> find_path(FileWindow& file, std::string_view path, std::uint64_t start) {
  for (;;) {
    const std::string_view type = path.substr(0, kTypeSize);
    auto atom = find_atom(file, start, file.file_size(), type);
    if (!atom || path.size() == kTypeSize) return atom;
    start = atom->body() + fields_before_children(type);
    path.remove_prefix(kTypeSize + 1);
  }
}

}  // namespace corvexal
