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

}  // namespace

std::optional<Atom> atom_at(FileWindow& file, std::uint64_t offset) {
  const Bytes header = file.at(offset, kAtomHeaderSize);
  ByteReader in(header);
  Atom atom{offset, 0, {}};
  if (!in.be32(atom.size) || in.left() < kTypeSize || atom.size < kAtomHeaderSize) return std::nullopt;
  atom.type.assign(header.begin() + kTypeSize, header.end());
  return atom;
}

std::optional<Atom> find_atom(FileWindow& file, std::uint64_t start, std::uint64_t limit,
                              std::string_view type) {
  std::uint64_t scanned = 0;
  while (scanned < limit) {
    auto atom = atom_at(file, start + scanned);
    if (!atom || equal_ignoring_case(atom->type, type)) return atom;
    scanned += atom->size;
  }
  return std::nullopt;
}

std::optional<Atom> find_path(FileWindow& file, std::string_view path) {
  std::uint64_t start = 0;
  for (;;) {
    const std::string_view type = path.substr(0, kTypeSize);
    auto atom = find_atom(file, start, file.file_size(), type);
    if (!atom || path.size() == kTypeSize) return atom;
    start = atom->body() + fields_before_children(type);
    path.remove_prefix(kTypeSize + 1);
  }
}

}  // namespace corvexal
