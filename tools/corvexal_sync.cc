// SPDX-License-Identifier: GPL-3.0-or-later
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "app/daap_server.h"
#include "app/run_lock.h"
#include "base/config.h"
#include "base/json_text.h"
#include "base/stream.h"
#include "base/text.h"
#include "catalogue/reconcile.h"
#include "catalogue/schema.h"
#include "catalogue/session.h"
#include "tools/tool_main.h"

// Brings both stores in line with the disk: first import, nightly repair, and the step that a watcher calls.

namespace {

namespace fs = std::filesystem;
using corvexal::Change;
using corvexal::ReconcileCounts;

constexpr int kInLine = 0, kNotInLine = 1, kWrongCall = 2;

constexpr char kUsage[] =
    "Usage: corvexal-sync [OPTION...] [FOLDER...]\n"
    "Brings the catalogue and the song store in line with the disk below the configured share, or below the\n"
    "given folders: rows for new files, none for files that are gone, changed files read again.\n"
    "\n"
    "  --dry-run        show what would be done, one line each: + new, - gone, ~ changed, > moved\n"
    "  --even-if-empty  go on when the share is missing or empty and the catalogue is not\n"
    "  --thorough       compare every row and record, also where nothing changed since the last sync\n"
    "  --accept-refused exit with 0 though the catalogue cannot hold some names or tags\n"
    "  --shallow        leave sub-folders alone that the catalogue knows\n"
    "  --entries FOLDER a folder whose known sub-folders are left alone (may be repeated)\n"
    "  --leave FILE     a file that is left as it is (may be repeated)\n"
    "  --rename OLD NEW a folder that was renamed: its rows keep their identifiers (may be repeated)\n"
    "  --quiet          say nothing when all went well\n"
    "  --verbose        show what is done, as --dry-run does\n"
    "  --json           sum up as one JSON object\n"
    "  --help, --version\n"
    "\n"
    "The exit status is 0 when the stores are in line, 1 when something could not be read or written, 2 for "
    "a\n"
    "wrong call.";

struct Options {
  bool dry_run = false, even_if_empty = false, thorough = false, shallow = false, accept_refused = false;
  bool quiet = false, verbose = false, json = false;
  std::vector<corvexal::FolderRename> renames;
  std::vector<std::string> folders, entries_only, left_files;
};

struct Switch {
  std::string_view word;
  bool Options::*flag;
};
constexpr Switch kSwitches[] = {
    {"--dry-run", &Options::dry_run},   {"--even-if-empty", &Options::even_if_empty},
    {"--thorough", &Options::thorough}, {"--accept-refused", &Options::accept_refused},
    {"--shallow", &Options::shallow},   {"--quiet", &Options::quiet},
    {"--verbose", &Options::verbose},   {"--json", &Options::json},
};

// The path without "." and "..", with one "/" at its end.
std::string folder_path(const std::string& path) {
  std::string full = fs::absolute(path).lexically_normal().string();
  if (!full.ends_with('/')) full += '/';
  return full;
}

std::optional<Options> parse(std::span<char* const> arguments) {
  Options options;
  for (std::size_t i = 0; i < arguments.size(); ++i) {
    const std::string word = arguments[i];
    const auto* const known = std::find_if(std::begin(kSwitches), std::end(kSwitches),
                                           [&](const Switch& row) { return row.word == word; });
    if (known != std::end(kSwitches)) {
      options.*known->flag = true;
    } else if (word == "--rename" && i + 2 < arguments.size()) {
      options.renames.push_back({folder_path(arguments[i + 1]), folder_path(arguments[i + 2])});
      i += 2;
    } else if (word == "--entries" && i + 1 < arguments.size()) {
      options.entries_only.push_back(folder_path(arguments[++i]));
      options.folders.push_back(options.entries_only.back());
    } else if (word == "--leave" && i + 1 < arguments.size()) {
      options.left_files.push_back(fs::absolute(arguments[++i]).lexically_normal().string());
    } else if (word.empty() || word.starts_with('-')) {
      return std::nullopt;
    } else {
      options.folders.push_back(folder_path(word));
    }
  }
  if (options.quiet && options.verbose) return std::nullopt;
  return options;
}

volatile std::sig_atomic_t stop_signal = 0;

void note_signal(int signal) {
  stop_signal = signal;
}

void catch_stop_signals() {
  struct sigaction action {};
  action.sa_handler = note_signal;
  for (const int signal : {SIGTERM, SIGINT, SIGHUP}) sigaction(signal, &action, nullptr);
  std::signal(SIGCHLD, SIG_DFL);  // a caller that ignores it would hide the detector's end
  std::signal(SIGPIPE, SIG_IGN);
}

// The standard output is for what this program says. What the operations print while they work belongs to
// runs of the updater.
corvexal::Stream take_standard_output() {
  corvexal::Stream own(fdopen(dup(STDOUT_FILENO), "w"));
  if (std::freopen("/dev/null", "w", stdout) == nullptr) close(STDOUT_FILENO);
  return own;
}

// A path as one line: control characters as "\x" and two digits, and the backslash doubled.
std::string one_line(std::string_view path) {
  std::string line;
  for (const char c : path) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\\')
      line += "\\\\";
    else if (byte < 0x20 || byte == 0x7F)
      line += "\\x" + corvexal::hex_digits(c);
    else
      line += c;
  }
  return line;
}

