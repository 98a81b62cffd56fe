// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/like_folders.h"

#include <algorithm>
#include <bit>
#include <cstdint>
#include <functional>
#include <span>
#include <utility>

#include "base/text.h"

namespace corvexal {
namespace {

// Reads the character at the start of `text` and moves past it, as SQL's "like" reads it: a lead byte takes
// all the continuation bytes after it, a stray one stands for itself, and what can't be a character is
// U+FFFD.
std::uint32_t read_character(std::string_view& text) {
  const auto byte = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  std::uint32_t code = byte(0);
  std::size_t length = 1;
  if (code >= 0xC0) {
    code &= 0x7FU >> std::countl_one(byte(0));
    for (; length < text.size() && (byte(length) & 0xC0U) == 0x80; ++length)
      code = code << 6 | (byte(length) & 0x3FU);
    if (code < 0x80 || (code & 0xFFFFF800U) == 0xD800 || (code & 0xFFFFFFFEU) == 0xFFFE) code = 0xFFFD;
  }
  text.remove_prefix(length);
  return code;
}

// Appends a character in UTF-8, continued to seven bytes for what "like" reads above U+10FFFF.
void append_character(std::string& text, std::uint32_t code) {
  if (code < 0x80) {
    text += static_cast<char>(code);
    return;
  }
  int continuations = 1;
  while (std::uint64_t{code} >> (5 * continuations + 6) != 0) ++continuations;
  text += static_cast<char>(0xFF00U >> (continuations + 1) | (std::uint64_t{code} >> 6 * continuations));
  while (continuations-- > 0) text += static_cast<char>(0x80U | (code >> 6 * continuations & 0x3FU));
}

// The text with every character as "like" compares it: well formed, ASCII letters in lower case.
std::string as_like_reads(std::string_view text) {
  text = text.substr(0, text.find('\0'));
  std::string result;
  if (is_ascii(text)) {
    result = text;
  } else {
    while (!text.empty()) append_character(result, read_character(text));
  }
  StringToLower(result);
  return result;
}

bool continues_a_character(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80;
}

constexpr std::size_t kWordBits = 64;

std::uint64_t bit(std::size_t at) {
  return std::uint64_t{1} << at % kWordBits;
}

// A pattern as an automaton that reads a folder byte by byte (Shift-And). A token is a literal byte or a "_",
// and bit k of a state says that what was read can end in the first k tokens. Of a state only one section,
// the tokens between two "%", is kept: when a section is complete, whatever an earlier one may yet find is no
// use.
class LikePattern {
 public:
  struct State {
    std::size_t section = 0;
    std::vector<std::uint64_t> bits;
    bool dead = false;  // no match, whatever follows
  };

  // The pattern "PATH%" for a path as "like" reads it.
  explicit LikePattern(std::string_view path)
      : words_(path.size() / kWordBits + 1), accepting_(256 * words_), any_(words_) {
    std::size_t tokens = 0;
    for (const char c : path) {
      if (c == '%') {
        borders_.push_back(tokens);
        continue;
      }
      ++tokens;
      std::uint64_t* const completed_by = c == '_' ? any_.data() : accepting(c);
      completed_by[tokens / kWordBits] |= bit(tokens);
    }
    borders_.push_back(tokens);
    accept_any_character();
  }

  [[nodiscard]] State start() const {
    State state{.bits = std::vector<std::uint64_t>(words_)};
    enter(0, state);
    return state;
  }

  // True once a folder matches, whatever follows.
  [[nodiscard]] bool matched(const State& state) const { return state.section + 1 == borders_.size(); }

  // Reads the next byte of a folder. REQUIRES: neither matched nor dead.
  void read(char byte, State& state) const {
    const std::size_t begin = borders_[state.section], end = borders_[state.section + 1];
    const std::uint64_t* const accepted = accepting(byte);
    const std::uint64_t held = continues_a_character(byte) ? ~std::uint64_t{0} : 0;
    std::uint64_t carry = 0, alive = 0;
    for (std::size_t i = begin / kWordBits; i <= end / kWordBits; ++i) {
      const std::uint64_t before = state.bits[i];
      state.bits[i] = ((before << 1 | carry) & accepted[i]) | (before & any_[i] & held);
      carry = before >> (kWordBits - 1);
      alive |= state.bits[i];
    }
    if ((state.bits[end / kWordBits] & bit(end)) != 0)
      enter(state.section + 1, state);
    else if (state.section > 0)
      state.bits[begin / kWordBits] |= bit(begin);  // after a "%" the section may begin anywhere
    else
      state.dead = alive == 0;
  }

