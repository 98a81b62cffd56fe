// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace corvexal {

// Which library converts: GNU libiconv, or the C library's iconv made to answer like it.
inline constexpr bool kGnuLibiconv = CORVEXAL_GNU_LIBICONV;

// Conversions between character sets by iconv. A converter stays open for the next text of the same two sets:
// opening one costs more than most texts do. Not for use by several threads.
class Converters {
 public:
  Converters();
  ~Converters();
  Converters(Converters&&) noexcept;
  Converters& operator=(Converters&&) noexcept;

  // Converts `input` between two character sets that iconv knows and appends what it gives to `output`; with
  // a null `output` the input is only tested. An incomplete character at the end of the input is dropped.
  // Returns 0, or an errno value: EINVAL for a name that is not known, EILSEQ for input that is no text in
  // its set, or what opening the converter said; `output` may have grown then.
  [[nodiscard]] int convert(const char* tocode, const char* fromcode, std::string_view input,
                            std::string* output);

 private:
  class Descriptor;

  int run_iconv(const char* tocode, const char* fromcode, std::string_view input, std::string* output);
  int run_to_utf8(const char* fromcode, std::string_view input, std::string* output);
  int run_c_library(const char* tocode, const char* fromcode, std::string_view input, std::string* output);
  int run_adapted(const char* tocode, const char* fromcode, std::string_view input, std::string* output);

  std::map<std::pair<std::string, std::string>, std::unique_ptr<Descriptor>> open_;  // by both names
};

}  // namespace corvexal
