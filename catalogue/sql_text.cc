// SPDX-License-Identifier: GPL-3.0-or-later
#include "catalogue/sql_text.h"

#include <algorithm>

namespace corvexal {
namespace {

constexpr std::size_t kQuotedTitleSize = 47;

// A piece of the composed text.
struct Piece {
  std::string_view text;
  bool is_value = false;  // a placeholder's, not the statement's own character
};

// Walks a statement text: plain characters one by one, placeholders with their values.
class FormatCursor {
 public:
  FormatCursor(std::string_view format, std::span<const SqlValue> values)
      : format_(format), values_(values) {}

  [[nodiscard]] bool at_end() const { return format_.empty(); }
  [[nodiscard]] char peek() const { return format_.front(); }

  Piece next() {
    if (peek() != '%') return {take(1)};
    if (format_.starts_with("%%")) return {take(2).substr(1)};
    const std::size_t conversion = format_.find_first_of("sdu");
    if (conversion == std::string_view::npos) return {take(1)};
    take(conversion + 1);
    if (values_.empty()) return {{}, true};
    const std::string_view text = values_.front().text();
    values_ = values_.subspan(1);
    return {text, true};
  }

 private:
  std::string_view take(std::size_t count) {
    const std::string_view taken = format_.substr(0, count);
    format_.remove_prefix(count);
    return taken;
  }

  std::string_view format_;
  std::span<const SqlValue> values_;
};

// Reads the literal that opens at the cursor's position and adds it to the statement.
void bind_literal(FormatCursor& cursor, BoundSql& sql) {
  const char quote = cursor.next().text.front();
  bool has_placeholder = false;
  std::string content;
  while (!cursor.at_end() && cursor.peek() != quote) {
    const auto [text, is_value] = cursor.next();
    has_placeholder |= is_value;
    sql.broken |= is_value && text.find(quote) != std::string_view::npos;
    content += text;
  }
  if (!cursor.at_end()) cursor.next();
  if (has_placeholder) {
    sql.text += '?';
    sql.values.push_back(std::move(content));
  } else {
    sql.text += '\'' + content + '\'';
  }
}

}  // namespace

BoundSql bind_sql(std::string_view format, std::span<const SqlValue> values) {
  BoundSql sql;
  FormatCursor cursor(format, values);
  while (!cursor.at_end()) {
    if (cursor.peek() == '"' || cursor.peek() == '\'')
      bind_literal(cursor, sql);
    else
      sql.text += cursor.next().text;
  }
  return sql;
}

std::string compose_sql(std::string_view format, std::span<const SqlValue> values) {
  std::string text;
  FormatCursor cursor(format, values);
  while (!cursor.at_end()) text += cursor.next().text;
  return text;
}

void QuoteForSql(std::string& text) {
  if (text.find('"') == std::string::npos) return;
  std::replace(text.begin(), text.end(), '"', '\'');
  text.resize(std::min(text.size(), kQuotedTitleSize));
}

}  // namespace corvexal
