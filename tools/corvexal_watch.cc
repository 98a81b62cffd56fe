// SPDX-License-Identifier: GPL-3.0-or-later
#include <getopt.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "tools/configuration.h"
#include "tools/tool_main.h"
#include "watch/watcher.h"

namespace {

constexpr char kUsage[] =
    "Usage: corvexal-watch [--source fanotify|inotify] [--quiet-time SECONDS] [--full-sync-every MINUTES]\n"
    "       corvexal-watch --help | --version\n"
    "Follows the configured share and starts corvexal-sync, which stands beside it, for what changes there.\n"
    "  --source            what tells of changes: fanotify (one mark on the whole file system) or inotify "
    "(a\n"
    "                      watch on every folder); by default fanotify where the system has it\n"
    "  --quiet-time        how long it has to be quiet before a change is taken up; 2\n"
    "  --full-sync-every   brings the whole share in line every so often besides\n"
    "SIGHUP has it read the configuration again, SIGTERM ends it. The exit status is 0, 1 when there is "
    "nothing\n"
    "to watch or nothing to watch it by, 2 for a wrong call.";

// A number of seconds or minutes, with decimals if need be; nothing for anything else.
std::optional<double> number(const char* text) {
  constexpr double kMost = 1'000'000;
  char* end = nullptr;
  const double value = std::strtod(text, &end);
  if (std::strspn(text, "0123456789.") != std::strlen(text) || end == text || *end != '\0' || value > kMost)
    return std::nullopt;
  return value;
}

template <class Unit>
std::optional<corvexal::Clock::duration> duration(const char* text) {
  const auto value = number(text);
  if (!value) return {};
  return std::chrono::duration_cast<corvexal::Clock::duration>(
      std::chrono::duration<double, typename Unit::period>(*value));
}

std::optional<corvexal::SourceKind> source_kind(std::string_view name) {
  if (name == "fanotify") return corvexal::SourceKind::kFanotify;
  if (name == "inotify") return corvexal::SourceKind::kInotify;
  return {};
}

// Takes one option with its value; false when the value is none.
bool parse_option(int option, const char* value, corvexal::WatchOptions& options) {
  switch (option) {
    case 's':
      return (options.source = source_kind(value)).has_value();
    case 'q':
      if (const auto time = duration<std::chrono::seconds>(value)) {
        options.quiet_time = *time;
        return true;
      }
      return false;
    case 'f':
      options.full_sync_every = duration<std::chrono::minutes>(value);
      return options.full_sync_every && options.full_sync_every->count() > 0;
    default:
      return false;
  }
}

// The options; nothing for a wrong call.
std::optional<corvexal::WatchOptions> read_command_line(int argc, char** argv) {
  constexpr option kOptions[] = {{"source", required_argument, nullptr, 's'},
                                 {"quiet-time", required_argument, nullptr, 'q'},
                                 {"full-sync-every", required_argument, nullptr, 'f'},
                                 {nullptr, 0, nullptr, 0}};
  corvexal::WatchOptions options;
  for (int option; (option = getopt_long(argc, argv, "", kOptions, nullptr)) != -1;)
    if (!parse_option(option, optarg, options)) return std::nullopt;
  if (optind < argc) return std::nullopt;
  return options;
}

int watch(int argc, char** argv) {
  const auto options = read_command_line(argc, argv);
  if (!options) {
    std::fprintf(stderr, "%s\n", kUsage);
    return 2;
  }
  return corvexal::Watcher(*options,
                           [argv] {
                             const corvexal::ConfigRecord config = corvexal::read_configuration(argv);
                             return config.sharepath.empty() ? config.mntpath : config.sharepath;
                           })
      .run();
}

}  // namespace

int main(int argc, char** argv) {
  return corvexal::tool_main("corvexal-watch", kUsage, argc, argv, watch);
}
