// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/log.h"

#include <syslog.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <string>
#include <string_view>

#include "base/locations.h"
#include "base/stream.h"
#include "base/text.h"

namespace corvexal {

int log_level = 0;
std::uint32_t log_categories = 0xFFFFFFFF;
int log_destination = 0;
std::FILE* log_file = nullptr;

namespace {

std::mutex log_mutex;  // keeps the lines of different threads apart

constexpr std::uint32_t kNoExtraCopy = 0x800;
constexpr std::size_t kMessageSize = 1024;

void write_to_standard_error(const char* message, bool fatal) {
  std::fputs(message, stderr);
  if (fatal) std::fputs("Aborting\n", stderr);
}

void write_to_syslog(const char* message, bool fatal) {
  syslog(LOG_NOTICE, "%s", message);
  if (fatal) syslog(LOG_INFO, "Aborting\n");
}

void write_to_log_file(const char* message, bool fatal) {
  if (log_file == nullptr) return;
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  std::array<char, 64> stamp{};
  if (localtime_r(&now, &local) != nullptr) std::strftime(stamp.data(), stamp.size(), "%Y-%m-%d %T", &local);
  std::fprintf(log_file, "%s: %s", stamp.data(), message);
  if (fatal) std::fprintf(log_file, "%s: Aborting\n", stamp.data());
  std::fflush(log_file);
}

void write_message(const char* message, bool fatal, std::uint32_t category) {
  if (fatal && log_destination != 0 && (category & kNoExtraCopy) == 0) write_to_standard_error(message, true);
  if (log_destination == 1) write_to_syslog(message, fatal);
  if (log_destination == 2) write_to_log_file(message, fatal);
  if (log_destination == 0) write_to_standard_error(message, fatal);
}

// True for the control characters of ASCII and, in UTF-8, for those of Latin-1 (U+0080 to U+009F).
bool is_control(std::string_view text) {
  const auto byte = [text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  if (byte(0) < 0x20 || byte(0) == 0x7F) return true;
  return byte(0) == 0xC2 && text.size() > 1 && byte(1) >= 0x80 && byte(1) <= 0x9F;
}

void append_escaped(std::string& escaped, std::string_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (!is_control(text.substr(i))) {
      escaped += text[i];
      continue;
    }
    const std::size_t length = text[i] == '\xC2' ? 2 : 1;
    for (const char c : text.substr(i, length)) escaped += "\\x" + hex_digits(c);
    i += length - 1;
  }
}

// The message, cut to less than `limit` bytes. Its line ends are those at the end of the format; what else
// looks like one came with a text.
__attribute__((format(printf, 1, 0))) std::string message_of(const char* format, std::va_list arguments,
                                                             std::size_t limit = SIZE_MAX) {
  std::va_list again;
  va_copy(again, arguments);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length < 0) return {};
  std::string text(static_cast<std::size_t>(length) + 1, '\0');
  std::vsnprintf(text.data(), text.size(), format, arguments);
  text.pop_back();
  text.resize(std::min(text.size(), limit - 1));

  const std::string_view form = format;
  if (form.find('%') == std::string_view::npos) return text;
  const std::size_t line_ends = form.size() - (form.find_last_not_of('\n') + 1);
  std::size_t body = text.size();
  while (text.size() - body < line_ends && text[body - 1] == '\n') --body;
  std::string escaped;
  append_escaped(escaped, std::string_view(text).substr(0, body));
  return escaped.append(text, body);
}

}  // namespace

void error_printf(const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  std::fputs(message_of(format, arguments).c_str(), stderr);
  va_end(arguments);
}

void log_printf(const char* format, ...) {
  const Stream file(std::fopen(kLogFile, "a+e"));
  if (!file) return;
  const std::time_t now = std::time(nullptr);
  char stamp[64] = "";
  if (ctime_r(&now, stamp) == nullptr) stamp[0] = '\0';
  std::fprintf(file.get(), "%s:", stamp);
  std::va_list arguments;
  va_start(arguments, format);
  std::fputs(message_of(format, arguments).c_str(), file.get());
  va_end(arguments);
  std::fputc('\n', file.get());
}

void err_log(int level, std::uint32_t category, const char* format, ...) {
  const bool fatal = level == 0;
  if (!fatal && (level > log_level || (category & log_categories) == 0)) return;

  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = message_of(format, arguments, kMessageSize);
  va_end(arguments);
  const char* const message = text.c_str();

  {
    const std::lock_guard lock(log_mutex);
    write_message(message, fatal, category);
  }
  if (fatal) std::exit(1);
}

}  // namespace corvexal
