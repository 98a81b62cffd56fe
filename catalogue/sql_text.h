// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <charconv>
#include <concepts>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace corvexal {

// One value for one placeholder of a statement text: a number, written in decimal, or a text, which ends at
// its first NUL. Texts are borrowed for the length of the call.
class SqlValue {
 public:
  SqlValue(std::string_view text) : text_(text.substr(0, text.find('\0'))) {}
  SqlValue(const std::string& text) : SqlValue(std::string_view(text)) {}
  SqlValue(const char* text) : text_(text) {}
  template <std::integral Number>
  SqlValue(Number number) {
    const char* const end = std::to_chars(digits_.begin(), digits_.end(), number).ptr;
    length_ = static_cast<std::size_t>(end - digits_.begin());
  }

  [[nodiscard]] std::string_view text() const {
    return length_ > 0 ? std::string_view(digits_.data(), length_) : text_;
  }

 private:
  std::string_view text_;
  std::array<char, 20> digits_{};  // holds any 64-bit number
  std::size_t length_ = 0;
};

// A statement taken apart into the text to prepare and the values to bind.
struct BoundSql {
  std::string text;  // each quoted piece with a placeholder stands as "?", every other one in single quotes
  std::vector<std::string> values;  // what each "?" is bound to
  bool broken = false;              // a value holds the quote character of its own literal
};

// Takes a printf-style statement apart. Placeholders are %s, %d, %u, %lu and %llu; %% is a percent sign. A
// placeholder outside quotes (a table's name) becomes part of the text and must come from the program itself.
[[nodiscard]] BoundSql bind_sql(std::string_view format, std::span<const SqlValue> values);

// The statement with its values written in, as messages show it.
[[nodiscard]] std::string compose_sql(std::string_view format, std::span<const SqlValue> values);

// Turns the double quotes of a title into single ones. A text that holds any is cut to 47 bytes, one without
// stays as it is: clients of the catalogue know titles in this form.
void QuoteForSql(std::string& text);

}  // namespace corvexal
