// SPDX-License-Identifier: GPL-3.0-or-later
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/locations.h"
#include "report/examine.h"
#include "report/html_file.h"
#include "tools/configuration.h"
#include "tools/tool_main.h"

namespace {

constexpr char kUsage[] =
    "Usage: corvexal-report [--json] [--html FILE] [MOUNT_PATH]\n"
    "Shows what the library holds and what is wrong with it, each problem with the command that mends it.\n"
    "Both stores and the files are only read. Without MOUNT_PATH it is the configured one.\n"
    "\n"
    "  --json       one JSON object instead of plain text\n"
    "  --html FILE  a page for a browser instead, \"-\" for standard output; with --json both\n"
    "  --help       this text\n"
    "  --version    the version\n"
    "\n"
    "The exit status is 0 when everything could be read, problems or not, 1 when a store or a part of the "
    "disk\n"
    "could not, 2 for a wrong call.";

struct Call {
  bool json = false;
  std::optional<std::string> html_file, mount_path;
};

// Absent for a wrong call.
std::optional<Call> parse(int argc, char** argv) {
  constexpr std::string_view kHtmlIs = "--html=";
  Call call;
  bool only_paths = false;
  for (int i = 1; i < argc; ++i) {
    const std::string_view word = argv[i];
    if (only_paths || !word.starts_with('-')) {
      if (call.mount_path || word.empty()) return std::nullopt;
      call.mount_path = word;
    } else if (word == "--") {
      only_paths = true;
    } else if (word == "--json") {
      call.json = true;
    } else if (word == "--html" && i + 1 < argc) {
      call.html_file = argv[++i];
    } else if (word.starts_with(kHtmlIs)) {
      call.html_file = word.substr(kHtmlIs.size());
    } else {
      return std::nullopt;
    }
  }
  if (call.html_file && call.html_file->empty()) return std::nullopt;
  return call;
}

std::string_view without_slashes(std::string_view path) {
  return path.substr(0, path.find_last_not_of('/') + 1);
}

struct Library {
  std::string mount_path, share;
  bool standard_tags;
};

// The share is the configured one for the configured mount path; any other library lies where its stores are.
std::optional<Library> library(const Call& call, char** argv) {
  const bool is_needed = !call.mount_path || access(corvexal::kConfigFile, R_OK) == 0;
  const auto config = is_needed ? corvexal::read_configuration(argv) : corvexal::ConfigRecord();
  // Rows hold full paths.
  const std::string mount_path = call.mount_path
                                     ? std::filesystem::absolute(*call.mount_path).lexically_normal().string()
                                     : config.mntpath;
  if (mount_path.empty()) return std::nullopt;
  const bool is_configured =
      without_slashes(mount_path) == without_slashes(config.mntpath) && !config.sharepath.empty();
  return Library{mount_path, is_configured ? config.sharepath : mount_path, config.standard_tags};
}

int report(const Call& call, char** argv) {
  using namespace corvexal::report;
  const auto where = library(call, argv);
  if (!where) {
    std::fputs("corvexal-report: no mount path given or configured\n", stderr);
    return 1;
  }
  Report report;
  bool is_complete = examine(where->mount_path, where->share, report, where->standard_tags);
  if (call.json)
    write_json(report, stdout);
  else if (!call.html_file)
    write_text(report, stdout);
  if (call.html_file && !write_html_file(report, *call.html_file)) is_complete = false;
  std::fflush(stdout);
  if (std::ferror(stdout) != 0) {
    std::perror("corvexal-report: standard output");
    return 1;
  }
  return is_complete ? 0 : 1;
}

int run(int argc, char** argv) {
  const std::optional<Call> call = parse(argc, argv);
  if (call) return report(*call, argv);
  std::fprintf(stderr, "%s\n", kUsage);
  return 2;
}

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  return corvexal::tool_main("corvexal-report", kUsage, argc, argv, run);
}