 private:
  [[nodiscard]] const std::uint64_t* accepting(char byte) const {
    return accepting_.data() + static_cast<unsigned char>(byte) * words_;
  }
  std::uint64_t* accepting(char byte) {
    return accepting_.data() + static_cast<unsigned char>(byte) * words_;
  }

  // The first byte of a character completes a "_"; through the others it stays complete.
  void accept_any_character() {
    for (int i = 0; i < 256; ++i) {
      const char byte = static_cast<char>(i);
      if (continues_a_character(byte)) continue;
      std::transform(any_.begin(), any_.end(), accepting(byte), accepting(byte), std::bit_or<>());
    }
  }

  void enter(std::size_t section, State& state) const {
    while (section + 1 < borders_.size() && borders_[section] == borders_[section + 1]) ++section;
    const std::size_t begin = borders_[section];
    for (std::size_t i = borders_[state.section] / kWordBits; i <= begin / kWordBits; ++i) state.bits[i] = 0;
    state.bits[begin / kWordBits] = bit(begin);
    state.section = section;
  }

  std::size_t words_;
  std::vector<std::uint64_t> accepting_;  // for each byte, the bits of the tokens that it can complete
  std::vector<std::uint64_t> any_;        // the bits of the tokens that are "_"
  std::vector<std::size_t> borders_{0};   // where each section begins, and the last one's end
};

// A state of the automaton after the first `depth` bytes of a folder.
struct Checkpoint {
  std::size_t depth;
  LikePattern::State state;
};

void read_to(std::size_t depth, std::string_view folder, const LikePattern& pattern, Checkpoint& at) {
  while (at.depth < depth && !at.state.dead && !pattern.matched(at.state))
    pattern.read(folder[at.depth++], at.state);
}

// Whether any of the folders matches from byte `depth` on. REQUIRES: they agree before it, and shared[i] says
// how much folders[i] has in common with the one before, up to the one after the last.
bool any_match(std::span<const std::string> folders, std::span<const std::size_t> shared, std::size_t depth,
               const LikePattern& pattern) {
  std::vector<Checkpoint> checkpoints{{depth, pattern.start()}};  // where folders part, for those to come
  Checkpoint at;
  for (std::size_t i = 0; i < folders.size(); ++i) {
    if (at.state.dead && shared[i] >= at.depth) continue;  // begins like one that did not match
    while (i > 0 && checkpoints.back().depth > shared[i]) checkpoints.pop_back();
    at = checkpoints.back();
    const std::size_t parting = shared[i + 1];
    read_to(parting, folders[i], pattern, at);
    if (at.depth > checkpoints.back().depth && at.depth == parting) checkpoints.push_back(at);
    read_to(folders[i].size(), folders[i], pattern, at);
    if (pattern.matched(at.state)) return true;
  }
  return false;
}

std::size_t shared_bytes(std::string_view a, std::string_view b) {
  const auto differ = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  return static_cast<std::size_t>(differ.first - a.begin());
}

}  // namespace

FolderSet::FolderSet(std::vector<std::string> folders) : folders_(std::move(folders)) {
  for (std::string& folder : folders_) folder = as_like_reads(folder);
  std::sort(folders_.begin(), folders_.end());
  shared_.resize(folders_.size() + 1);
  for (std::size_t i = 1; i < folders_.size(); ++i) shared_[i] = shared_bytes(folders_[i - 1], folders_[i]);
}

bool FolderSet::any_begins_with(std::string_view text) const {
  const auto first = std::lower_bound(folders_.begin(), folders_.end(), text);
  return first != folders_.end() && first->starts_with(text);
}

bool FolderSet::any_below(std::string_view path) const {
  const std::string pattern = as_like_reads(path);
  if (any_begins_with(pattern)) return true;  // a wildcard stands for itself, too
  const std::size_t wildcard = pattern.find_first_of("%_");
  if (wildcard == std::string::npos) return false;
  const std::string_view literal = std::string_view(pattern).substr(0, wildcard);
  const auto first = std::lower_bound(folders_.begin(), folders_.end(), literal);
  const auto last = std::partition_point(
      first, folders_.end(), [literal](const std::string& folder) { return folder.starts_with(literal); });
  if (first == last) return false;
  const std::span shared = std::span(shared_).subspan(static_cast<std::size_t>(first - folders_.begin()));
  return any_match({first, last}, shared, wildcard, LikePattern(std::string_view(pattern).substr(wildcard)));
}

}  // namespace corvexal
