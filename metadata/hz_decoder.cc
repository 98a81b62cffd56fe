// SPDX-License-Identifier: GPL-3.0-or-later
#include <cerrno>
#include <cstddef>
#include <string>

#include "metadata/c_library_decoders.h"

namespace corvexal {
namespace {

constexpr char kEscape = '~';

bool in_gb_range(char byte) {
  return byte >= 0x21 && byte <= 0x7E;
}

// Walks the text; each step takes at least one byte off its front.
class HzDecoder {
 public:
  HzDecoder(std::string_view text, const ConvertPiece& convert) : left_(text), convert_(convert) {}

  int run() {
    int error = 0;
    while (!left_.empty() && error == 0) {
      if (left_.front() == kEscape)
        error = escape();
      else
        error = in_gb_ ? pairs() : plain();
    }
    return error;
  }

 private:
  int escape() {
    if (left_.size() < 2) return drop_rest();
    const char code = left_[1];
    if (in_gb_ ? code != '}' : code != '{' && code != '\n' && code != kEscape) return EILSEQ;
    left_.remove_prefix(2);
    if (code == kEscape) return convert_("ISO-8859-1", "~");
    if (code != '\n') in_gb_ = code == '{';
    return 0;
  }

  int plain() {
    const std::string_view piece = left_.substr(0, left_.find(kEscape));
    left_.remove_prefix(piece.size());
    return convert_("ISO-8859-1", piece);
  }

  int pairs() {
    std::string piece;
    while (left_.size() >= 2 && left_.front() != kEscape) {
      if (!in_gb_range(left_[0]) || !in_gb_range(left_[1])) return EILSEQ;
      for (const char byte : left_.substr(0, 2)) piece += static_cast<char>(byte | 0x80);
      left_.remove_prefix(2);
    }
    if (left_.size() == 1) drop_rest();
    return convert_("EUC-CN", piece);
  }

  int drop_rest() {
    left_ = {};
    return 0;
  }

  std::string_view left_;
  const ConvertPiece& convert_;
  bool in_gb_ = false;
};

}  // namespace

int decode_hz(std::string_view text, const ConvertPiece& convert) {
  return HzDecoder(text, convert).run();
}

}  // namespace corvexal
