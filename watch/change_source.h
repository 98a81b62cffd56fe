// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "watch/change.h"
#include "watch/share.h"

namespace corvexal {

// Where changes come from. A source watches from its making on; it keeps nothing on the share open, so that
// its disk can be unmounted.
class ChangeSource {
 public:
  enum class State {
    kWatching,
    kBroken,   // it watches no more, or the wrong thing: a new source has to take its place
    kTooMany,  // there are more folders than it can watch
  };

  ChangeSource() = default;
  ChangeSource(const ChangeSource&) = delete;
  ChangeSource& operator=(const ChangeSource&) = delete;
  virtual ~ChangeSource() = default;

  [[nodiscard]] virtual const char* name() const = 0;

  // Becomes readable when changes wait.
  [[nodiscard]] virtual int descriptor() const = 0;

  // Reports some of the waiting changes, in their order; returns at once when there are none. After anything
  // but kWatching, trouble() says why, and the source is of no more use.
  virtual State read(const Report& report) = 0;

  [[nodiscard]] const std::string& trouble() const { return trouble_; }

 protected:
  std::string trouble_;
};

enum class SourceKind { kFanotify, kInotify };

// The outcome of opening a source.
struct OpenedSource {
  enum class Failure {
    kNone,
    kNoFolder,     // the share is not there
    kTooMany,      // there are more folders than can be watched
    kUnavailable,  // the system does not offer this kind of source for this share
  };
  std::unique_ptr<ChangeSource> source;  // null after a failure
  Failure failure = Failure::kNone;
  std::string trouble;
};

// One mark on each file system of the share, by fanotify(7): root, Linux 5.9 or later, and file systems whose
// folders can be found again by their handles. Renames come as pairs from Linux 5.17 on.
[[nodiscard]] OpenedSource open_fanotify(const Share& share);

// A watch on every folder, by inotify(7). Finding the folders of a large share may take minutes; it is given
// up, whenever it is done, when `is_to_end` comes true.
[[nodiscard]] OpenedSource open_inotify(const Share& share, std::function<bool()> is_to_end);

}  // namespace corvexal
