// SPDX-License-Identifier: GPL-3.0-or-later
#include "watch/watcher.h"

#include <poll.h>
#include <sys/signalfd.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <utility>

#include "watch/service_manager.h"

namespace corvexal {
namespace {

using std::chrono::minutes;
using std::chrono::seconds;

constexpr minutes kFullSyncInPlaceOfSource{60};
constexpr seconds kFirstOpenPause{1}, kLongestOpenPause{60};

void say(const std::string& line) {
  std::fprintf(stderr, "corvexal-watch: %s\n", line.c_str());
}

sigset_t handled_signals() {
  sigset_t signals;
  sigemptyset(&signals);
  for (const int signal : {SIGTERM, SIGINT, SIGHUP, SIGCHLD}) sigaddset(&signals, signal);
  return signals;
}

bool is_to_end() {
  sigset_t pending;
  return sigpending(&pending) == 0 &&
         (sigismember(&pending, SIGTERM) == 1 || sigismember(&pending, SIGINT) == 1);
}

std::string in_words(Clock::duration duration) {
  std::array<char, 64> text;
  const double in_seconds = std::chrono::duration<double>(duration).count();
  const bool is_long = in_seconds >= 60;
  std::snprintf(text.data(), text.size(), "%g %s", is_long ? in_seconds / 60 : in_seconds,
                is_long ? "min" : "s");
  return text.data();
}

std::string end_in_words(int status) {
  if (WIFEXITED(status)) return "ended with exit status " + std::to_string(WEXITSTATUS(status));
  return "was ended by signal " + std::to_string(WTERMSIG(status));
}

// Milliseconds for poll(2), rounded up; -1 for ever.
int time_until(std::optional<Clock::time_point> deadline) {
  if (!deadline) return -1;
  const auto left = std::chrono::ceil<std::chrono::milliseconds>(*deadline - Clock::now());
  return static_cast<int>(std::clamp<std::int64_t>(left.count(), 0, 3'600'000));
}

bool is_past(std::optional<Clock::time_point> deadline, Clock::time_point now) {
  return deadline && *deadline <= now;
}

void keep_earlier(std::optional<Clock::time_point>& deadline, std::optional<Clock::time_point> other) {
  if (other && (!deadline || *other < *deadline)) deadline = other;
}

}  // namespace

Watcher::Watcher(WatchOptions options, std::function<std::string()> configured_share)
    : options_(options), configured_share_(std::move(configured_share)) {}

int Watcher::run() {
  const sigset_t signals = handled_signals();
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  // Sent when somebody opens a file for writing in the moment in which we hold a lease on it.
  std::signal(SIGIO, SIG_IGN);
  if (access(sync_.program().c_str(), X_OK) != 0) {
    say(sync_.program() + ": " + std::strerror(errno));
    return 1;
  }
  signals_ = Descriptor(signalfd(-1, &signals, SFD_NONBLOCK | SFD_CLOEXEC));
  read_configuration();
  while (!result_) {
    do_what_is_due();
    if (!result_) wait();
  }
  tell_service_manager("STOPPING=1");
  sync_.stop();
  return *result_;
}

void Watcher::read_configuration() {
  const Share share(configured_share_());
  if (!share.folder().starts_with('/')) {
    say("no folder is configured");
    if (!followed_) result_ = 1;
    return;
  }
  followed_.emplace(share.folder(), options_.quiet_time);
  source_.reset();
  has_too_many_folders_ = false;
  mount_point_.clear();
  running_ = {};
  next_full_sync_.reset();
  open_pause_ = kFirstOpenPause;
  next_open_ = Clock::now();
}

void Watcher::do_what_is_due() {
  const Clock::time_point now = Clock::now();
  if (is_past(next_open_, now)) open_source();
  if (is_past(next_full_sync_, now)) {
    followed_->gatherer.add_everything(now);
    next_full_sync_ = now + options_.full_sync_every.value_or(kFullSyncInPlaceOfSource);
  }
  if (is_following() && !sync_.is_running() && is_past(followed_->gatherer.due(), now)) start_sync();
}

void Watcher::open_source() {
  next_open_.reset();
  mounts_ = MountTable::of(followed_->share.folder());
  // What lies below an unmounted disk's mount point is not the share. The next change of the mounts tells.
  if (is_unmounted()) return;
  OpenedSource opened = open_some_source();
  if (is_to_end()) return;
  using Failure = OpenedSource::Failure;
  switch (opened.failure) {
    case Failure::kNoFolder:
      return open_later(opened.trouble);
    case Failure::kUnavailable:
      say(opened.trouble);
      result_ = 1;
      return;
    case Failure::kTooMany:
      watch_by_full_syncs(opened.trouble);
      break;
    case Failure::kNone:
      source_ = std::move(opened.source);
      if (options_.full_sync_every) next_full_sync_ = Clock::now() + *options_.full_sync_every;
      std::fprintf(stderr, "watching %s by %s\n", followed_->share.folder().c_str(), source_->name());
      break;
  }
  open_pause_ = kFirstOpenPause;
  mount_point_ = mounts_.points[0];
  followed_->gatherer.add_everything(Clock::now());
  tell_service_manager("READY=1");
}

OpenedSource Watcher::open_some_source() {
  const Share& share = followed_->share;
  if (options_.source == SourceKind::kInotify) return open_inotify(share, is_to_end);
  OpenedSource opened = open_fanotify(share);
  if (opened.failure != OpenedSource::Failure::kUnavailable || options_.source) return opened;
  say(opened.trouble);
  return open_inotify(share, is_to_end);
}

void Watcher::open_later(const std::string& trouble) {
  if (open_pause_ == kFirstOpenPause)
    say(followed_->share.folder() + " cannot be watched: " + trouble + "; waiting for it");
  next_open_ = Clock::now() + open_pause_;
  open_pause_ = std::min<Clock::duration>(2 * open_pause_, kLongestOpenPause);
}

void Watcher::watch_by_full_syncs(const std::string& trouble) {
  const Clock::duration every = options_.full_sync_every.value_or(kFullSyncInPlaceOfSource);
  say(trouble);
  std::fprintf(stderr, "watching %s by a full sync every %s\n", followed_->share.folder().c_str(),
               in_words(every).c_str());
  has_too_many_folders_ = true;
  next_full_sync_ = Clock::now() + every;
}

void Watcher::close_source(const std::string& trouble) {
  say(followed_->share.folder() + ": " + trouble);
  source_.reset();
  has_too_many_folders_ = false;
  next_full_sync_.reset();
  next_open_ = Clock::now() + std::min<Clock::duration>(options_.quiet_time, kFirstOpenPause);
}

void Watcher::start_sync() {
  running_ = followed_->gatherer.take(Clock::now());
  if (running_.empty()) return;
  const int failure = sync_.start(running_, followed_->share.folder());
  if (failure != 0) sync_failed("cannot be started: " + std::string(std::strerror(failure)));
}

void Watcher::sync_failed(const std::string& trouble) {
  const Clock::duration pause = followed_->gatherer.failed(std::exchange(running_, {}), Clock::now());
  say(sync_.program() + " " + trouble + "; trying again with the next change or in " + in_words(pause));
}

void Watcher::wait() {
  enum { kSignals, kMounts, kChanges, kSources };
  std::array<pollfd, kSources> sources{{{signals_.get(), POLLIN, 0},
                                        {mount_table_.descriptor(), POLLPRI, 0},
                                        {source_ ? source_->descriptor() : -1, POLLIN, 0}}};
  if (poll(sources.data(), sources.size(), time_until(next_deadline())) <= 0) return;
  if (sources[kSignals].revents != 0) handle_signals();
  if (sources[kMounts].revents != 0) handle_mounts();
  if (sources[kChanges].revents != 0 && source_) handle_changes();
}

std::optional<Clock::time_point> Watcher::next_deadline() const {
  std::optional<Clock::time_point> deadline = next_open_;
  keep_earlier(deadline, next_full_sync_);
  if (is_following() && !sync_.is_running()) keep_earlier(deadline, followed_->gatherer.due());
  return deadline;
}

void Watcher::handle_signals() {
  signalfd_siginfo signal{};
  while (read(signals_.get(), &signal, sizeof signal) == sizeof signal) {
    if (signal.ssi_signo == SIGHUP)
      read_configuration();
    else if (signal.ssi_signo == SIGCHLD)
      handle_end_of_sync();
    else
      result_ = 0;
  }
}

void Watcher::handle_end_of_sync() {
  const auto status = sync_.ended();
  if (!status) return;
  if (*status == 0)
    followed_->gatherer.succeeded();
  else
    sync_failed(end_in_words(*status));
}

void Watcher::handle_changes() {
  const ChangeSource::State state =
      source_->read([this](const DiskChange& change) { followed_->gatherer.add(change, Clock::now()); });
  if (state == ChangeSource::State::kWatching) return;
  const std::string trouble = source_->trouble();
  if (state == ChangeSource::State::kBroken) return close_source(trouble);
  source_.reset();
  watch_by_full_syncs(trouble);
  followed_->gatherer.add_everything(Clock::now());
}

void Watcher::handle_mounts() {
  FolderMounts mounts = MountTable::of(followed_->share.folder());
  if (mounts == std::exchange(mounts_, mounts)) return;
  if (is_following())
    close_source(is_unmounted() ? "its disk is not mounted any more" : "its mounts changed");
  next_open_ = Clock::now();
}

bool Watcher::is_unmounted() const {
  return mounts_.points[0].size() < mount_point_.size();
}

}  // namespace corvexal
