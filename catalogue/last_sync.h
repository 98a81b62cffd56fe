// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <optional>

#include "catalogue/folder_digests.h"
#include "catalogue/session.h"

// What the last sync of the whole library left in line, so that the next one need not compare it again: a
// digest of each folder, kept in a file beside the stores and believed only as long as both stores, the
// settings and the program are what they were at its end.

namespace corvexal {

// A digest of what changes with the song store's file; 0 without one.
[[nodiscard]] std::uint64_t song_store_state(const Session& session);

// The file of digests.
class LastSync {
 public:
  // To be made before the run writes, and outside of a transaction.
  explicit LastSync(Session& session);

  // The folders that the last sync left in line, where neither store has changed since.
  [[nodiscard]] std::optional<FolderDigests> folders() const;

  // Whether another connection has written to the catalogue since this object was made.
  [[nodiscard]] bool others_wrote() const { return changes_by_others() != at_start_.changes_by_others; }

  // Keeps what a sync has left in line, when the song store's state was `songs`; to be called outside of a
  // transaction. Where others wrote meanwhile, or the file cannot be written, the earlier one stays, which
  // fits only if the stores are as it left them.
  void replace(const FolderDigests& folders, std::uint64_t songs) const;

 private:
  struct Look {
    std::int64_t changes_by_others;
    std::optional<std::uint64_t> state;  // of both stores, where it can be told
  };

  [[nodiscard]] Look look() const;
  [[nodiscard]] std::optional<std::uint64_t> state_of_stores() const;
  [[nodiscard]] std::int64_t changes_by_others() const;

  Session& session_;
  const Look at_start_;
};

}  // namespace corvexal
