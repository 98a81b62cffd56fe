// SPDX-License-Identifier: GPL-3.0-or-later
#include "report/html_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "base/stream.h"
#include "report/shown.h"

namespace corvexal::report {
namespace {

bool fail(const std::string& path, const char* reason) {
  std::fprintf(stderr, "corvexal-report: cannot write %s: %s\n", for_terminal(path).c_str(), reason);
  return false;
}

mode_t mode_of_new_files() {
  const mode_t mask = umask(0);
  umask(mask);
  return 0666 & ~mask;
}

// Everything is on the disk, or false with errno set.
bool write_and_close(const Report& report, int descriptor) {
  Stream out(fdopen(descriptor, "w"));
  if (!out) {
    close(descriptor);
    return false;
  }
  write_html(report, out.get());
  const bool is_written =
      std::fflush(out.get()) == 0 && std::ferror(out.get()) == 0 && fsync(descriptor) == 0;
  return std::fclose(out.release()) == 0 && is_written;
}

}  // namespace

bool write_html_file(const Report& report, const std::string& path) {
  if (path == "-") {
    write_html(report, stdout);
    return true;
  }
  struct stat status {};
  const bool exists = lstat(path.c_str(), &status) == 0;
  if (exists && !S_ISREG(status.st_mode)) return fail(path, "what is there is no regular file");

  std::string draft = path + ".XXXXXX";
  const int descriptor = mkostemp(draft.data(), O_CLOEXEC);
  if (descriptor < 0) return fail(path, std::strerror(errno));
  fchmod(descriptor, exists ? status.st_mode & 0777 : mode_of_new_files());
  if (write_and_close(report, descriptor) && std::rename(draft.c_str(), path.c_str()) == 0) return true;
  const int error = errno;
  unlink(draft.c_str());
  return fail(path, std::strerror(error));
}

}  // namespace corvexal::report
