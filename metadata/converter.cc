// SPDX-License-Identifier: GPL-3.0-or-later
#include "metadata/converter.h"

#include <iconv.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <utility>

#include "base/text.h"
#include "metadata/c_library_charsets.h"
#include "metadata/c_library_decoders.h"

namespace corvexal {
namespace {

constexpr std::size_t kScratchSize = 4096;

// Names come from a detector's answers too, so there is an end to what is kept.
constexpr std::size_t kMostOpen = 64;

// A byte-order mark sets the order for good in some libraries, whatever is reset.
bool may_hold_byte_order_mark(std::string charset) {
  StringToLower(charset);
  constexpr std::string_view kParts[] = {"utf-16", "utf-32", "ucs", "unicode"};
  return std::any_of(std::begin(kParts), std::end(kParts),
                     [&](std::string_view part) { return charset.find(part) != std::string::npos; });
}

}  // namespace

class Converters::Descriptor {
 public:
  // Opens a converter; on failure the object is empty and errno says why.
  Descriptor(const char* tocode, const char* fromcode) : descriptor_(iconv_open(tocode, fromcode)) {}
  ~Descriptor() {
    if (*this) iconv_close(descriptor_);
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  explicit operator bool() const { return descriptor_ != none(); }

  // Converts from the initial state; see Converters::convert().
  int run(std::string_view input, std::string* output) {
    iconv(descriptor_, nullptr, nullptr, nullptr, nullptr);
    const char* in = input.data();
    std::size_t left = input.size();
    while (left > 0) {
      const std::size_t before = left;
      const int error = step(&in, &left, output);
      if (error == EINVAL) break;
      if (error != 0 && error != E2BIG) return error;
      if (left == before) return EILSEQ;  // a converter that is stuck
    }
    return step(nullptr, nullptr, output);
  }

 private:
  static iconv_t none() { return reinterpret_cast<iconv_t>(-1); }  // NOLINT(performance-no-int-to-ptr)

  // iconv's second argument is a `char**` by POSIX and a `const char**` in some builds of GNU libiconv. It
  // only reads the bytes.
  struct Input {
    const char** bytes;
    operator const char**() const { return bytes; }
    operator char**() const { return const_cast<char**>(bytes); }
  };

  // One call of iconv, without input the one that gives what it still holds back. Returns 0 or its errno.
  int step(const char** in, std::size_t* left, std::string* output) {
    std::array<char, kScratchSize> scratch;
    char* out = scratch.data();
    std::size_t room = scratch.size();
    const std::size_t result = iconv(descriptor_, Input{in}, left, &out, &room);
    const int error = result == static_cast<std::size_t>(-1) ? errno : 0;
    if (output != nullptr) output->append(scratch.data(), out);
    return error;
  }

  iconv_t descriptor_;
};

Converters::Converters() = default;
Converters::~Converters() = default;
Converters::Converters(Converters&&) noexcept = default;
Converters& Converters::operator=(Converters&&) noexcept = default;

int Converters::run_iconv(const char* tocode, const char* fromcode, std::string_view input,
                          std::string* output) {
  if (may_hold_byte_order_mark(tocode) || may_hold_byte_order_mark(fromcode)) {
    Descriptor fresh(tocode, fromcode);
    return fresh ? fresh.run(input, output) : errno;
  }
  auto pair = std::make_pair(std::string(tocode), std::string(fromcode));
  auto kept = open_.find(pair);
  if (kept == open_.end()) {
    auto fresh = std::make_unique<Descriptor>(tocode, fromcode);
    if (!*fresh) return errno;
    if (open_.size() >= kMostOpen) open_.clear();
    kept = open_.emplace(std::move(pair), std::move(fresh)).first;
  }
  return kept->second->run(input, output);
}

// The C library takes codes above U+10FFFF in UTF-8 and UCS-4, and would write them.
int Converters::run_to_utf8(const char* fromcode, std::string_view input, std::string* output) {
  std::string made;
  if (const int error = run_iconv("UTF-8", fromcode, input, &made); error != 0) return error;
  if (!is_utf8(made)) return EILSEQ;
  if (output != nullptr) output->append(made);
  return 0;
}

// The C library's iconv, made to answer as GNU libiconv does.
int Converters::run_c_library(const char* tocode, const char* fromcode, std::string_view input,
                              std::string* output) {
  if (names_hz(fromcode)) {
    if (const int error = run_c_library(tocode, "EUC-CN", {}, nullptr); error != 0) return error;
    return decode_hz(input, [&](const char* charset, std::string_view bytes) {
      return run_c_library(tocode, charset, bytes, output);
    });
  }
  if (names_big5(fromcode)) {
    return decode_big5(input, [&](const char* charset, std::string_view bytes) {
      return run_adapted(tocode, charset, bytes, output);
    });
  }
  return run_adapted(tocode, fromcode, input, output);
}

int Converters::run_adapted(const char* tocode, const char* fromcode, std::string_view input,
                            std::string* output) {
  const char* const to = c_library_name(tocode);
  const OrderedText source = in_byte_order(fromcode, input);
  const char* const from = c_library_name(source.charset);
  if (to == nullptr || from == nullptr) return EINVAL;
  if (is_refused(fromcode, input)) return EILSEQ;
  return equal_ignoring_case(tocode, "UTF-8") ? run_to_utf8(from, source.text, output)
                                              : run_iconv(to, from, source.text, output);
}

int Converters::convert(const char* tocode, const char* fromcode, std::string_view input,
                        std::string* output) {
  return kGnuLibiconv ? run_iconv(tocode, fromcode, input, output)
                      : run_c_library(tocode, fromcode, input, output);
}

}  // namespace corvexal