class Reporter : public corvexal::ReconcileListener {
 public:
  Reporter(const Options& options, std::FILE* out)
      : out_(out),
        shows_changes_(options.verbose || options.dry_run),
        shows_progress_(isatty(STDERR_FILENO) != 0 && !options.quiet && !shows_changes_) {}

  void changed(Change change, std::string_view path) override {
    if (shows_changes_) std::fprintf(out_, "%c %s\n", static_cast<char>(change), one_line(path).c_str());
  }

  void progressed(const ReconcileCounts& counts, std::uint64_t done, std::uint64_t expected) override {
    if (!shows_progress_) return;
    const Clock::time_point now = Clock::now();
    if (now - shown_ < std::chrono::milliseconds(200)) return;
    if (expected_ != expected) phase_began_ = now;
    expected_ = expected;
    shown_ = now;
    show(counts, done, std::chrono::duration<double>(now - phase_began_).count());
  }

  bool wants_to_stop() override { return stop_signal != 0; }

  void end_progress() const {
    if (shown_ != Clock::time_point()) std::fputs("\r\x1b[K", stderr);
  }

  [[nodiscard]] double seconds() const {
    return std::chrono::duration<double>(Clock::now() - began_).count();
  }

 private:
  using Clock = std::chrono::steady_clock;

  void show(const ReconcileCounts& counts, std::uint64_t done, double seconds) const {
    const double rate = seconds > 0 ? static_cast<double>(done) / seconds : 0;
    std::fprintf(stderr, "\r\x1b[K%llu folders, %llu files", static_cast<unsigned long long>(counts.folders),
                 static_cast<unsigned long long>(counts.files));
    if (expected_ > 0)
      std::fprintf(stderr, ", %llu of %llu changes", static_cast<unsigned long long>(done),
                   static_cast<unsigned long long>(expected_));
    if (rate > 0) std::fprintf(stderr, ", %.0f a second", rate);
    if (rate > 0 && expected_ > done)
      std::fprintf(stderr, ", %.0f s left", static_cast<double>(expected_ - done) / rate);
    std::fflush(stderr);
  }

  std::FILE* out_;
  bool shows_changes_, shows_progress_;
  std::uint64_t expected_ = 0;
  Clock::time_point began_ = Clock::now(), phase_began_ = began_, shown_{};
};

void say(const char* what, const std::string& path = "") {
  std::fprintf(stderr, "corvexal-sync: %s%s%s\n", path.c_str(), path.empty() ? "" : ": ", what);
}

bool is_folder(const std::string& path) {
  struct stat status {};
  return stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

// False for a folder without any entry that is not hidden, and for one that is not there.
bool holds_anything(const std::string& folder) {
  std::error_code error;
  for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error))
    if (!at->path().filename().string().starts_with('.')) return true;
  return false;
}

class Sync {
 public:
  Sync(const Options& options, std::FILE* out) : options_(options), out_(out) {}

  int run() {
    if (!read_configuration() || !accept_folders()) return result_;
    const corvexal::RunLock lock;
    if (!lock) return fail("the run lock cannot be had");
    if (!open_catalogue() || !share_is_there()) return result_;
    return reconcile();
  }

 private:
  int fail(const char* what, const std::string& path = "") {
    say(what, path);
    return result_ = kNotInLine;
  }
  bool refuse(const char* what, const std::string& path = "") {
    fail(what, path);
    return false;
  }

  bool read_configuration() {
    corvexal::readconfig(1, {}, session_.config);
    if (session_.config.mntpath.empty()) return refuse("no mount path is configured");
    const corvexal::ConfigRecord& config = session_.config;
    share_ = folder_path(config.sharepath.empty() ? config.mntpath : config.sharepath);
    task_.share = share_;
    session_.names.CodePageType();
    return corvexal::choose_tags(session_.tags, config, session_.names) || refuse(corvexal::kNoStandardTags);
  }

