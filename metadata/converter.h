#pragma once

#include <string>
#include <string_view>

namespace corvexal {

// Converts `input` between two character sets that iconv knows and appends what it gives to `output`; with a
// null `output` the input is only tested. An incomplete character at the end of the input is dropped. Returns
// 0, or an errno value: EINVAL for a name that is not known, EILSEQ for input that is no text in its set, or
// what opening the converter said; `output` may have grown then.
//
// A converter stays open for the next text of the same two sets: opening one costs more than most texts do.
// Not for use by several threads.
[[nodiscard]] int convert(const char* tocode, const char* fromcode, std::string_view input,
                          std::string* output);

}  // namespace corvexal
