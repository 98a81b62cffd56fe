#include "base/log.h"

#include <syslog.h>

#include <cerrno>
#include <cstdarg>
#include <cstdlib>
#include <ctime>
#include <mutex>
#include <system_error>

#include "base/locations.h"
#include "base/stream.h"

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
  std::fflush(stderr);
}

void write_to_syslog(const char* message, bool fatal) {
  syslog(LOG_NOTICE, "%s", message);
  if (fatal) syslog(LOG_INFO, "Aborting\n");
}

void write_to_log_file(const char* message, bool fatal) {
  if (log_file == nullptr) return;
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  char stamp[256] = "";
  if (localtime_r(&now, &local) != nullptr) std::strftime(stamp, sizeof stamp, "%Y-%m-%d %T", &local);
  std::fprintf(log_file, "%s: %s", stamp, message);
  if (fatal) std::fprintf(log_file, "%s: Aborting\n", stamp);
  std::fflush(log_file);
}

void write_message(const char* message, bool fatal, std::uint32_t category) {
  if (fatal && log_destination != 0 && (category & kNoExtraCopy) == 0) write_to_standard_error(message, true);
  if (log_destination == 1) write_to_syslog(message, fatal);
  if (log_destination == 2) write_to_log_file(message, fatal);
  if (log_destination == 0) write_to_standard_error(message, fatal);
}

}  // namespace

void log_printf(const char* format, ...) {
  const Stream file(std::fopen(kLogFile, "a+e"));
  if (!file) return;
  const std::time_t now = std::time(nullptr);
  char stamp[64] = "";
  if (ctime_r(&now, stamp) == nullptr) stamp[0] = '\0';
  std::fprintf(file.get(), "%s:", stamp);
  std::va_list arguments;
  va_start(arguments, format);
  std::vfprintf(file.get(), format, arguments);
  va_end(arguments);
  std::fputc('\n', file.get());
}

void err_log(int level, std::uint32_t category, const char* format, ...) {
  const bool fatal = level == 0;
  if (!fatal && (level > log_level || (category & log_categories) == 0)) return;

  char message[kMessageSize] = "";
  std::va_list arguments;
  va_start(arguments, format);
  std::vsnprintf(message, sizeof message, format, arguments);
  va_end(arguments);

  try {
    const std::lock_guard lock(log_mutex);
    write_message(message, fatal, category);
  } catch (const std::system_error& error) {
    errno = error.code().value();
    write_message(message, fatal, category);
  }
  if (fatal) std::exit(1);
}

}  // namespace corvexal