  bool accept_folders() {
    task_.folders = options_.folders;
    task_.whole_library = task_.folders.empty();
    if (task_.whole_library) task_.folders.push_back(share_);
    const std::string mount = folder_path(session_.config.mntpath);
    for (const std::string& folder : task_.folders) {
      if (folder.starts_with(share_) || folder.starts_with(mount)) continue;
      say("is not below the share", folder);
      result_ = kWrongCall;
      return false;
    }
    std::sort(task_.folders.begin(), task_.folders.end());
    task_.entries_only = options_.entries_only;
    task_.left_files = options_.left_files;
    task_.known_folders_too = !options_.shallow;
    task_.trusts_last_sync = !options_.thorough;
    task_.preview = options_.dry_run;
    task_.renames = options_.renames;
    return true;
  }

  bool open_catalogue() {
    const std::string& mount = session_.config.mntpath;
    if (!is_folder(mount)) return refuse("the mount path cannot be found; nothing was done", mount);
    if (options_.dry_run) {
      if (corvexal::open_to_look(session_.db, mount) == SQLITE_OK) return true;
      return refuse("cannot be read", corvexal::catalogue_path(mount));
    }
    if (!is_folder(share_) && !options_.even_if_empty)
      return refuse("the share cannot be found; nothing was done (--even-if-empty goes on)", share_);
    if (corvexal::create_catalogue(mount) != 0) return refuse("the catalogue cannot be made", mount);
    return session_.db.open(corvexal::catalogue_path(mount)) == SQLITE_OK ||
           refuse("cannot be opened", mount);
  }

  // A disk that is not plugged in looks like one whose files were all deleted.
  bool share_is_there() {
    if (options_.even_if_empty || holds_anything(share_)) return true;
    if (is_folder(share_) && !corvexal::holds_files_below(session_.db, share_)) return true;
    return refuse("the share is empty, and the catalogue is not; nothing was done (--even-if-empty goes on)",
                  share_);
  }

  int reconcile() {
    Reporter reporter(options_, out_);
    const ReconcileCounts counts = corvexal::reconcile(session_, task_, reporter);
    session_.db.close();
    reporter.end_progress();
    const bool lost = session_.db.lost_work();
    if (counts.any_change() && !options_.dry_run) corvexal::notify_daap_server();
    sum_up(counts, reporter.seconds());
    if (stop_signal != 0) return fail("stopped; the next run goes on from here");
    const bool refused = counts.refused > 0 && !options_.accept_refused;
    return counts.failed > 0 || refused || lost ? kNotInLine : kInLine;
  }

  void sum_up(const ReconcileCounts& counts, double seconds) {
    const struct {
      const char* name;
      std::uint64_t value;
    } figures[] = {{"folders", counts.folders}, {"files", counts.files},         {"new", counts.added},
                   {"removed", counts.removed}, {"refreshed", counts.refreshed}, {"moved", counts.moved},
                   {"mended", counts.mended},   {"refused", counts.refused},     {"failed", counts.failed}};
    if (options_.json) {
      std::fputc('{', out_);
      for (const auto& figure : figures)
        std::fprintf(out_, "\"%s\":%llu,", figure.name, static_cast<unsigned long long>(figure.value));
      std::fprintf(out_, "\"seconds\":%.3f}\n", seconds);
    } else if (!options_.quiet && !options_.dry_run) {
      std::string text;
      for (const auto& figure : figures)
        text += std::string(text.empty() ? "" : ", ") + figure.name + " " + std::to_string(figure.value);
      std::fprintf(out_, "%s, in %.1f s\n", text.c_str(), seconds);
    }
  }

  const Options& options_;
  std::FILE* out_;
  corvexal::Session session_;
  corvexal::ReconcileTask task_;
  std::string share_;
  int result_ = kInLine;
};

int run(int argc, char** argv) {
  const corvexal::Stream out = take_standard_output();
  if (!out) return kNotInLine;
  const auto options = parse({argv + 1, static_cast<std::size_t>(argc > 0 ? argc - 1 : 0)});
  if (!options) {
    std::fprintf(stderr, "%s\n", kUsage);
    return kWrongCall;
  }
  catch_stop_signals();
  return Sync(*options, out.get()).run();
}

}  // namespace

int main(int argc, char** argv) {
  return corvexal::tool_main("corvexal-sync", kUsage, argc, argv, run);
}
