// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "base/config.h"
#include "catalogue/database.h"
#include "catalogue/object_ids.h"
#include "metadata/charset.h"
#include "metadata/tag_decoder.h"
#include "songdb/store.h"

namespace corvexal {

// One run's work: the device's settings, both stores and what the run has to remember. Each operation is
// given the session that it works for; two sessions in one process do not know of each other.
struct Session {
  ConfigRecord config;
  NameCharset names;
  TagDecoder tags;
  SongStore songs;
  Database db;
  ObjectIds ids;
  bool is_incomplete = false;     // something could not be looked at: the run must be done again
  bool playlist_pending = false;  // playlists must be parsed before the run ends
};

}  // namespace corvexal
