// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/id3_memory.h"

#include <algorithm>
#include <iterator>
#include <optional>

namespace corvexal {
namespace {

// Measured with version 0.15.1b on a machine of 64 bits, in bytes: for a frame with its fields; for a byte of
// text, which is kept as a word of memory and copied once more on the way; for one of a genre, which is made
// twice; and for a string of a list, however short.
constexpr std::uint64_t kPerFrame = 512, kPerTextByte = 10, kPerGenreByte = 18, kPerString = 32;

// The texts before a frame's data are looked for in this much of its body.
constexpr std::size_t kLongestFields = 4096;

enum class Kind { data, text, list, latin_list, genres, text_then_data };

// The frames that hold texts, by their ids in versions 2.3 and 2.2. Others are kept as they are, unknown ones
// too, except those whose id begins with "T", which are lists. The fields before data are: (b)yte, (l)atin-1
// text, text in the (e)ncoding that the first byte names.
struct Layout {
  std::string_view id, id22;
  Kind kind;
  std::string_view fields = {};
};
constexpr Layout kLayouts[] = {
    {"COMM", "COM", Kind::text},
    {"COMR", "", Kind::text},
    {"OWNE", "", Kind::text},
    {"TXXX", "TXX", Kind::text},
    {"USER", "", Kind::text},
    {"USLT", "ULT", Kind::text},
    {"WXXX", "WXX", Kind::text},
    {"IPLS", "IPL", Kind::list},
    {"LINK", "LNK", Kind::latin_list},
    {"TCON", "TCO", Kind::genres},
    {"APIC", "PIC", Kind::text_then_data, "blbe"},
    {"GEOB", "GEO", Kind::text_then_data, "blee"},
    {"SYLT", "SLT", Kind::text_then_data, "bbbbbbe"},
};
constexpr Layout kList{"", "", Kind::list}, kData{"", "", Kind::data};

const Layout& layout_of(const Id3Frame& frame) {
  const auto* const row = std::find_if(std::begin(kLayouts), std::end(kLayouts), [&](const Layout& layout) {
    return frame.id == (frame.version == 2 ? layout.id22 : layout.id);
  });
  if (row != std::end(kLayouts)) return *row;
  return frame.id.starts_with('T') ? kList : kData;
}

// What the low byte of a frame's flags says in its version, and the bytes that it puts before the fields: the
// unpacked size of a compressed frame, and one each for its group and its encryption.
struct Format {
  bool unknown, compressed, encrypted, grouped, has_size, unsynchronised;

  [[nodiscard]] std::size_t fields_at() const {
    return (has_size ? 4U : 0U) + (grouped ? 1U : 0U) + (encrypted ? 1U : 0U);
  }
};

Format format_of(const Id3Frame& frame) {
  const auto has = [&](int bits) { return (frame.format & bits) != 0; };
  if (frame.version == 3) return {has(0x1F), has(0x80), has(0x40), has(0x20), has(0x80), false};
  return {has(0xB0), has(0x08), has(0x04), has(0x40), has(0x01), has(0x02)};
}

std::uint64_t unpacked_size(const Id3Frame& frame, const Format& format) {
  if (frame.version == 3) return id3_number(frame.body);
  const std::size_t at = (format.grouped ? 1U : 0U) + (format.encrypted ? 1U : 0U);
  return id3_syncsafe_number(frame.body.subspan(std::min(at, frame.body.size())));
}

bool is_of_16_bits(Bytes fields) {
  return !fields.empty() && (fields[0] == 1 || fields[0] == 2);
}

// Walks through the fields of a frame that begin its body. A text without an end goes on to theirs.
class FrameFields {
 public:
  explicit FrameFields(Bytes bytes) : bytes_(bytes) {}

  // The number of bytes in the given fields; nothing when they take all that there is.
  std::optional<std::size_t> size(std::string_view fields) {
    for (const char field : fields) {
      if (field == 'b') at_ = std::min(at_ + 1, bytes_.size());
      if (field == 'l') skip_text(1);
      if (field == 'e') skip_text(is_of_16_bits(bytes_) ? 2 : 1);
    }
    return at_ < bytes_.size() ? std::optional(at_) : std::nullopt;
  }

 private:
  void skip_text(std::size_t unit) {
    for (; bytes_.size() - at_ >= unit; at_ += unit) {
      if (bytes_[at_] != 0 || bytes_[at_ + unit - 1] != 0) continue;
      at_ += unit;
      return;
    }
    at_ = bytes_.size();
  }

  Bytes bytes_;
  std::size_t at_ = 0;
};

// How many bytes of texts come before the data, when they end where they are looked for.
std::optional<std::size_t> size_before_data(Bytes body, const Format& format, const Layout& layout) {
  const Bytes begin = body.first(std::min(body.size(), kLongestFields));
  if (!format.unsynchronised) return FrameFields(begin).size(layout.fields);
  std::vector<std::uint8_t> undone(begin.begin(), begin.end());
  undo_unsynchronisation(undone);
  return FrameFields(undone).size(layout.fields);
}

// The strings of a list, at most.
std::uint64_t count_strings(Bytes body, const Format& format, Kind kind) {
  if (format.unsynchronised || kind == Kind::latin_list || !is_of_16_bits(body))
    return static_cast<std::uint64_t>(std::ranges::count(body, 0)) + 1;
  std::uint64_t count = 1;
  for (Bytes texts = body.subspan(1); texts.size() >= 2; texts = texts.subspan(2))
    if (texts[0] == 0 && texts[1] == 0) ++count;
  return count;
}

Id3FrameMemory memory_for_texts(Bytes body, const Format& format, const Layout& layout) {
  const std::uint64_t as_text = kPerTextByte * body.size();
  if (layout.kind == Kind::text) return {0, as_text};
  if (layout.kind == Kind::text_then_data) {
    const auto texts = size_before_data(body, format, layout);
    return texts ? Id3FrameMemory{body.size(), kPerTextByte * *texts} : Id3FrameMemory{0, as_text};
  }
  const std::uint64_t per_byte = layout.kind == Kind::genres ? kPerGenreByte : kPerTextByte;
  return {0, per_byte * body.size() + kPerString * count_strings(body, format, layout.kind)};
}

// A compressed frame may hold anything.
Id3FrameMemory memory_for_unpacked(std::uint64_t size, Kind kind) {
  if (kind == Kind::data) return {2 * size, 0};
  const bool has_one_text = kind == Kind::text || kind == Kind::text_then_data;
  return {size, (has_one_text ? kPerTextByte : kPerGenreByte + kPerString) * size};
}

Id3FrameMemory memory_for_body(const Id3Frame& frame, const Format& format) {
  const Layout& layout = layout_of(frame);
  const Bytes body = frame.body;
  if (format.unknown || format.encrypted) return {body.size(), 0};
  if (format.compressed) return memory_for_unpacked(unpacked_size(frame, format), layout.kind);
  if (layout.kind == Kind::data) return {body.size(), 0};
  return memory_for_texts(body.subspan(std::min(format.fields_at(), body.size())), format, layout);
}

}  // namespace

Id3FrameMemory id3_frame_memory(const Id3Frame& frame) {
  const Format format = frame.version == 2 ? Format{} : format_of(frame);
  Id3FrameMemory memory = memory_for_body(frame, format);
  memory.built += kPerFrame;
  if (format.unsynchronised) memory.copied += frame.body.size();
  return memory;
}

}  // namespace corvexal
